# What `cmake --install` places, under the usual folders of GNUInstallDirs:
#   bin/       Tessiva.dll (Windows) and tessiva-convert
#   lib/       libTessiva.so, or the import library Tessiva.dll.a and Tessiva.def
#   include/   the public headers
#   lib/cmake/Tessiva/   the CMake package: find_package(Tessiva) gives Tessiva::<library>
#   lib/pkgconfig/       one .pc file per library (tessiva.pc, ...)
# A library joins the package with one call of tessiva_install_library in the
# CMakeLists that defines it; tessiva_install_package, called once at the end
# of the top-level CMakeLists, writes the package files.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(TESSIVA_PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/Tessiva)

# tessiva_install_library(target HEADERS header... PKGCONFIG name DESCRIPTION text)
# Installs the library `target` as Tessiva::<target>, its public headers, and
# lib/pkgconfig/<name>.pc.
function(tessiva_install_library target)
  cmake_parse_arguments(ARG "" "PKGCONFIG;DESCRIPTION" "HEADERS" ${ARGN})
  # A host compiles against include/ of the build tree or of the installed tree.
  target_include_directories(${target} INTERFACE
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include> $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
  install(TARGETS ${target} EXPORT TessivaTargets
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
  install(FILES ${ARG_HEADERS} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
  # The .pc file finds the prefix from its own place, so the tree may move.
  file(RELATIVE_PATH PC_PREFIX "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
  string(REGEX REPLACE "/$" "" PC_PREFIX "${PC_PREFIX}")
  set(PC_NAME ${ARG_PKGCONFIG})
  set(PC_DESCRIPTION "${ARG_DESCRIPTION}")
  get_target_property(PC_LIBRARY ${target} OUTPUT_NAME)
  if(NOT PC_LIBRARY)
    set(PC_LIBRARY ${target})
  endif()
  configure_file(${PROJECT_SOURCE_DIR}/cmake/library.pc.in ${PROJECT_BINARY_DIR}/pkgconfig/${PC_NAME}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/pkgconfig/${PC_NAME}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endfunction()

# tessiva_install_package(): TessivaConfig.cmake, its version file and the
# imported targets of every library installed above.
function(tessiva_install_package)
  install(EXPORT TessivaTargets NAMESPACE Tessiva:: DESTINATION ${TESSIVA_PACKAGE_DIR})
  configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/TessivaConfig.cmake.in
    ${PROJECT_BINARY_DIR}/TessivaConfig.cmake INSTALL_DESTINATION ${TESSIVA_PACKAGE_DIR})
  write_basic_package_version_file(${PROJECT_BINARY_DIR}/TessivaConfigVersion.cmake
    COMPATIBILITY SameMajorVersion)
  install(FILES ${PROJECT_BINARY_DIR}/TessivaConfig.cmake ${PROJECT_BINARY_DIR}/TessivaConfigVersion.cmake
    DESTINATION ${TESSIVA_PACKAGE_DIR})
endfunction()
