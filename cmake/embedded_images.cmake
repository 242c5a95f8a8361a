# The toolkit's PNG images in ui/images/ are compiled into the module as byte arrays. A CMake
# script turns them into one C++ source at build time, again whenever an image changes.
file(GLOB image_files CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/ui/images/*.png)
set(embedded_images_source ${CMAKE_BINARY_DIR}/embedded_images.cpp)
add_custom_command(
  OUTPUT ${embedded_images_source}
  COMMAND ${CMAKE_COMMAND} -DOUTPUT=${embedded_images_source} "-DSOURCES=${image_files}"
    -P ${CMAKE_SOURCE_DIR}/cmake/write_embedded_images.cmake
  DEPENDS ${image_files} ${CMAKE_SOURCE_DIR}/cmake/write_embedded_images.cmake
  COMMENT "Embedding the toolkit's images"
  VERBATIM)
target_sources(lunaform_core PRIVATE ${embedded_images_source})
