# The GLSL and OpenCL sources in renderer/shaders/ are compiled into the module as text. A
# CMake script turns them into one C++ source at build time, again whenever a source changes.
file(GLOB shader_files CONFIGURE_DEPENDS
  ${CMAKE_SOURCE_DIR}/renderer/shaders/*.vert
  ${CMAKE_SOURCE_DIR}/renderer/shaders/*.frag
  ${CMAKE_SOURCE_DIR}/renderer/shaders/*.cl)
set(embedded_shaders_source ${CMAKE_BINARY_DIR}/embedded_shaders.cpp)
add_custom_command(
  OUTPUT ${embedded_shaders_source}
  COMMAND ${CMAKE_COMMAND} -DOUTPUT=${embedded_shaders_source} "-DSOURCES=${shader_files}"
    -P ${CMAKE_SOURCE_DIR}/cmake/write_embedded_shaders.cmake
  DEPENDS ${shader_files} ${CMAKE_SOURCE_DIR}/cmake/write_embedded_shaders.cmake
  COMMENT "Embedding the shader sources"
  VERBATIM)
target_sources(lunaform_core PRIVATE ${embedded_shaders_source})
