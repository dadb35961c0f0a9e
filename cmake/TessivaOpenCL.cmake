# OpenCL support of the build: the Khronos C headers (types and constants only;
# nothing links against OpenCL) and the embedding of the kernel source.

# The host's headers. A cross build gets a private copy of just the CL folder,
# so that no other host header leaks into its include path.
find_path(TESSIVA_OPENCL_INCLUDE_DIR CL/cl.h PATHS /usr/include NO_CMAKE_FIND_ROOT_PATH)
if(NOT TESSIVA_OPENCL_INCLUDE_DIR)
  message(FATAL_ERROR "OpenCL C headers (CL/cl.h) not found: install opencl-c-headers")
endif()
add_library(tessiva_opencl_headers INTERFACE)
if(CMAKE_CROSSCOMPILING)
  file(COPY ${TESSIVA_OPENCL_INCLUDE_DIR}/CL DESTINATION ${CMAKE_BINARY_DIR}/opencl-headers)
  target_include_directories(tessiva_opencl_headers SYSTEM INTERFACE ${CMAKE_BINARY_DIR}/opencl-headers)
else()
  target_include_directories(tessiva_opencl_headers SYSTEM INTERFACE ${TESSIVA_OPENCL_INCLUDE_DIR})
endif()

# tessiva_embed_kernel(target source.cl): builds the kernel-source resource of
# `source` into `target` (a resource script on Windows, an ELF note elsewhere),
# regenerated whenever the .cl file changes.
function(tessiva_embed_kernel target source)
  get_filename_component(name ${source} NAME_WE)
  if(WIN32)
    set(format rc)
    set(output ${CMAKE_CURRENT_BINARY_DIR}/${name}_kernel_source.rc)
  else()
    set(format note)
    set(output ${CMAKE_CURRENT_BINARY_DIR}/${name}_kernel_source.cpp)
  endif()
  add_custom_command(OUTPUT ${output}
    COMMAND ${CMAKE_COMMAND} -DSOURCE=${source} -DOUTPUT=${output} -DFORMAT=${format}
            -P ${PROJECT_SOURCE_DIR}/cmake/EmbedKernel.cmake
    DEPENDS ${source} ${PROJECT_SOURCE_DIR}/cmake/EmbedKernel.cmake
    COMMENT "Embedding ${name}.cl"
    VERBATIM)
  target_sources(${target} PRIVATE ${output})
endfunction()
