// The built-in sphere mesh: its streams, geometry, texture coordinates, tangents and upload.
#include "renderer/sphere_mesh.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <map>
#include <numbers>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "plugin/hx_exception.h"

namespace {

using vec3 = std::array<double, 3>;
vec3 operator+(const vec3& a, const vec3& b) {
  return {a[0] + b[0], a[1] + b[1], a[2] + b[2]};
}
vec3 operator-(const vec3& a, const vec3& b) {
  return {a[0] - b[0], a[1] - b[1], a[2] - b[2]};
}
vec3 operator*(double s, const vec3& a) {
  return {s * a[0], s * a[1], s * a[2]};
}
double dot(const vec3& a, const vec3& b) {
  return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}
vec3 cross(const vec3& a, const vec3& b) {
  return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}
double length(const vec3& a) {
  return std::sqrt(dot(a, a));
}

const sphere_mesh_arrays& mesh() {
  static const sphere_mesh_arrays decoded = decode_sphere_mesh();
  return decoded;
}

// Float `word` (0 to 15) of vertex k's 64-byte record: position 0-2, 3 unused, u 4, v 5, filler
// 6-7, normal 8-10, 11 unused, tangent 12-14, handedness 15.
float word(std::size_t k, int word) {
  float value;
  std::memcpy(&value, mesh().vertices.data() + 64 * k + 4 * word, 4);
  return value;
}
vec3 words(std::size_t k, int first) {
  return {word(k, first), word(k, first + 1), word(k, first + 2)};
}

constexpr std::size_t kTriangles = 32000;

bool is_pole(const vec3& p) {
  return std::abs(p[1]) > 1.0 - 1e-9;
}

std::string compressed(std::size_t count) {
  const std::vector<unsigned char> data(count, 7);
  uLongf size = compressBound(static_cast<uLong>(count));
  std::string bytes(size, '\0');
  EXPECT_EQ(compress(reinterpret_cast<Bytef*>(bytes.data()), &size, data.data(), count), Z_OK);
  return bytes.substr(0, size);
}

TEST(SphereMesh, StreamsAreMaximumCompressionZlibOfTheFullArraysAndDamageIsRefused) {
  for (const auto& [stream, decoded_size] : {std::pair{sphere_vertex_stream, 96000u * 64u},
                                             std::pair{sphere_index_stream, 96000u * 4u}}) {
    ASSERT_GE(stream.size, 2u);
    // CMF 0x78: deflate with a 32 KiB window; FLG 0xDA: level bits 3 (maximum compression),
    // no dictionary, and CMF · 256 + FLG a multiple of 31.
    EXPECT_EQ(static_cast<unsigned char>(stream.bytes[0]), 0x78);
    EXPECT_EQ(static_cast<unsigned char>(stream.bytes[1]), 0xDA);
    // zlib's one-call decoder, independent of inflate_exactly, takes every byte to the end.
    std::vector<Bytef> decoded(decoded_size + 1);
    uLongf length = decoded.size();
    uLong size = stream.size;
    EXPECT_EQ(
        uncompress2(decoded.data(), &length, reinterpret_cast<const Bytef*>(stream.bytes), &size),
        Z_OK);
    EXPECT_TRUE(size == stream.size && length == decoded_size) << size << ", " << length;
  }
  EXPECT_EQ(mesh().vertices.size(), 96000u * 64u);
  EXPECT_EQ(mesh().indices.size(), 96000u);

  const std::string hundred = compressed(100), three_hundred = compressed(300);
  const std::string not_zlib = "plain text, not a zlib stream";
  const std::string damaged = "The built-in sphere mesh's test stream is damaged or incomplete.";
  struct Case {
    embedded_stream stream;
    std::size_t destination_size;
    std::string message;
  };
  for (const Case& c :
       {Case{{hundred.data(), hundred.size()},
             200,
             "The built-in sphere mesh's test stream decodes to 100 bytes instead of 200."},
        Case{{three_hundred.data(), three_hundred.size()},
             200,
             "The built-in sphere mesh's test stream decodes to more than 200 bytes."},
        Case{{sphere_index_stream.bytes, sphere_index_stream.size / 2}, 96000 * 4, damaged},
        Case{{not_zlib.data(), not_zlib.size()}, 200, damaged},
        Case{{not_zlib.data(), 0}, 200, damaged}}) {
    std::vector<std::byte> destination(c.destination_size);
    try {
      inflate_exactly(c.stream, destination, "test stream");
      ADD_FAILURE() << "accepted: " << c.message;
    } catch (const hx_exception& error) {
      EXPECT_EQ(std::string(error.what()), c.message);
    }
  }
}

TEST(SphereMesh, TrianglesOwnTheirVerticesWoundOutwardOnAnIcosahedronSubdividedFortyTimes) {
  const std::vector<uint32_t>& indices = mesh().indices;
  // Each triple keeps its triangle's first stored vertex in the middle.
  EXPECT_EQ(std::vector<uint32_t>(indices.begin(), indices.begin() + 9),
            (std::vector<uint32_t>{2, 0, 1, 4, 3, 5, 8, 6, 7}));
  // The corners merged into distinct points by rounding to 1e-5 (points lie about 0.03 apart);
  // corners that coincide must repeat position and normal bit for bit, or the mesh cracks.
  std::vector<std::size_t> point_of, first_vertex;
  std::map<std::array<long long, 3>, std::size_t> by_key;
  std::size_t wrong_vertices = 0, inward = 0, cracks = 0;
  for (uint32_t t = 0; t < kTriangles; ++t) {
    std::array<uint32_t, 3> sorted = {indices[3 * t], indices[3 * t + 1], indices[3 * t + 2]};
    const vec3 a = words(sorted[0], 0), b = words(sorted[1], 0), c = words(sorted[2], 0);
    inward += dot(cross(b - a, c - a), a + b + c) <= 0.0;
    wrong_vertices += sorted[1] != 3 * t;
    std::sort(sorted.begin(), sorted.end());
    wrong_vertices += sorted != std::array<uint32_t, 3>{3 * t, 3 * t + 1, 3 * t + 2};
    for (std::size_t k = 3 * t; k < 3 * t + 3; ++k) {
      const vec3 p = words(k, 0);
      const auto [found, added] = by_key.try_emplace(
          {std::llround(p[0] * 1e5), std::llround(p[1] * 1e5), std::llround(p[2] * 1e5)},
          first_vertex.size());
      if (added) {
        first_vertex.push_back(k);
      }
      point_of.push_back(found->second);
      const unsigned char* first = mesh().vertices.data() + 64 * first_vertex[found->second];
      const unsigned char* self = mesh().vertices.data() + 64 * k;
      cracks += std::memcmp(first, self, 12) != 0 || std::memcmp(first + 32, self + 32, 12) != 0;
    }
  }
  EXPECT_TRUE(wrong_vertices == 0 && inward == 0 && cracks == 0)
      << wrong_vertices << " triangles with wrong vertices, " << inward << " inward, " << cracks;
  ASSERT_EQ(first_vertex.size(), 16002u);  // 10 n² + 2 for n = 40
  std::vector<std::set<std::size_t>> neighbours(first_vertex.size());
  for (std::size_t k = 0; k < 96000; ++k) {
    neighbours[point_of[k]].insert(point_of[k % 3 == 2 ? k - 2 : k + 1]);
    neighbours[point_of[k % 3 == 2 ? k - 2 : k + 1]].insert(point_of[k]);
  }
  // Only the twelve corners of the icosahedron have five neighbours, all others six.
  std::size_t five = 0, six = 0;
  for (const std::set<std::size_t>& n : neighbours) {
    five += n.size() == 5;
    six += n.size() == 6;
  }
  EXPECT_TRUE(five == 12 && six == 16002 - 12) << five << " and " << six;
}

// The in-plane gradient over triangle (a, b, c) of the linear function fa, fb, fc at its corners.
vec3 in_plane_gradient(const vec3& a, const vec3& b, const vec3& c, double fa, double fb,
                       double fc) {
  const vec3 e1 = b - a, e2 = c - a, n = cross(e1, e2);
  return (1.0 / dot(n, n)) * ((fb - fa) * cross(e2, n) + (fc - fa) * cross(n, e1));
}

TEST(SphereMesh, RecordsHoldUnitNormalsLongitudeAndHeightAsUvAndTangentsAlongU) {
  std::map<std::string, std::size_t> wrong;
  std::size_t shifted_up = 0, shifted_down = 0;
  for (std::size_t t = 0; t < kTriangles; ++t) {
    std::array<double, 3> u{};
    for (std::size_t k = 3 * t; k < 3 * t + 3; ++k) {
      const vec3 p = words(k, 0), n = words(k, 8);
      wrong["position off the unit sphere"] += std::abs(length(p) - 1.0) > 1e-6;
      wrong["normal not the position"] += length(n - p) > 0.0002;
      wrong["unused word not +0"] += word(k, 3) != 0.0f || word(k, 11) != 0.0f ||
                                     std::signbit(word(k, 3)) || std::signbit(word(k, 11));
      const unsigned char* filler = mesh().vertices.data() + 64 * k + 24;
      wrong["filler not 0xCC"] += std::count(filler, filler + 8, 0xCC) != 8;
      // v is the height, u the longitude atan2(z, x) / 2π in (−0.5, 0.5], but for the corners
      // that a triangle straddling the seam moves by a whole turn.
      u[k - 3 * t] = word(k, 4);
      wrong["v not the height"] += std::abs(word(k, 5) - (p[1] + 1.0) / 2.0) > 0.003;
      if (is_pole(p)) {
        continue;
      }
      double longitude = std::atan2(p[2], p[0]) / (2.0 * std::numbers::pi);
      longitude += longitude <= -0.5 ? 1.0 : 0.0;
      const double difference = word(k, 4) - longitude;
      shifted_up += std::abs(difference - 1.0) < 0.003;
      shifted_down += std::abs(difference + 1.0) < 0.003;
      wrong["u not the longitude"] +=
          std::abs(difference) > 0.003 && std::abs(std::abs(difference) - 1.0) >= 0.003;
    }
    const auto [low, high] = std::minmax_element(u.begin(), u.end());
    wrong["triangle half a turn wide"] += *high - *low >= 0.5;
    // A pole takes its triangle's u: between the u of the triangle's other two corners.
    for (std::size_t k = 0; k < 3; ++k) {
      wrong["pole outside its triangle's span"] +=
          is_pole(words(3 * t + k, 0)) && (u[k] < std::min(u[(k + 1) % 3], u[(k + 2) % 3]) ||
                                           u[k] > std::max(u[(k + 1) % 3], u[(k + 2) % 3]));
    }
    // Tangents are unit, across the normal, along growing u and eastward; the shader's bitangent
    // w (n × t) runs along growing v and northward.
    const vec3 a = words(3 * t, 0), b = words(3 * t + 1, 0), c = words(3 * t + 2, 0);
    const vec3 grad_u = in_plane_gradient(a, b, c, u[0], u[1], u[2]);
    const vec3 grad_v =
        in_plane_gradient(a, b, c, word(3 * t, 5), word(3 * t + 1, 5), word(3 * t + 2, 5));
    for (std::size_t k = 3 * t; k < 3 * t + 3; ++k) {
      const vec3 p = words(k, 0), n = words(k, 8), tangent = words(k, 12);
      const double w = word(k, 15);
      const vec3 bitangent = w * cross(n, tangent);
      wrong["tangent not unit"] += std::abs(length(tangent) - 1.0) > 1e-5;
      wrong["tangent not across the normal"] += std::abs(dot(tangent, n)) > 1e-5;
      wrong["handedness not ±1"] += w != 1.0 && w != -1.0;
      wrong["tangent against the triangle's u"] += dot(tangent, grad_u) <= 0.0;
      wrong["bitangent against the triangle's v"] += dot(bitangent, grad_v) <= 0.0;
      wrong["tangent not eastward"] += !is_pole(p) && dot(tangent, {-p[2], 0.0, p[0]}) <= 0.0;
      wrong["bitangent not northward"] +=
          !is_pole(p) && dot(bitangent, vec3{0.0, 1.0, 0.0} - n[1] * n) <= 0.0;
    }
  }
  for (const auto& [fault, count] : wrong) {
    EXPECT_EQ(count, 0u) << fault;
  }
  // The seam's straddling triangles move 238 corners, half of them each way.
  EXPECT_TRUE(shifted_up == 119 && shifted_down == 119) << shifted_up << ", " << shifted_down;
}

// Stands in for the GL renderer: checks what upload_model receives, and fails when told to.
struct UploadProbe {
  bool fail = false;
  model_ref upload_model(const void* vertices, uint32_t vertex_count, const uint32_t* indices,
                         uint32_t index_count) {
    EXPECT_EQ(std::memcmp(vertices, mesh().vertices.data(), mesh().vertices.size()), 0);
    EXPECT_TRUE(vertex_count == 96000 && index_count == 96000 &&
                std::equal(indices, indices + index_count, mesh().indices.begin()));
    if (fail) {
      throw std::runtime_error("failed to create vertex buffer");
    }
    return {21, 22, 23, index_count};
  }
};

TEST(SphereMesh, LoadingUploadsTheDecodedArraysOnTheRenderThreadAndPassesOnFailures) {
  BasicRendererThread<UploadProbe> thread;
  const model_ref model = load_sphere_mesh(thread);
  EXPECT_TRUE(model.vertex_array == 21 && model.vertex_buffer == 22 && model.index_buffer == 23 &&
              model.index_count == 96000);
  // The probe is only reachable on the render thread: that is where the upload ran.
  thread.run_on_renderer([](UploadProbe& probe) { probe.fail = true; });
  try {
    load_sphere_mesh(thread);
    ADD_FAILURE() << "returned";
  } catch (const std::runtime_error& error) {
    EXPECT_STREQ(error.what(), "failed to create vertex buffer");
  }
}

}  // namespace
