# The sphere mesh is built into the module as two zlib streams. A host tool generates them at
# build time as a C++ source of lunaform_core; the source is made again only when the tool
# changes.
add_executable(generate_sphere_mesh ${CMAKE_SOURCE_DIR}/tools/generate_sphere_mesh.cpp)
target_link_libraries(generate_sphere_mesh PRIVATE ZLIB::ZLIB)

set(sphere_mesh_streams_source ${CMAKE_BINARY_DIR}/sphere_mesh_streams.cpp)
add_custom_command(
  OUTPUT ${sphere_mesh_streams_source}
  COMMAND generate_sphere_mesh ${sphere_mesh_streams_source}
  DEPENDS generate_sphere_mesh
  COMMENT "Generating the sphere mesh streams"
  VERBATIM)
target_sources(lunaform_core PRIVATE ${sphere_mesh_streams_source})
