# Installs this build into a fresh prefix and builds examples/host against the
# installed tree only, as a host's build would: find_package(Tessiva) and, on
# the native build, pkg-config. Then runs the example and the installed tool.
#   cmake -DBUILD=<build dir> -DSOURCE=<source dir> -DWORK=<dir> -DGENERATOR=<name> [-DTOOLCHAIN=<file>]
#         [-DEMULATOR=<runner>] -P package_test.cmake
cmake_minimum_required(VERSION 3.21)
file(REMOVE_RECURSE "${WORK}")
set(prefix "${WORK}/prefix")

function(run what)
  execute_process(COMMAND ${ARGN} WORKING_DIRECTORY "${WORK}" RESULT_VARIABLE rc
    OUTPUT_VARIABLE out ERROR_VARIABLE out)
  if(NOT rc STREQUAL "0")
    message(FATAL_ERROR "${what} failed (${rc}):\n${out}")
  endif()
  set(RUN_OUT "${out}" PARENT_SCOPE)
endfunction()

file(MAKE_DIRECTORY "${WORK}")
# Under Wine, the prefix the build's other tests use (made once, slow to make).
set(ENV{WINEPREFIX} "${BUILD}/wineprefix")
run("cmake --install" "${CMAKE_COMMAND}" --install "${BUILD}" --prefix "${prefix}")
set(exe "")
if(TOOLCHAIN)
  set(exe .exe)
  set(expected bin/Tessiva.dll bin/tessiva-convert.exe lib/Tessiva.dll.a lib/Tessiva.def)
else()
  set(expected lib/libTessiva.so bin/tessiva-convert)
endif()
list(APPEND expected include/tessiva.h lib/cmake/Tessiva/TessivaConfig.cmake
  lib/cmake/Tessiva/TessivaConfigVersion.cmake lib/cmake/Tessiva/TessivaTargets.cmake lib/pkgconfig/tessiva.pc)
foreach(f ${expected})
  if(NOT EXISTS "${prefix}/${f}")
    message(FATAL_ERROR "not installed: ${f}")
  endif()
endforeach()

# The example, configured with nothing but the installed prefix.
set(configure "${CMAKE_COMMAND}" -S "${SOURCE}/examples/host" -B "${WORK}/host" -G "${GENERATOR}"
  -DCMAKE_BUILD_TYPE=Release "-DCMAKE_PREFIX_PATH=${prefix}")
if(TOOLCHAIN)
  list(APPEND configure "-DCMAKE_TOOLCHAIN_FILE=${TOOLCHAIN}")
endif()
run("configuring examples/host" ${configure})
run("building examples/host" "${CMAKE_COMMAND}" --build "${WORK}/host")
file(READ "${WORK}/host/CMakeCache.txt" cache)
if(NOT cache MATCHES "Tessiva_DIR:PATH=${prefix}/lib/cmake/Tessiva")
  message(FATAL_ERROR "find_package(Tessiva) did not take the installed package")
endif()
run("the example" ${EMULATOR} "${WORK}/host/tessiva-host-example${exe}")
message(STATUS "${RUN_OUT}")
if(NOT RUN_OUT MATCHES "RGB32toYUY2 64x48: S_OK\r?\nYUY2toRGB32 64x48: S_OK")
  message(FATAL_ERROR "the example printed:\n${RUN_OUT}")
endif()

# The installed tool finds the installed library.
run("the installed tool" ${EMULATOR} "${prefix}/bin/tessiva-convert${exe}" -s 32x16 --to yuy2 card.yuy2)

if(NOT TOOLCHAIN)
  # pkg-config: the flags of tessiva.pc build the example too.
  find_program(PKG_CONFIG pkg-config REQUIRED)
  set(ENV{PKG_CONFIG_PATH} "${prefix}/lib/pkgconfig")
  run("pkg-config" "${PKG_CONFIG}" --cflags --libs tessiva)
  string(STRIP "${RUN_OUT}" flags)
  separate_arguments(flags UNIX_COMMAND "${flags}")
  run("building with pkg-config's flags" c++ "${SOURCE}/examples/host/main.cpp" ${flags}
    "-Wl,-rpath,${prefix}/lib" -o "${WORK}/pc-example")
  run("the pkg-config example" "${WORK}/pc-example")
endif()
