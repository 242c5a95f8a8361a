// The scene's math and records, each checked against a second, plain computation: textbook
// matrices in double precision, Rodrigues' rotation, a pinhole camera, values worked by hand.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include "plugin/hx_exception.h"
#include "renderer/render_client.h"
#include "scene/camera_view.h"
#include "scene/light_records.h"
#include "scene/motion_blur.h"
#include "scene/param_conversions.h"
#include "scene/sphere_placement.h"
#include "scene/texture_layers.h"

namespace {

using hxsdk::mat4;
using Vec3 = std::array<double, 3>;
using Vec4 = std::array<double, 4>;
// A matrix as a textbook writes it, row after row, for column vectors, in double precision.
using Grid = std::array<double, 16>;

constexpr double kPi = 3.14159265358979323846;
constexpr Grid kIdentity = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
constexpr A_long kEndOfTime = std::numeric_limits<A_long>::max();

Grid product(const Grid& a, const Grid& b) {
  Grid p{};
  for (int i = 0; i < 64; ++i) {  // i runs over (row, k, column)
    p[i / 16 * 4 + i % 4] += a[i / 16 * 4 + i / 4 % 4] * b[i / 4 % 4 * 4 + i % 4];
  }
  return p;
}

// mat4 keeps column c in elements 4c to 4c + 3: the grid transposed, either way.
template <typename To, typename From>
To transposed(const From& from) {
  To to{};
  for (int i = 0; i < 16; ++i) {
    to[i] = static_cast<float>(from[i % 4 * 4 + i / 4]);
  }
  return to;
}

Vec4 times(const mat4& m, const Vec4& v) {
  Vec4 r{};
  for (int i = 0; i < 16; ++i) {
    r[i % 4] += m[i] * v[i / 4];
  }
  return r;
}

template <std::size_t N>
void expect_near(const std::array<double, N>& actual, const std::array<double, N>& expected,
                 double tolerance, const std::string& what = "") {
  for (std::size_t i = 0; i < N; ++i) {
    EXPECT_NEAR(actual[i], expected[i], tolerance) << what << " element " << i;
  }
}
void expect_near(const hxsdk::vec4& actual, const Vec4& expected, const std::string& what = "",
                 double tolerance = 1e-6) {
  expect_near(Vec4{actual.x, actual.y, actual.z, actual.w}, expected, tolerance, what);
}

Grid random_grid(std::mt19937& random, double diagonal) {
  std::uniform_real_distribution<double> entry(-1.0, 1.0);
  Grid g;
  for (int i = 0; i < 16; ++i) {
    g[i] = static_cast<float>(entry(random) + (i % 5 == 0 ? diagonal : 0.0));
  }
  return g;
}

// Rodrigues: R = cos(t) I + sin(t) [n]x + (1 - cos(t)) n n^T turns by t about unit axis n.
Grid rodrigues(const Vec3& n, double t) {
  const double cross[9] = {0, -n[2], n[1], n[2], 0, -n[0], -n[1], n[0], 0};
  Grid g = kIdentity;
  for (int i = 0; i < 9; ++i) {
    g[i / 3 * 4 + i % 3] = (i % 4 == 0 ? std::cos(t) : 0.0) + std::sin(t) * cross[i] +
                           (1.0 - std::cos(t)) * n[i / 3] * n[i % 3];
  }
  return g;
}

TEST(Math3d, MultiplyChainsTheSecondAfterTheFirstAndInverseUndoesIt) {
  // Scale by (2, 3, 4), then move by (1, 2, 3): (1, 1, 1) -> (2, 3, 4) -> (3, 5, 7).
  mat4 scale_then_move = hxsdk::scale_matrix(2.0f, 3.0f, 4.0f);
  hxsdk::multiply(scale_then_move, hxsdk::translation_matrix({1.0f, 2.0f, 3.0f, 0.0f}));
  expect_near(times(scale_then_move, {1, 1, 1, 1}), {3, 5, 7, 1}, 1e-6);
  std::mt19937 random(7);
  for (int trial = 0; trial < 50; ++trial) {
    const Grid a = random_grid(random, 0.0), b = random_grid(random, 0.0);
    mat4 result = transposed<mat4>(a);
    hxsdk::multiply(result, transposed<mat4>(b));
    expect_near(transposed<Grid>(result), product(b, a), 1e-5);
    const Grid m = random_grid(random, 4.0);  // diagonally dominant: far from singular
    const Grid inverse = transposed<Grid>(hxsdk::inverse(transposed<mat4>(m)));
    expect_near(product(m, inverse), kIdentity, 1e-5);
  }
}

TEST(RenderState, ModelMatrixScalesThenTurnsByTheQuaternionThenMoves) {
  std::mt19937 random(23);
  std::uniform_real_distribution<double> coordinate(-1.0, 1.0);
  for (int trial = 0; trial < 50; ++trial) {
    Vec4 p = {coordinate(random), coordinate(random), coordinate(random), 1.0};
    const double length = std::sqrt(p[0] * p[0] + p[1] * p[1] + p[2] * p[2]);
    const Vec3 n = {p[0] / length, p[1] / length, p[2] / length};
    const double t = 3.1 * coordinate(random), s = std::sin(t / 2);
    const double radius = 1.0 + 99.0 * std::abs(coordinate(random));
    const hxsdk::vec4 position = {static_cast<float>(1000 * coordinate(random)),
                                  static_cast<float>(1000 * coordinate(random)),
                                  static_cast<float>(1000 * coordinate(random)), 0.0f};
    const mat4 m = model_matrix(position,
                                {static_cast<float>(n[0] * s), static_cast<float>(n[1] * s),
                                 static_cast<float>(n[2] * s), static_cast<float>(std::cos(t / 2))},
                                static_cast<float>(radius));
    p = {coordinate(random), coordinate(random), coordinate(random), 1.0};
    const Vec4 turned = times(transposed<mat4>(rodrigues(n, t)), p);
    expect_near(times(m, p),
                {position.x + radius * turned[0], position.y + radius * turned[1],
                 position.z + radius * turned[2], 1.0},
                1e-3, "trial " + std::to_string(trial));
  }
}

constexpr int kWidth = 1920;
constexpr int kHeight = 1080;
// The distance of a 50 mm lens: half the width over tan(39.6° / 2).
const double kDefaultZoom = kWidth / 2.0 / std::tan(39.6 / 2.0 * kPi / 180.0);

// A camera as a host describes one (axes x right, y down, z ahead: the columns of `turn`).
host_camera camera(Vec3 position = {kWidth / 2.0, kHeight / 2.0, -kDefaultZoom},
                   double zoom = kDefaultZoom, const Grid& turn = kIdentity, bool has_layer = false,
                   bool orthographic = false) {
  host_camera c{{}, zoom, kWidth, kHeight, has_layer, orthographic};
  for (int i = 0; i < 16; ++i) {
    c.camera_to_world.mat[i / 4][i % 4] =
        i < 12 ? (i % 4 < 3 ? turn[i % 4 * 4 + i / 4] : 0.0) : (i < 15 ? position[i - 12] : 1.0);
  }
  return c;
}

view_placement placement(float d, int x = 0, int y = 0, int w = 0, int h = 0, float aspect = 1) {
  // Without a size: the whole frame at that downsampling.
  w = w > 0 ? w : static_cast<int>(std::ceil(kWidth / d));
  h = h > 0 ? h : static_cast<int>(std::ceil(kHeight / d));
  return {aspect, aspect, d, x, y, w, h};
}

// Where a pinhole camera puts a world point, in downsampled output pixels: u = zoom x / z about
// the plane's centre (orthographic: u = x), world x divided by a wide pixel's aspect.
std::array<double, 2> pinhole_pixel(const host_camera& c, const Vec3& point,
                                    const view_placement& p) {
  const auto& m = c.camera_to_world.mat;
  const Vec3 offset = {point[0] / p.composition_pixel_aspect - m[3][0], point[1] - m[3][1],
                       point[2] - m[3][2]};
  Vec3 local{};
  for (int i = 0; i < 9; ++i) {
    local[i / 3] += offset[i % 3] * m[i / 3][i % 3];
  }
  const double scale = c.orthographic ? 1.0 : c.plane_distance / local[2];
  return {(kWidth / 2.0 + scale * local[0]) / p.downsample - p.output_origin_x,
          (kHeight / 2.0 + scale * local[1]) / p.downsample - p.output_origin_y};
}

TEST(SceneCameraView, WorldPointsLandWhereThePinholeCameraPutsThem) {
  const std::vector<host_camera> cameras = {
      camera(), camera({300, -200, -1500}, 1200, kIdentity, true),
      camera({-400, 900, -2000}, 1200, rodrigues({0.48, 0.8, 0.36}, 0.4), true),
      camera({800, 500, -3000}, 1200, kIdentity, true, true)};
  // Full and half resolution, regions off centre at full and half resolution, wide pixels.
  const std::vector<view_placement> placements = {
      placement(1), placement(2), placement(1, 700, 300, 400, 250),
      placement(2, 350, 150, 200, 125), placement(1, 0, 0, kWidth, kHeight, 2.0f)};
  for (std::size_t c = 0; c < cameras.size(); ++c) {
    for (std::size_t p = 0; p < placements.size(); ++p) {
      if (cameras[c].has_camera_layer && placements[p].composition_pixel_aspect != 1.0f) {
        continue;  // a camera layer's plane is squared otherwise, as the next test shows
      }
      const render_properties properties = camera_render_properties(cameras[c], placements[p]);
      for (const Vec3& point : std::vector<Vec3>{
               {960, 540, 0}, {0, 0, 0}, {1500, 200, 800}, {700, 900, -300}, {1200, 450, 2500}}) {
        // Through projection * view, the perspective division, then normalised device
        // coordinates -1..1 across the output buffer (y = -1 at its top row).
        const Vec4 clip = times(properties.projection_matrix,
                                times(properties.view_matrix, {point[0], point[1], point[2], 1}));
        expect_near(
            std::array<double, 2>{(clip[0] / clip[3] + 1) / 2 * placements[p].output_width,
                                  (clip[1] / clip[3] + 1) / 2 * placements[p].output_height},
            pinhole_pixel(cameras[c], point, placements[p]), 0.02,
            "camera " + std::to_string(c) + ", placement " + std::to_string(p));
      }
    }
    // The eye is the camera's position; a point 100 pixels ahead lands at view (0, 0, -100).
    const render_properties properties = camera_render_properties(cameras[c], placement(1));
    const auto& m = cameras[c].camera_to_world.mat;
    expect_near(properties.eye_position, {m[3][0], m[3][1], m[3][2], 0}, "eye", 1e-3);
    expect_near(times(properties.view_matrix, {m[3][0] + 100 * m[2][0], m[3][1] + 100 * m[2][1],
                                               m[3][2] + 100 * m[2][2], 1}),
                {0, 0, -100, 1}, 1e-3);
  }
  // Orthographic depth: the camera's own plane is clip z -1, 500000 pixels ahead about +1.
  const mat4 projection = camera_render_properties(cameras[3], placement(1)).projection_matrix;
  EXPECT_TRUE(projection[10] == -0.000004f && projection[14] == -0.99999994f &&
              projection[11] == 0.0f && projection[15] == 1.0f);
}

TEST(SceneCameraView, ViewSizeSquaresThePlaneByTheLayerAndCompositionAspects) {
  struct Case {
    bool has_layer;
    float layer_aspect, composition_aspect, width;
  };
  for (const Case& c : {Case{false, 1, 1, 1920}, Case{false, 2, 1, 3840}, Case{false, 2, 2, 1920},
                        Case{false, 1, 2, 960}, Case{true, 2, 2, 3840}, Case{true, 1, 2, 1920}}) {
    view_placement p = placement(1);
    p.layer_pixel_aspect = c.layer_aspect;
    p.composition_pixel_aspect = c.composition_aspect;
    const hxsdk::vec2 size = camera_view_size(camera({}, 1, kIdentity, c.has_layer), p);
    EXPECT_TRUE(size.x == c.width && size.y == 1080.0f)
        << size.x << " x " << size.y << " with layer " << c.has_layer << ", aspects "
        << c.layer_aspect << " / " << c.composition_aspect;
  }
}

TEST(SceneLightRecords, EachTypeKeepsOnlyTheFieldsItUsesAndIntensityScalesTheColour) {
  // Rows 0..2 of the transform the layer's axes, row 3 its position; a 90° cone, 50 % feather.
  host_light host{AEGP_LightType_PARALLEL, {}, {0.3, 1.0, 0.5, 0.25}, 100.0, 90.0, 50.0, 500.0};
  host.layer_to_world = {{{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0.6, 0.8, 0}, {100, -50, 250, 1}}};
  for (const AEGP_LightType type : {AEGP_LightType_PARALLEL, AEGP_LightType_SPOT,
                                    AEGP_LightType_POINT, AEGP_LightType_AMBIENT}) {
    const std::string what = "type " + std::to_string(type);
    const bool spot = type == AEGP_LightType_SPOT;
    host.type = type;
    const light_properties light = light_from_host(host, 1.0f);
    EXPECT_EQ(light.light_type, static_cast<int32_t>(type)) << what;
    expect_near(light.position, {100, -50, 250, 0}, what);
    expect_near(light.direction,
                spot || type == AEGP_LightType_PARALLEL ? Vec4{0, 0.6, 0.8, 0} : Vec4{}, what);
    EXPECT_TRUE(light.cone_angle == (spot ? 90.0f : 0.0f) && light.falloff_type == 0) << what;
    EXPECT_EQ(light.cone_feather, spot ? 0.5f : 0.0f) << what << ": the feather is a percentage";
    EXPECT_EQ(light.falloff, 500.0f) << what;
    expect_near(light_from_host(host, 2.0f).position, {200, -50, 250, 0}, what + ", wide pixels");
  }
  // The colour is alpha, red, green, blue; the alpha is not used.
  for (const auto& [intensity, scale] :
       std::vector<std::pair<double, double>>{{100, 1}, {200, 2}, {50, 0.5}, {0, 0}, {-100, 0}}) {
    host.intensity = intensity;
    expect_near(light_from_host(host, 1.0f).color, {scale, 0.5 * scale, 0.25 * scale, 1},
                "intensity " + std::to_string(intensity));
  }
  // Without lights, the white key light shines from (-10000, -10000, 0) toward the origin.
  const light_properties key = default_lights().at(0);
  expect_near(key.direction, {std::sqrt(0.5), std::sqrt(0.5), 0, 0});
  expect_near(key.color, {1, 1, 1, 1});
}

TEST(SceneLightRecords, HostTimesConvertToTheEffectScaleAndLayersLiveUntilJustBeforeTheirEnd) {
  // Value, scale, effect scale, effect time: truncated toward zero, without overflow.
  const A_long times[][4] = {{30, 30, 3600, 3600},
                             {1, 24, 3600, 150},
                             {1, 7, 30, 4},
                             {-1, 7, 30, -4},
                             {5, 3600, 30, 0},
                             {0, 0, 30, 0},
                             {kEndOfTime, 1, 3600, kEndOfTime}};
  for (const auto& t : times) {
    EXPECT_EQ(to_effect_time({t[0], static_cast<A_u_long>(t[1])}, t[2]), t[3])
        << t[0] << "/" << t[1];
  }
  // In point, duration, time, live; a layer lasting to the end of time does not wrap around.
  const A_long lives[][4] = {{100, 50, 99, 0},  {100, 50, 100, 1}, {100, 50, 149, 1},
                             {100, 50, 150, 0}, {100, 0, 100, 0},  {10, kEndOfTime, kEndOfTime, 1}};
  for (const auto& l : lives) {
    EXPECT_EQ(light_is_live(l[0], l[1], l[2]), l[3] == 1)
        << l[0] << " + " << l[1] << " at " << l[2];
  }
}

TEST(SceneMotionBlur, SwitchesDecideSamplesAndShutterWhichSpreadSubFramesAndRefuseUnusableValues) {
  constexpr AEGP_CompFlags kComp = AEGP_CompFlag_ENABLE_MOTION_BLUR;
  constexpr AEGP_LayerFlags kLayer = AEGP_LayerFlag_MOTION_BLUR;
  // The composition's shutter is 1/4 of a frame; the effect's own: 6.4 samples over 270°.
  const std::pair<motion_blur_inputs, motion_blur_settings> cases[] = {
      {{kComp | 1, kLayer | 1, {1, 4}, kMotionBlurCompSettings, 6.4f, 270}, {6, 0.25f}},
      {{kComp, 1, {1, 4}, kMotionBlurCompSettings, 6.4f, 270}, {1, 0.5f}},
      {{0x10, kLayer, {1, 4}, kMotionBlurCompSettings, 6.4f, 270}, {1, 0.5f}},
      {{0, 0, {1, 4}, kMotionBlurOn, 6.4f, 270}, {6, 0.75f}},
      {{kComp, kLayer, {1, 4}, kMotionBlurOn, 6.4f, 270}, {6, 0.75f}},
      {{kComp, kLayer, {1, 4}, kMotionBlurOff, 6.4f, 270}, {1, 0.5f}},
      // Samples round to the nearest whole number.
      {{0, 0, {1, 2}, kMotionBlurOn, 5.49f, 180}, {5, 0.5f}},
      {{0, 0, {1, 2}, kMotionBlurOn, 5.5f, 180}, {6, 0.5f}},
      {{0, 0, {1, 2}, kMotionBlurOn, 199.6f, 180}, {200, 0.5f}}};
  for (const auto& [inputs, expected] : cases) {
    const motion_blur_settings settings = choose_motion_blur(inputs);
    EXPECT_TRUE(settings.sample_count == expected.sample_count &&
                settings.shutter_fraction == expected.shutter_fraction)
        << inputs.motion_blur << " " << inputs.composition_flags << " " << inputs.samples << ": "
        << settings.sample_count << " over " << settings.shutter_fraction;
  }
  // Six samples over half a frame of 120 ticks lie a twelfth of a frame, 10 ticks, apart; with
  // one tick per frame every offset truncates to the frame itself; no time wraps around.
  const motion_blur_settings six{6, 0.5f};
  for (std::uint32_t sample = 0; sample < 6; ++sample) {
    const A_long offset = 10 * static_cast<A_long>(sample);
    EXPECT_EQ(sub_frame_time(2400, 120, sample, six), 2400 + offset);
    EXPECT_EQ(sub_frame_time(-240, 120, sample, six), -240 + offset);
    EXPECT_EQ(sub_frame_time(90, 1, sample, six), 90);
  }
  EXPECT_EQ(sub_frame_time(kEndOfTime - 5, 120, 5, six), kEndOfTime);

  // Unusable values are refused only where they would be used.
  const float nan = std::numeric_limits<float>::quiet_NaN();
  EXPECT_THROW(choose_motion_blur({kComp, kLayer, {1, 0}, kMotionBlurCompSettings, 6, 0}),
               hx_exception);
  EXPECT_EQ(choose_motion_blur({kComp, kLayer, {1, 0}, kMotionBlurOff, 6, 0}).sample_count, 1u);
  for (const auto& [samples, angle] :
       std::vector<std::pair<float, float>>{{nan, 180}, {100000, 180}, {6, nan}}) {
    EXPECT_THROW(choose_motion_blur({0, 0, {1, 2}, kMotionBlurOn, samples, angle}), hx_exception)
        << samples << " samples over " << angle;
  }
  try {
    choose_motion_blur({0, 0, {1, 2}, kMotionBlurOn, 6.0f, std::numeric_limits<float>::infinity()});
    ADD_FAILURE() << "an infinite shutter angle was accepted";
  } catch (const hx_exception& error) {
    EXPECT_NE(std::string(error.what()).find("\"Shutter Angle\""), std::string::npos);
  }
  for (const auto& [choice, samples] : std::vector<std::pair<std::int32_t, unsigned int>>{
           {1, 0}, {2, 2}, {3, 4}, {4, 8}, {5, 16}}) {
    EXPECT_EQ(gpu_sample_count(choice), samples) << "multisampling choice " << choice;
  }
  for (const std::int32_t missing : {0, -1, 6, 40}) {
    EXPECT_THROW(gpu_sample_count(missing), hx_exception) << "choice " << missing;
  }
}

TEST(SceneParamConversions, ValuesBecomeTheRenderersUnitsAndOrientationsTurnAboutXThenYThenZ) {
  expect_near(color_from_pixel(PF_Pixel{64, 255, 128, 0}), {1.0, 128 / 255.0, 0.0, 64 / 255.0},
              "alpha, red, green, blue becomes red, green, blue, alpha");
  for (const double degrees : {0.0, 90.0, -45.0, 180.0, 720.5}) {
    EXPECT_NEAR(fixed_degrees_to_radians(std::lround(degrees * 65536)), degrees * kPi / 180,
                1e-6 * std::max(1.0, std::abs(degrees)))
        << degrees << " degrees";
  }
  // The orientation turns about x, then y, then z: R = Rz Ry Rx.
  std::mt19937 random(3);
  std::uniform_int_distribution<PF_Fixed> fixed(-180 << 16, 180 << 16);
  const auto turn = [](PF_Fixed degrees, const Vec3& axis) {
    return rodrigues(axis, degrees / 65536.0 * kPi / 180);
  };
  for (int trial = 0; trial < 50; ++trial) {
    const PF_Fixed x = fixed(random), y = fixed(random), z = fixed(random);
    expect_near(transposed<Grid>(hxsdk::rotation_matrix(orientation_from_fixed_degrees(x, y, z))),
                product(turn(z, {0, 0, 1}), product(turn(y, {0, 1, 0}), turn(x, {1, 0, 0}))), 1e-5);
  }
  EXPECT_TRUE(flag_from_value(0) == 0 && flag_from_value(1) == 1 && flag_from_value(-7) == 1 &&
              flag_from_value(256) == 1);
  // "Position" (480, 270, -100) at each downsampling, back in full-resolution square pixels.
  for (const auto& [aspect, downsample, expected] :
       std::vector<std::tuple<float, float, Vec4>>{{1, 1, {480, 270, -100, 0}},
                                                   {1, 2, {960, 540, -200, 0}},
                                                   {2, 1, {960, 270, -100, 0}},
                                                   {2, 4, {3840, 1080, -400, 0}}}) {
    expect_near(sphere_position({480.0, 270.0, -100.0}, aspect, downsample), expected,
                std::to_string(aspect) + " / " + std::to_string(downsample));
  }
}

TEST(SceneTextureSlots, TextureIsReusedOnlyWhenStampSizeAndKindAllMatch) {
  constexpr std::uint32_t kNormals = static_cast<std::uint32_t>(TextureKind::height_to_normal);
  char pixel = 0;
  // Stamp unchanged, width, height, kind, texture, reused: nothing changed; then the stamp, the
  // width, the height, the kind; no texture yet.
  const std::uint32_t cases[][6] = {{1, 64, 32, kNormals, 7, 1}, {0, 64, 32, kNormals, 7, 0},
                                    {1, 65, 32, kNormals, 7, 0}, {1, 64, 33, kNormals, 7, 0},
                                    {1, 64, 32, 0, 7, 0},        {1, 64, 32, kNormals, 0, 0}};
  for (const auto& c : cases) {
    const TextureSlot slot{c[4], 64, 32, {}, kNormals};
    const image_desc image{0, 1, static_cast<int32_t>(c[1]), static_cast<int32_t>(c[2]), &pixel};
    EXPECT_EQ(slot_texture_current(slot, c[0] == 1, image, static_cast<TextureKind>(c[3])),
              c[5] == 1)
        << c[1] << " x " << c[2] << ", kind " << c[3] << ", texture " << c[4];
  }
}

}  // namespace
