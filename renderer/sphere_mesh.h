#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "renderer/basic_renderer_thread.h"
#include "scene/model_ref.h"

// The one mesh the effect draws, for the sphere and the hemisphere alike: a geodesic unit sphere
// of 32,000 triangles built into the module as two zlib streams (generated at build time by
// tools/generate_sphere_mesh.cpp). Triangle t owns the vertices 3t, 3t + 1 and 3t + 2, and the
// index array lists each triangle counter-clockwise seen from outside.
//
// Vertex: 64 bytes, 16 little-endian floats: position xyz, 0; texture u, v, 8 filler bytes
// (0xCC); normal xyz, 0; tangent xyz and its handedness w (±1). Index: 32-bit unsigned.
inline constexpr uint32_t kSphereVertexCount = 96000;
inline constexpr uint32_t kSphereIndexCount = 96000;
inline constexpr std::size_t kSphereVertexSize = 64;

// A zlib stream stored in the module: size bytes from bytes.
struct embedded_stream {
  const char* bytes;
  std::size_t size;
};

extern const embedded_stream sphere_vertex_stream;
extern const embedded_stream sphere_index_stream;

// The decoded mesh, owned by the caller.
struct sphere_mesh_arrays {
  std::vector<unsigned char> vertices;  // kSphereVertexCount × kSphereVertexSize bytes
  std::vector<uint32_t> indices;        // kSphereIndexCount
};

// Decodes stream into destination, which it must fill exactly. Throws hx_exception naming
// stream_name when the stream is damaged or decodes to more or fewer bytes.
void inflate_exactly(const embedded_stream& stream, std::span<std::byte> destination,
                     std::string_view stream_name);

// Decodes both embedded streams into zero-filled arrays of the mesh's sizes. Throws
// hx_exception when either does not decode to exactly its array.
sphere_mesh_arrays decode_sphere_mesh();

// Host side, once at global setup: decodes the mesh, uploads it with the renderer's
// upload_model as a job on the render thread, waits, frees the decoded arrays and returns the
// GPU mesh. A decoding error, or the upload job's exception, is thrown to the caller.
template <typename RendererType>
model_ref load_sphere_mesh(BasicRendererThread<RendererType>& render_thread) {
  const sphere_mesh_arrays mesh = decode_sphere_mesh();
  model_ref model;
  render_thread.run_on_renderer([&](RendererType& renderer) {
    model = renderer.upload_model(mesh.vertices.data(), kSphereVertexCount, mesh.indices.data(),
                                  kSphereIndexCount);
  });
  return model;
}
