#include "renderer/sphere_mesh.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <map>
#include <numbers>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "plugin/hx_exception.h"

namespace {

struct vec3 {
  double x, y, z;
};

vec3 operator+(const vec3& a, const vec3& b) {
  return {a.x + b.x, a.y + b.y, a.z + b.z};
}
vec3 operator-(const vec3& a, const vec3& b) {
  return {a.x - b.x, a.y - b.y, a.z - b.z};
}
vec3 operator*(double s, const vec3& a) {
  return {s * a.x, s * a.y, s * a.z};
}
double dot(const vec3& a, const vec3& b) {
  return a.x * b.x + a.y * b.y + a.z * b.z;
}
vec3 cross(const vec3& a, const vec3& b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
double length(const vec3& a) {
  return std::sqrt(dot(a, a));
}
vec3 normalize(const vec3& a) {
  return (1.0 / length(a)) * a;
}

// One decoded vertex record, read field by field from its 64 bytes.
struct vertex_record {
  std::array<float, 4> position;  // xyz, then the unused word
  float u, v;
  std::array<unsigned char, 8> filler;
  std::array<float, 4> normal;  // xyz, then the unused word
  std::array<float, 4> tangent;

  vec3 p() const { return {position[0], position[1], position[2]}; }
  vec3 n() const { return {normal[0], normal[1], normal[2]}; }
  vec3 t() const { return {tangent[0], tangent[1], tangent[2]}; }
  double w() const { return tangent[3]; }
};

struct decoded_mesh {
  sphere_mesh_arrays arrays;
  std::vector<vertex_record> vertices;
};

const decoded_mesh& mesh() {
  static const decoded_mesh decoded = [] {
    decoded_mesh result{decode_sphere_mesh(), {}};
    const unsigned char* bytes = result.arrays.vertices.data();
    for (std::size_t k = 0; k < result.arrays.vertices.size() / 64; ++k, bytes += 64) {
      vertex_record record;
      std::memcpy(record.position.data(), bytes, 16);
      std::memcpy(&record.u, bytes + 16, 4);
      std::memcpy(&record.v, bytes + 20, 4);
      std::memcpy(record.filler.data(), bytes + 24, 8);
      std::memcpy(record.normal.data(), bytes + 32, 16);
      std::memcpy(record.tangent.data(), bytes + 48, 16);
      result.vertices.push_back(record);
    }
    return result;
  }();
  return decoded;
}

constexpr std::size_t kTriangles = 32000;

bool is_pole(const vec3& p) {
  return std::abs(p.y) > 1.0 - 1e-9;
}

// Longitude as a texture coordinate, u = atan2(z, x) / 2π in (−0.5, 0.5].
double longitude_u(const vec3& p) {
  const double u = std::atan2(p.z, p.x) / (2.0 * std::numbers::pi);
  return u <= -0.5 ? u + 1.0 : u;
}

// The gradient, within the plane of triangle (a, b, c), of the linear function that takes the
// values fa, fb, fc at the corners.
vec3 in_plane_gradient(const vec3& a, const vec3& b, const vec3& c, double fa, double fb,
                       double fc) {
  const vec3 e1 = b - a;
  const vec3 e2 = c - a;
  const vec3 n = cross(e1, e2);
  return (1.0 / dot(n, n)) * ((fb - fa) * cross(e2, n) + (fc - fa) * cross(n, e1));
}

// Regular icosahedron in the unit sphere, from its description: poles (0, ±1, 0); the upper ring
// at height 1/√5 and radius 2/√5 with a vertex at longitude 180°, the lower ring at −1/√5 turned
// by 36°, with a vertex at longitude 0°.
std::vector<vec3> icosahedron() {
  const double height = 1.0 / std::sqrt(5.0);
  const double radius = 2.0 / std::sqrt(5.0);
  std::vector<vec3> vertices = {{0.0, 1.0, 0.0}, {0.0, -1.0, 0.0}};
  for (int k = 0; k < 5; ++k) {
    const double upper = (180.0 + 72.0 * k) * std::numbers::pi / 180.0;
    const double lower = (72.0 * k) * std::numbers::pi / 180.0;
    vertices.push_back({radius * std::cos(upper), height, radius * std::sin(upper)});
    vertices.push_back({radius * std::cos(lower), -height, radius * std::sin(lower)});
  }
  return vertices;
}

// The mesh's corners merged into distinct points by rounding to 1e-5 (points of the mesh lie
// about 0.03 apart), with the triangles' edges between them.
struct point_graph {
  std::vector<vec3> points;
  std::vector<std::size_t> point_of_vertex;
  std::vector<std::set<std::size_t>> neighbours;

  // The distinct point nearest to p and its distance.
  std::pair<std::size_t, double> nearest(const vec3& p) const {
    std::pair<std::size_t, double> best{0, 1e9};
    for (std::size_t k = 0; k < points.size(); ++k) {
      const double distance = length(points[k] - p);
      if (distance < best.second) {
        best = {k, distance};
      }
    }
    return best;
  }
};

point_graph merge_points() {
  point_graph graph;
  std::map<std::array<long long, 3>, std::size_t> by_key;
  for (const vertex_record& vertex : mesh().vertices) {
    const vec3 p = vertex.p();
    const std::array<long long, 3> key = {std::llround(p.x * 1e5), std::llround(p.y * 1e5),
                                          std::llround(p.z * 1e5)};
    const auto [found, added] = by_key.try_emplace(key, graph.points.size());
    if (added) {
      graph.points.push_back(p);
    }
    graph.point_of_vertex.push_back(found->second);
  }
  graph.neighbours.resize(graph.points.size());
  for (std::size_t t = 0; t < kTriangles; ++t) {
    for (std::size_t k = 0; k < 3; ++k) {
      const std::size_t a = graph.point_of_vertex[3 * t + k];
      const std::size_t b = graph.point_of_vertex[3 * t + (k + 1) % 3];
      graph.neighbours[a].insert(b);
      graph.neighbours[b].insert(a);
    }
  }
  return graph;
}

// Decodes a zlib stream with zlib's streaming interface, independently of inflate_exactly:
// the decoded length, and whether the stream ended exactly at its last byte.
std::pair<std::size_t, bool> streamed_length(const embedded_stream& stream) {
  z_stream z{};
  EXPECT_EQ(inflateInit(&z), Z_OK);
  z.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(stream.bytes));
  z.avail_in = static_cast<uInt>(stream.size);
  std::vector<Bytef> chunk(65536);
  std::size_t total = 0;
  int result = Z_OK;
  while (result == Z_OK) {
    z.next_out = chunk.data();
    z.avail_out = static_cast<uInt>(chunk.size());
    result = inflate(&z, Z_NO_FLUSH);
    total += chunk.size() - z.avail_out;
  }
  const bool ended_at_last_byte = result == Z_STREAM_END && z.avail_in == 0;
  inflateEnd(&z);
  return {total, ended_at_last_byte};
}

std::vector<unsigned char> zlib_compressed(const std::vector<unsigned char>& data) {
  uLongf size = compressBound(static_cast<uLong>(data.size()));
  std::vector<unsigned char> compressed(size);
  EXPECT_EQ(compress(compressed.data(), &size, data.data(), static_cast<uLong>(data.size())), Z_OK);
  compressed.resize(size);
  return compressed;
}

TEST(SphereMesh, EmbeddedStreamsAreMaximumCompressionZlibStreamsOfTheFullArrays) {
  struct Case {
    const char* name;
    const embedded_stream& stream;
    std::size_t decoded_size;
  };
  const Case cases[] = {{"vertices", sphere_vertex_stream, 96000 * 64},
                        {"indices", sphere_index_stream, 96000 * 4}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    ASSERT_GE(c.stream.size, 2u);
    // CMF 0x78: deflate with a 32 KiB window; FLG 0xDA: level bits 3 (maximum compression),
    // no dictionary, and CMF · 256 + FLG a multiple of 31.
    EXPECT_EQ(static_cast<unsigned char>(c.stream.bytes[0]), 0x78);
    EXPECT_EQ(static_cast<unsigned char>(c.stream.bytes[1]), 0xDA);
    const auto [decoded, ended_at_last_byte] = streamed_length(c.stream);
    EXPECT_EQ(decoded, c.decoded_size);
    EXPECT_TRUE(ended_at_last_byte);
    testing::Test::RecordProperty(std::string(c.name) + "_stream_bytes",
                                  std::to_string(c.stream.size));
  }
  EXPECT_EQ(mesh().arrays.vertices.size(), 96000u * 64u);
  EXPECT_EQ(mesh().arrays.indices.size(), 96000u);
}

TEST(SphereMesh, DecodingRefusesDamagedStreamsAndWrongSizesWithAClearMessage) {
  const std::vector<unsigned char> hundred_bytes =
      zlib_compressed(std::vector<unsigned char>(100, 7));
  const std::vector<unsigned char> three_hundred_bytes =
      zlib_compressed(std::vector<unsigned char>(300, 7));
  const std::string not_zlib = "plain text, not a zlib stream";
  struct Case {
    const char* name;
    embedded_stream stream;
    std::size_t destination_size;
    std::string message;
  };
  const Case cases[] = {
      {"short",
       {reinterpret_cast<const char*>(hundred_bytes.data()), hundred_bytes.size()},
       200,
       "The built-in sphere mesh's test stream decodes to 100 bytes instead of 200."},
      {"long",
       {reinterpret_cast<const char*>(three_hundred_bytes.data()), three_hundred_bytes.size()},
       200,
       "The built-in sphere mesh's test stream decodes to more than 200 bytes."},
      {"truncated",
       {sphere_index_stream.bytes, sphere_index_stream.size / 2},
       96000 * 4,
       "The built-in sphere mesh's test stream is damaged or incomplete."},
      {"not zlib",
       {not_zlib.data(), not_zlib.size()},
       200,
       "The built-in sphere mesh's test stream is damaged or incomplete."},
      {"empty",
       {not_zlib.data(), 0},
       200,
       "The built-in sphere mesh's test stream is damaged or incomplete."},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    std::vector<std::byte> destination(c.destination_size);
    try {
      inflate_exactly(c.stream, destination, "test stream");
      ADD_FAILURE() << "accepted";
    } catch (const hx_exception& error) {
      EXPECT_EQ(std::string(error.what()), c.message);
    }
  }
  std::vector<std::byte> exact(100);
  EXPECT_NO_THROW(inflate_exactly(
      {reinterpret_cast<const char*>(hundred_bytes.data()), hundred_bytes.size()}, exact, "test"));
  EXPECT_EQ(exact[99], std::byte{7});
}

TEST(SphereMesh, EachTriangleUsesItsOwnThreeVerticesWoundCounterClockwiseFromOutside) {
  const std::vector<uint32_t>& indices = mesh().arrays.indices;
  const std::vector<vertex_record>& vertices = mesh().vertices;
  ASSERT_EQ(indices.size(), 3 * kTriangles);
  // Each triple keeps its triangle's first stored vertex in the middle.
  EXPECT_EQ(std::vector<uint32_t>(indices.begin(), indices.begin() + 9),
            (std::vector<uint32_t>{2, 0, 1, 4, 3, 5, 8, 6, 7}));
  std::size_t wrong_vertices = 0;
  std::size_t wrong_middle = 0;
  std::size_t inward = 0;
  for (uint32_t t = 0; t < kTriangles; ++t) {
    std::array<uint32_t, 3> triple = {indices[3 * t], indices[3 * t + 1], indices[3 * t + 2]};
    wrong_middle += triple[1] != 3 * t;
    std::array<uint32_t, 3> sorted = triple;
    std::sort(sorted.begin(), sorted.end());
    if (sorted != std::array<uint32_t, 3>{3 * t, 3 * t + 1, 3 * t + 2}) {
      ++wrong_vertices;
      continue;
    }
    const vec3 a = vertices[triple[0]].p();
    const vec3 b = vertices[triple[1]].p();
    const vec3 c = vertices[triple[2]].p();
    inward += dot(cross(b - a, c - a), a + b + c) <= 0.0;
  }
  EXPECT_EQ(wrong_vertices, 0u);
  EXPECT_EQ(wrong_middle, 0u);
  EXPECT_EQ(inward, 0u);
}

TEST(SphereMesh, PointsFormTheIcosahedronSubdividedFortyTimesAlongEachEdge) {
  const point_graph graph = merge_points();
  ASSERT_EQ(graph.points.size(), 16002u);

  // Corners that coincide repeat position and normal bit for bit, so the mesh has no cracks.
  std::vector<std::size_t> first_vertex(graph.points.size(), SIZE_MAX);
  std::size_t differing = 0;
  for (std::size_t k = 0; k < mesh().vertices.size(); ++k) {
    std::size_t& first = first_vertex[graph.point_of_vertex[k]];
    if (first == SIZE_MAX) {
      first = k;
    }
    const vertex_record& a = mesh().vertices[first];
    const vertex_record& b = mesh().vertices[k];
    differing += std::memcmp(a.position.data(), b.position.data(), 12) != 0 ||
                 std::memcmp(a.normal.data(), b.normal.data(), 12) != 0;
  }
  EXPECT_EQ(differing, 0u);

  std::vector<std::size_t> five_neighbours;
  std::size_t six_neighbours = 0;
  for (std::size_t k = 0; k < graph.points.size(); ++k) {
    if (graph.neighbours[k].size() == 5) {
      five_neighbours.push_back(k);
    }
    six_neighbours += graph.neighbours[k].size() == 6;
  }
  EXPECT_EQ(five_neighbours.size(), 12u);
  EXPECT_EQ(six_neighbours, 16002u - 12u);

  // The twelve points with five neighbours are the icosahedron's vertices.
  const std::vector<vec3> corners = icosahedron();
  for (const vec3& corner : corners) {
    const auto [point, distance] = graph.nearest(corner);
    EXPECT_LT(distance, 1e-6) << corner.x << " " << corner.y << " " << corner.z;
    EXPECT_EQ(graph.neighbours[point].size(), 5u);
  }

  // Each icosahedron edge (length 4 / √(10 + 2√5) ≈ 1.0515) has its midpoint, projected, in the
  // mesh: the division is even and points are projected onto the sphere.
  std::size_t edges = 0;
  for (std::size_t a = 0; a < corners.size(); ++a) {
    for (std::size_t b = a + 1; b < corners.size(); ++b) {
      if (length(corners[a] - corners[b]) < 1.1) {
        ++edges;
        EXPECT_LT(graph.nearest(normalize(corners[a] + corners[b])).second, 1e-6);
      }
    }
  }
  EXPECT_EQ(edges, 30u);

  // A pole's five neighbours lie 1/40 of the way along its edges before projection.
  for (const vec3& pole : {corners[0], corners[1]}) {
    const std::size_t pole_point = graph.nearest(pole).first;
    std::size_t found = 0;
    for (const vec3& corner : corners) {
      if (std::abs(length(corner - pole) - 1.0515) < 0.01) {
        const auto [point, distance] = graph.nearest(normalize(39.0 * pole + corner));
        found += distance < 1e-6 && graph.neighbours[pole_point].count(point) == 1;
      }
    }
    EXPECT_EQ(found, 5u);
  }
}

TEST(SphereMesh, VertexRecordsHoldUnitPositionsTheirNormalsZeroWordsAndFillerBytes) {
  std::size_t not_unit = 0;
  std::size_t normal_off = 0;
  std::size_t bad_padding = 0;
  for (const vertex_record& vertex : mesh().vertices) {
    not_unit += std::abs(length(vertex.p()) - 1.0) > 1e-6;
    normal_off += length(vertex.n() - vertex.p()) > 0.0002;
    bad_padding += vertex.position[3] != 0.0f || vertex.normal[3] != 0.0f ||
                   std::signbit(vertex.position[3]) || std::signbit(vertex.normal[3]) ||
                   vertex.filler !=
                       std::array<unsigned char, 8>{0xCC, 0xCC, 0xCC, 0xCC, 0xCC, 0xCC, 0xCC, 0xCC};
  }
  EXPECT_EQ(not_unit, 0u);
  EXPECT_EQ(normal_off, 0u);
  EXPECT_EQ(bad_padding, 0u);
}

TEST(SphereMesh, TextureCoordinatesFollowLongitudeAndHeightWithTheSeamShiftedPerTriangle) {
  const std::vector<vertex_record>& vertices = mesh().vertices;
  std::size_t off_formula = 0;
  std::size_t shifted_up = 0;
  std::size_t shifted_down = 0;
  std::size_t needless_shifts = 0;
  std::size_t wide_triangles = 0;
  std::size_t pole_outside_span = 0;
  for (std::size_t t = 0; t < kTriangles; ++t) {
    std::array<double, 3> stored{};
    std::vector<double> from_formula;
    bool shifted = false;
    for (std::size_t k = 0; k < 3; ++k) {
      const vertex_record& vertex = vertices[3 * t + k];
      const vec3 p = vertex.p();
      stored[k] = vertex.u;
      off_formula += std::abs(vertex.v - (p.y + 1.0) / 2.0) > 0.003;
      if (is_pole(p)) {
        continue;
      }
      const double expected = longitude_u(p);
      from_formula.push_back(expected);
      const double difference = vertex.u - expected;
      if (std::abs(difference - 1.0) < 0.003) {
        ++shifted_up;
        shifted = true;
      } else if (std::abs(difference + 1.0) < 0.003) {
        ++shifted_down;
        shifted = true;
      } else {
        off_formula += std::abs(difference) > 0.003;
      }
    }
    const auto [low, high] = std::minmax_element(stored.begin(), stored.end());
    wide_triangles += *high - *low >= 0.5;
    const auto [formula_low, formula_high] =
        std::minmax_element(from_formula.begin(), from_formula.end());
    needless_shifts += shifted && *formula_high - *formula_low < 0.5;
    // A pole takes its triangle's u: between the u of the triangle's other two corners.
    for (std::size_t k = 0; k < 3; ++k) {
      if (is_pole(vertices[3 * t + k].p())) {
        const double u0 = stored[(k + 1) % 3];
        const double u1 = stored[(k + 2) % 3];
        pole_outside_span += stored[k] < std::min(u0, u1) || stored[k] > std::max(u0, u1);
      }
    }
  }
  EXPECT_EQ(off_formula, 0u);
  EXPECT_EQ(wide_triangles, 0u);
  EXPECT_EQ(needless_shifts, 0u);
  EXPECT_EQ(pole_outside_span, 0u);
  // The seam's straddling triangles move 238 corners, half of them each way.
  EXPECT_EQ(shifted_up, 119u);
  EXPECT_EQ(shifted_down, 119u);
}

TEST(SphereMesh, TangentsRunAlongIncreasingUWithTheBitangentTowardsIncreasingV) {
  const std::vector<vertex_record>& vertices = mesh().vertices;
  std::size_t not_unit = 0;
  std::size_t not_orthogonal = 0;
  std::size_t bad_handedness = 0;
  std::size_t against_triangle_u = 0;
  std::size_t bitangent_against_triangle_v = 0;
  std::size_t against_east = 0;
  std::size_t bitangent_against_north = 0;
  for (std::size_t t = 0; t < kTriangles; ++t) {
    const vertex_record& a = vertices[3 * t];
    const vertex_record& b = vertices[3 * t + 1];
    const vertex_record& c = vertices[3 * t + 2];
    const vec3 grad_u = in_plane_gradient(a.p(), b.p(), c.p(), a.u, b.u, c.u);
    const vec3 grad_v = in_plane_gradient(a.p(), b.p(), c.p(), a.v, b.v, c.v);
    for (const vertex_record* vertex : {&a, &b, &c}) {
      const vec3 n = vertex->n();
      const vec3 tangent = vertex->t();
      const double w = vertex->w();
      not_unit += std::abs(length(tangent) - 1.0) > 1e-5;
      not_orthogonal += std::abs(dot(tangent, n)) > 1e-5;
      bad_handedness += w != 1.0 && w != -1.0;
      // The shader's bitangent.
      const vec3 bitangent = w * cross(n, tangent);
      against_triangle_u += dot(tangent, grad_u) <= 0.0;
      bitangent_against_triangle_v += dot(bitangent, grad_v) <= 0.0;
      const vec3 p = vertex->p();
      if (!is_pole(p)) {
        // Away from the poles the same holds for the sphere's own directions: east, where the
        // longitude atan2(z, x) grows, and north, where y grows.
        const vec3 east = {-p.z, 0.0, p.x};
        const vec3 north = vec3{0.0, 1.0, 0.0} - n.y * n;
        against_east += dot(tangent, east) <= 0.0;
        bitangent_against_north += dot(bitangent, north) <= 0.0;
      }
    }
  }
  EXPECT_EQ(not_unit, 0u);
  EXPECT_EQ(not_orthogonal, 0u);
  EXPECT_EQ(bad_handedness, 0u);
  EXPECT_EQ(against_triangle_u, 0u);
  EXPECT_EQ(bitangent_against_triangle_v, 0u);
  EXPECT_EQ(against_east, 0u);
  EXPECT_EQ(bitangent_against_north, 0u);
}

// Stands in for the GL renderer: records what upload_model received and where it ran.
struct upload_record {
  std::thread::id ran_on;
  uint32_t vertex_count = 0;
  uint32_t index_count = 0;
  std::vector<unsigned char> vertices;
  std::vector<uint32_t> indices;
  bool fail = false;
};

struct UploadProbe {
  upload_record* record;
  model_ref upload_model(const void* vertices, uint32_t vertex_count, const uint32_t* indices,
                         uint32_t index_count) {
    record->ran_on = std::this_thread::get_id();
    record->vertex_count = vertex_count;
    record->index_count = index_count;
    const auto* bytes = static_cast<const unsigned char*>(vertices);
    record->vertices.assign(bytes, bytes + std::size_t{vertex_count} * 64);
    record->indices.assign(indices, indices + index_count);
    if (record->fail) {
      throw std::runtime_error("failed to create vertex buffer");
    }
    return {21, 22, 23, index_count};
  }
};

TEST(SphereMesh, LoadingUploadsTheDecodedArraysOnTheRenderThreadAndReturnsItsModel) {
  upload_record record;
  BasicRendererThread<UploadProbe> thread(
      [&record] { return std::make_unique<UploadProbe>(UploadProbe{&record}); });
  const model_ref model = load_sphere_mesh(thread);
  EXPECT_EQ(model.vertex_array, 21u);
  EXPECT_EQ(model.vertex_buffer, 22u);
  EXPECT_EQ(model.index_buffer, 23u);
  EXPECT_EQ(model.index_count, 96000u);
  EXPECT_NE(record.ran_on, std::thread::id());
  EXPECT_NE(record.ran_on, std::this_thread::get_id());
  EXPECT_EQ(record.vertex_count, 96000u);
  EXPECT_EQ(record.index_count, 96000u);
  EXPECT_TRUE(record.vertices == mesh().arrays.vertices);
  EXPECT_TRUE(record.indices == mesh().arrays.indices);
}

TEST(SphereMesh, AFailedUploadReachesTheCaller) {
  upload_record record;
  record.fail = true;
  BasicRendererThread<UploadProbe> thread(
      [&record] { return std::make_unique<UploadProbe>(UploadProbe{&record}); });
  try {
    load_sphere_mesh(thread);
    ADD_FAILURE() << "returned";
  } catch (const std::runtime_error& error) {
    EXPECT_STREQ(error.what(), "failed to create vertex buffer");
  }
}

}  // namespace
