// Build-time generator of the sphere mesh that the module draws: a geodesic unit sphere made by
// subdividing each face of an icosahedron 40 times along each edge, every triangle with three
// vertices of its own. It writes the vertex and index arrays, each compressed with zlib, as a C++
// source that the build compiles into the module.
//
// Usage: generate_sphere_mesh OUTPUT_SOURCE

#include <zlib.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <numbers>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

constexpr int kFrequency = 40;

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
vec3 normalize(const vec3& a) {
  return (1.0 / std::sqrt(dot(a, a))) * a;
}

// ---------------------------------------------------------------------------------------------
// The icosahedron

struct circle_point {
  double cos, sin;
};

// cos and sin of m · 36° for m = 0 … 9 in closed form (cos 36° = (1 + √5) / 4, cos 72° =
// (√5 − 1) / 4). Mirror images m and 10 − m differ exactly in the sign of sin, and 180° has sin
// exactly 0, so every mesh point on the plane z = 0 gets z = 0 exactly and its longitude is
// exactly ±180°, not a rounding error either side of it.
circle_point multiple_of_36_degrees(int m) {
  const double sqrt5 = std::sqrt(5.0);
  const double cos36 = (1.0 + sqrt5) / 4.0;
  const double sin36 = std::sqrt(10.0 - 2.0 * sqrt5) / 4.0;
  const double cos72 = (sqrt5 - 1.0) / 4.0;
  const double sin72 = std::sqrt(10.0 + 2.0 * sqrt5) / 4.0;
  const std::array<circle_point, 6> upper_half = {
      {{1.0, 0.0}, {cos36, sin36}, {cos72, sin72}, {-cos72, sin72}, {-cos36, sin36}, {-1.0, 0.0}}};
  if (m <= 5) {
    return upper_half[m];
  }
  return {upper_half[10 - m].cos, -upper_half[10 - m].sin};
}

constexpr int kTop = 0;
constexpr int kBottom = 11;
int upper_ring(int k) {
  return 1 + k % 5;
}
int lower_ring(int k) {
  return 6 + k % 5;
}

// A regular icosahedron inscribed in the unit sphere with a vertex at each pole has its other
// ten vertices on two rings at heights ±1/√5 with radius 2/√5 (the ring vertices are
// 1/√5 · (2 cos φ, ±1, 2 sin φ), at distance 4/√(10 + 2√5) from their neighbours). The lower
// ring sits at longitudes k · 72°, with a vertex at (2/√5, −1/√5, 0); the upper ring is turned
// by 36°, with a vertex at (−2/√5, 1/√5, 0). Longitude φ = atan2(z, x).
std::array<vec3, 12> icosahedron_vertices() {
  const double height = 1.0 / std::sqrt(5.0);
  const double radius = 2.0 / std::sqrt(5.0);
  std::array<vec3, 12> vertices{};
  vertices[kTop] = {0.0, 1.0, 0.0};
  vertices[kBottom] = {0.0, -1.0, 0.0};
  for (int k = 0; k < 5; ++k) {
    const circle_point upper = multiple_of_36_degrees(2 * k + 1);
    const circle_point lower = multiple_of_36_degrees(2 * k);
    vertices[upper_ring(k)] = {radius * upper.cos, height, radius * upper.sin};
    vertices[lower_ring(k)] = {radius * lower.cos, -height, radius * lower.sin};
  }
  return vertices;
}

// The 20 faces, each listed counter-clockwise seen from outside. Seen from outside with y up,
// longitude grows to the left (looking at +x from outside, +z is on the left), so a face with a
// corner on top is listed top, lower left, lower right, and a face standing on a corner upper
// left, bottom, upper right (or a rotation of that). The polar faces start at their pole.
std::array<std::array<int, 3>, 20> icosahedron_faces() {
  std::array<std::array<int, 3>, 20> faces{};
  for (int k = 0; k < 5; ++k) {
    // Upper ring vertex k lies at 36° + k · 72°, lower ring vertex k at k · 72°.
    faces[k] = {kTop, upper_ring(k + 1), upper_ring(k)};
    faces[5 + k] = {upper_ring(k + 1), lower_ring(k + 1), upper_ring(k)};
    faces[10 + k] = {upper_ring(k), lower_ring(k + 1), lower_ring(k)};
    faces[15 + k] = {kBottom, lower_ring(k), lower_ring(k + 1)};
  }
  return faces;
}

// The point with barycentric weights (n − i − j, i, j) / n on a face, projected onto the unit
// sphere. A point on an edge has weight 0 on the face's third corner, and a sum of two terms and
// an exact zero rounds the same in any order: both faces along an edge produce its points bit
// for bit alike, so neighbouring triangles share exact positions and the mesh has no cracks.
vec3 face_point(const std::array<vec3, 12>& vertices, const std::array<int, 3>& face, int i,
                int j) {
  return normalize(static_cast<double>(kFrequency - i - j) * vertices[face[0]] +
                   static_cast<double>(i) * vertices[face[1]] +
                   static_cast<double>(j) * vertices[face[2]]);
}

// ---------------------------------------------------------------------------------------------
// Triangles

struct triangle {
  std::array<vec3, 3> corners;
  bool counter_clockwise;  // stored order, seen from outside
};

// Each face is cut into rows between the grid lines i and i + 1, and each row is walked as a
// triangle strip: the points alternate between the two lines, and every three consecutive
// points make a triangle. Consecutive triangles of a strip are stored in opposite turning
// directions: the even ones keep the face's counter-clockwise order, the odd ones are
// clockwise. A row has 2 (n − i) − 1 triangles, a face n² and the sphere 20 n².
std::vector<triangle> sphere_triangles() {
  const std::array<vec3, 12> vertices = icosahedron_vertices();
  std::vector<triangle> triangles;
  triangles.reserve(20 * kFrequency * kFrequency);
  for (const std::array<int, 3>& face : icosahedron_faces()) {
    for (int i = 0; i < kFrequency; ++i) {
      std::vector<vec3> strip;
      for (int j = 0; j < kFrequency - i; ++j) {
        strip.push_back(face_point(vertices, face, i, j));
        strip.push_back(face_point(vertices, face, i + 1, j));
      }
      strip.push_back(face_point(vertices, face, i, kFrequency - i));
      for (size_t k = 0; k + 2 < strip.size(); ++k) {
        triangles.push_back({{strip[k], strip[k + 1], strip[k + 2]}, k % 2 == 0});
      }
    }
  }
  return triangles;
}

// ---------------------------------------------------------------------------------------------
// Texture coordinates and tangents

struct texture_point {
  double u, v;
};

// u = atan2(z, x) / 2π in (−0.5, 0.5]: the seam (u = ±0.5) is the half-plane x < 0, z = 0,
// whose points get +0.5.
double longitude_u(const vec3& p) {
  const double u = std::atan2(p.z, p.x) / (2.0 * std::numbers::pi);
  return u <= -0.5 ? u + 1.0 : u;
}

bool is_pole(const vec3& p) {
  return p.x == 0.0 && p.z == 0.0;
}

// u from the longitude and v = (y + 1) / 2 for each corner, with two fixes that keep the
// interpolation across the triangle sensible:
// - A pole has no longitude; it takes the longitude of its triangle's centroid, so each of the
//   five triangles at a pole gets its own u there.
// - A triangle that straddles the seam has corners near u = +0.5 and near u = −0.5. Every
//   corner is brought within half a turn of the triangle's median u by adding or subtracting
//   1: the corners on the side of the seam that holds fewer of them (the far side) move, and
//   the triangle's u span stays below 0.5.
std::array<texture_point, 3> texture_coordinates(const std::array<vec3, 3>& corners) {
  const vec3 centroid = (1.0 / 3.0) * (corners[0] + corners[1] + corners[2]);
  std::array<double, 3> u{};
  for (int k = 0; k < 3; ++k) {
    u[k] = longitude_u(is_pole(corners[k]) ? centroid : corners[k]);
  }
  std::array<double, 3> sorted = u;
  std::sort(sorted.begin(), sorted.end());
  const double median = sorted[1];
  std::array<texture_point, 3> points{};
  for (int k = 0; k < 3; ++k) {
    double shifted = u[k];
    if (shifted - median > 0.5) {
      shifted -= 1.0;
    } else if (median - shifted > 0.5) {
      shifted += 1.0;
    }
    points[k] = {shifted, (corners[k].y + 1.0) / 2.0};
  }
  return points;
}

struct tangent_frame {
  vec3 along_u;       // ∂P/∂u of the triangle, not normalised
  double handedness;  // w
};

// Over a triangle, position is an affine function of (u, v). With edges e1 = P1 − P0,
// e2 = P2 − P0 and texture steps (Δu1, Δv1), (Δu2, Δv2):
//   e1 = Δu1 ∂P/∂u + Δv1 ∂P/∂v,  e2 = Δu2 ∂P/∂u + Δv2 ∂P/∂v,
// so with d = Δu1 Δv2 − Δu2 Δv1:
//   ∂P/∂u = (Δv2 e1 − Δv1 e2) / d,  ∂P/∂v = (Δu1 e2 − Δu2 e1) / d.
// The shader rebuilds the bitangent as w (N × T); for that to point along ∂P/∂v, towards
// increasing v, w is the sign of (N × ∂P/∂u) · ∂P/∂v = N · (∂P/∂u × ∂P/∂v), with N outward (the
// centroid's direction serves). Because u grows to the left seen from outside while v grows
// upwards, this is −1 wherever the texture map is not mirrored.
tangent_frame triangle_tangent(const std::array<vec3, 3>& corners,
                               const std::array<texture_point, 3>& uv) {
  const vec3 e1 = corners[1] - corners[0];
  const vec3 e2 = corners[2] - corners[0];
  const double du1 = uv[1].u - uv[0].u;
  const double dv1 = uv[1].v - uv[0].v;
  const double du2 = uv[2].u - uv[0].u;
  const double dv2 = uv[2].v - uv[0].v;
  const double d = du1 * dv2 - du2 * dv1;
  const vec3 along_u = (1.0 / d) * (dv2 * e1 - dv1 * e2);
  const vec3 along_v = (1.0 / d) * (du1 * e2 - du2 * e1);
  const vec3 outward = corners[0] + corners[1] + corners[2];
  return {along_u, dot(outward, cross(along_u, along_v)) > 0.0 ? 1.0 : -1.0};
}

// The tangent at one corner: the triangle's ∂P/∂u without its component along that corner's
// normal, normalised (Gram-Schmidt).
vec3 corner_tangent(const vec3& along_u, const vec3& normal) {
  return normalize(along_u - dot(along_u, normal) * normal);
}

// ---------------------------------------------------------------------------------------------
// Arrays

void append_word(std::vector<unsigned char>& bytes, uint32_t word) {
  for (int shift = 0; shift < 32; shift += 8) {
    bytes.push_back(static_cast<unsigned char>(word >> shift));
  }
}

void append_float(std::vector<unsigned char>& bytes, double value) {
  append_word(bytes, std::bit_cast<uint32_t>(static_cast<float>(value)));
}

constexpr unsigned char kFiller = 0xCC;

// One 64-byte vertex, 16 little-endian words: position xyz, 0; u, v, 8 filler bytes; normal
// xyz (the position), 0; tangent xyz, w.
void append_vertex(std::vector<unsigned char>& bytes, const vec3& position, const texture_point& uv,
                   const vec3& tangent, double handedness) {
  append_float(bytes, position.x);
  append_float(bytes, position.y);
  append_float(bytes, position.z);
  append_word(bytes, 0);
  append_float(bytes, uv.u);
  append_float(bytes, uv.v);
  bytes.insert(bytes.end(), 8, kFiller);
  append_float(bytes, position.x);
  append_float(bytes, position.y);
  append_float(bytes, position.z);
  append_word(bytes, 0);
  append_float(bytes, tangent.x);
  append_float(bytes, tangent.y);
  append_float(bytes, tangent.z);
  append_float(bytes, handedness);
}

struct mesh_arrays {
  std::vector<unsigned char> vertices;
  std::vector<unsigned char> indices;
  uint32_t vertex_count = 0;
  uint32_t index_count = 0;
};

// Triangle t is stored as vertices 3t, 3t + 1, 3t + 2. Its index triple keeps the first stored
// vertex in the middle and orders the other two so that the triangle winds counter-clockwise
// seen from outside: (2, 0, 1) for a triangle stored counter-clockwise, (1, 0, 2) for one stored
// clockwise. Along a strip this gives 2, 0, 1, 4, 3, 5, 8, 6, 7, …
mesh_arrays build_mesh() {
  mesh_arrays mesh;
  for (const triangle& t : sphere_triangles()) {
    const std::array<texture_point, 3> uv = texture_coordinates(t.corners);
    const tangent_frame frame = triangle_tangent(t.corners, uv);
    const uint32_t first = mesh.vertex_count;
    for (int k = 0; k < 3; ++k) {
      append_vertex(mesh.vertices, t.corners[k], uv[k], corner_tangent(frame.along_u, t.corners[k]),
                    frame.handedness);
    }
    const std::array<uint32_t, 3> triple =
        t.counter_clockwise ? std::array<uint32_t, 3>{first + 2, first, first + 1}
                            : std::array<uint32_t, 3>{first + 1, first, first + 2};
    for (uint32_t index : triple) {
      append_word(mesh.indices, index);
    }
    mesh.vertex_count += 3;
    mesh.index_count += 3;
  }
  return mesh;
}

// ---------------------------------------------------------------------------------------------
// Output

std::vector<unsigned char> zlib_compress(const std::vector<unsigned char>& data) {
  uLongf size = compressBound(static_cast<uLong>(data.size()));
  std::vector<unsigned char> compressed(size);
  const int result = compress2(compressed.data(), &size, data.data(),
                               static_cast<uLong>(data.size()), Z_BEST_COMPRESSION);
  if (result != Z_OK) {
    throw std::runtime_error("zlib compress2 failed with error " + std::to_string(result));
  }
  compressed.resize(size);
  return compressed;
}

// The bytes as one string literal, split over lines: printable characters as themselves,
// everything else (and the quote, backslash and question mark) as a three-digit octal escape,
// which cannot swallow a following digit the way a hexadecimal escape would. Compilers read
// such a literal far faster than an initializer list of numbers.
std::string string_literal(const std::vector<unsigned char>& bytes) {
  constexpr size_t kBytesPerLine = 96;
  std::string text;
  text.reserve(bytes.size() * 3);
  for (size_t start = 0; start < bytes.size(); start += kBytesPerLine) {
    text += "    \"";
    const size_t end = std::min(bytes.size(), start + kBytesPerLine);
    for (size_t k = start; k < end; ++k) {
      const unsigned char c = bytes[k];
      if (c >= 0x20 && c <= 0x7E && c != '"' && c != '\\' && c != '?') {
        text += static_cast<char>(c);
      } else {
        text += '\\';
        text += static_cast<char>('0' + (c >> 6));
        text += static_cast<char>('0' + ((c >> 3) & 7));
        text += static_cast<char>('0' + (c & 7));
      }
    }
    text += "\"\n";
  }
  return text;
}

std::string generated_source(const mesh_arrays& mesh) {
  const std::vector<unsigned char> vertex_stream = zlib_compress(mesh.vertices);
  const std::vector<unsigned char> index_stream = zlib_compress(mesh.indices);
  std::string source;
  source +=
      "// Generated at build time by tools/generate_sphere_mesh.cpp: the sphere mesh as two zlib\n"
      "// streams. Do not edit.\n\n"
      "#include \"renderer/sphere_mesh.h\"\n\n";
  source +=
      "static_assert(kSphereVertexCount == " + std::to_string(mesh.vertex_count) +
      " && kSphereVertexSize * kSphereVertexCount == " + std::to_string(mesh.vertices.size()) +
      ", \"the decoder's vertex array must match the generated one\");\n";
  source += "static_assert(kSphereIndexCount == " + std::to_string(mesh.index_count) +
            " && sizeof(uint32_t) * kSphereIndexCount == " + std::to_string(mesh.indices.size()) +
            ", \"the decoder's index array must match the generated one\");\n\n";
  source += "namespace {\n\n";
  source += "// " + std::to_string(vertex_stream.size()) + " bytes\nconst char vertex_stream[] =\n";
  source += string_literal(vertex_stream) + "    ;\n\n";
  source += "// " + std::to_string(index_stream.size()) + " bytes\nconst char index_stream[] =\n";
  source += string_literal(index_stream) + "    ;\n\n";
  source += "}  // namespace\n\n";
  source += "// The literals end with a terminating zero that is not part of the streams.\n";
  source +=
      "const embedded_stream sphere_vertex_stream{vertex_stream, sizeof(vertex_stream) - 1};\n";
  source += "const embedded_stream sphere_index_stream{index_stream, sizeof(index_stream) - 1};\n";
  return source;
}

// Written beside the target and then renamed over it, so that a failed run never leaves a
// half-written source that the build would take as up to date.
void write_file(const std::filesystem::path& path, const std::string& text) {
  const std::filesystem::path partial = path.string() + ".partial";
  {
    std::ofstream out(partial, std::ios::binary | std::ios::trunc);
    out << text;
    out.close();
    if (!out) {
      throw std::runtime_error("cannot write " + partial.string());
    }
  }
  std::filesystem::rename(partial, path);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: generate_sphere_mesh OUTPUT_SOURCE\n";
    return 2;
  }
  try {
    write_file(argv[1], generated_source(build_mesh()));
  } catch (const std::exception& error) {
    std::cerr << "generate_sphere_mesh: " << error.what() << "\n";
    return 1;
  }
  return 0;
}
