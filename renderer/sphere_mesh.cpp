#include "renderer/sphere_mesh.h"

#include <zlib.h>

#include <bit>
#include <string>

#include "plugin/hx_exception.h"

// The streams hold little-endian words, which the arrays take over as they are.
static_assert(std::endian::native == std::endian::little);

void inflate_exactly(const embedded_stream& stream, std::span<std::byte> destination,
                     std::string_view stream_name) {
  const std::string expected = std::to_string(destination.size());
  const std::string what = "The built-in sphere mesh's " + std::string(stream_name);
  uLongf decoded_size = static_cast<uLongf>(destination.size());
  const int result =
      uncompress(reinterpret_cast<Bytef*>(destination.data()), &decoded_size,
                 reinterpret_cast<const Bytef*>(stream.bytes), static_cast<uLong>(stream.size));
  switch (result) {
    case Z_OK:
      if (decoded_size != destination.size()) {
        throw hx_exception(what + " decodes to " + std::to_string(decoded_size) +
                           " bytes instead of " + expected + ".");
      }
      return;
    case Z_BUF_ERROR:
      throw hx_exception(what + " decodes to more than " + expected + " bytes.");
    case Z_DATA_ERROR:
      throw hx_exception(what + " is damaged or incomplete.");
    default:
      throw hx_exception(what + " could not be decoded (zlib error " + std::to_string(result) +
                         ").");
  }
}

sphere_mesh_arrays decode_sphere_mesh() {
  sphere_mesh_arrays mesh{std::vector<unsigned char>(kSphereVertexCount * kSphereVertexSize),
                          std::vector<uint32_t>(kSphereIndexCount)};
  inflate_exactly(sphere_vertex_stream, std::as_writable_bytes(std::span(mesh.vertices)),
                  "vertex stream");
  inflate_exactly(sphere_index_stream, std::as_writable_bytes(std::span(mesh.indices)),
                  "index stream");
  return mesh;
}
