#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace lunaform::host {

// The composition the host renders: its settings and its layers, as a scene file describes
// them and as the host's suites report them to an effect. Plain values that the caller owns and
// may change between commands; nothing here talks to a module.
//
// Geometry follows the host's conventions: composition pixels, x to the right, y down, z away
// from the viewer; angles in degrees; times in seconds of composition time.

// A rational number, as the host reports pixel aspects, frame rates and shutter ratios.
struct Ratio {
  std::int32_t num = 1;
  std::uint32_t den = 1;

  double value() const { return static_cast<double>(num) / den; }
  friend bool operator==(const Ratio&, const Ratio&) = default;
};

struct Vec3 {
  double x = 0;
  double y = 0;
  double z = 0;

  friend bool operator==(const Vec3&, const Vec3&) = default;
};

// Straight (not premultiplied) colour; 0 to 1 is black to white, float values may exceed it.
struct Color {
  double red = 0;
  double green = 0;
  double blue = 0;
  double alpha = 1;

  friend bool operator==(const Color&, const Color&) = default;
};

// Linear interpolation of the value types that can be keyframed. Pure functions.
inline double mix(double a, double b, double t) {
  return a + (b - a) * t;
}
inline Vec3 mix(const Vec3& a, const Vec3& b, double t) {
  return {mix(a.x, b.x, t), mix(a.y, b.y, t), mix(a.z, b.z, t)};
}
inline Color mix(const Color& a, const Color& b, double t) {
  return {mix(a.red, b.red, t), mix(a.green, b.green, t), mix(a.blue, b.blue, t),
          mix(a.alpha, b.alpha, t)};
}

// A value that is either constant or keyframed: keys of (time in seconds, value), kept sorted
// by time. Between two keys the value is interpolated linearly; before the first key it is the
// first key's value, after the last the last key's. A value with no keys is the constant.
template <typename T>
class Animated {
 public:
  Animated() = default;
  Animated(T constant) : constant_(std::move(constant)) {}  // NOLINT: a constant is a value

  // Adds (or replaces) the key at `seconds`.
  void set_key(double seconds, T value) {
    auto it = keys_.begin();
    while (it != keys_.end() && it->first < seconds) {
      ++it;
    }
    if (it != keys_.end() && it->first == seconds) {
      it->second = std::move(value);
    } else {
      keys_.insert(it, {seconds, std::move(value)});
    }
  }
  // Makes the value constant again (drops every key).
  void set_constant(T value) {
    keys_.clear();
    constant_ = std::move(value);
  }

  T at(double seconds) const {
    if (keys_.empty()) {
      return constant_;
    }
    if (seconds <= keys_.front().first) {
      return keys_.front().second;
    }
    for (std::size_t i = 1; i < keys_.size(); ++i) {
      const auto& [t1, v1] = keys_[i];
      if (seconds < t1) {
        const auto& [t0, v0] = keys_[i - 1];
        return mix(v0, v1, (seconds - t0) / (t1 - t0));
      }
    }
    return keys_.back().second;
  }

  bool is_keyframed() const { return !keys_.empty(); }
  const std::vector<std::pair<double, T>>& keys() const { return keys_; }
  friend bool operator==(const Animated&, const Animated&) = default;

 private:
  T constant_{};
  std::vector<std::pair<double, T>> keys_;
};

// Pixels of a footage item: straight (unassociated) float RGBA, 4 floats per pixel in the
// order red, green, blue, alpha, rows from top to bottom, no padding (rgba.size() == 4 × width
// × height). 8- and 16-bit files are stored as 0-1.
struct Image {
  std::int32_t width = 0;
  std::int32_t height = 0;
  std::vector<float> rgba;
};

// Where a layer sits in the composition's 3D space. Every layer has one; only lights and the
// camera are read through it by an effect (AEGP_GetLayerToWorldXform, the camera matrix).
//
// The layer's local axes in world space are: the look-at frame (when `point_of_interest` is
// set: local z = normalised (point of interest − position), local x = normalised (local z ×
// (0, −1, 0)), i.e. level with the world's horizon, local y = local z × local x; otherwise the
// world axes), then turned by `orientation` and then by `rotation`, each angle triple applied
// about x first, then y, then z (column-vector form: R = L · Rz·Ry·Rx(orientation) ·
// Rz·Ry·Rx(rotation)). A local point p of an AV layer maps to world as position + R · (p −
// anchor); cameras and lights have no anchor (p maps to position + R · p).
struct Transform {
  Animated<Vec3> position;
  std::optional<Animated<Vec3>> point_of_interest;
  Animated<Vec3> orientation;  // degrees about x, y, z
  Animated<Vec3> rotation;     // degrees about x, y, z
  Animated<Vec3> anchor;       // layer pixels, AV layers only; the scene reader sets the centre
};

// A layer showing an image file. `path` is where it was read from (for messages); `image` is
// shared, so copies of a composition share the pixels. An Image is never changed once a layer
// holds it: to change the pixels, give the layer a new Image (the host hashes each Image once
// for its parameter state stamps). A null image checks out with no pixels.
struct FootageLayer {
  std::filesystem::path path;
  std::shared_ptr<const Image> image;
};

// A layer of one colour.
struct SolidLayer {
  Color color;
  std::int32_t width = 0;
  std::int32_t height = 0;
};

enum class Projection { perspective, orthographic };

// The composition's camera. `zoom` is the distance from the camera to its image plane in
// composition pixels (the plane is the composition's size).
struct CameraLayer {
  Animated<double> zoom;
  Projection projection = Projection::perspective;
};

// Light types with the host's numbers (AEGP_LightType).
enum class LightType { parallel = 0, spot = 1, point = 2, ambient = 3 };

struct LightLayer {
  LightType type = LightType::point;
  Animated<Color> color{Color{1, 1, 1, 1}};
  Animated<double> intensity_percent{100.0};
  Animated<double> cone_angle_degrees{90.0};
  Animated<double> cone_feather_percent{50.0};
  Animated<double> falloff_distance{500.0};
};

// A layer parameter's choice: the name of another layer of the composition; empty = none.
struct LayerRef {
  std::string name;
  friend bool operator==(const LayerRef&, const LayerRef&) = default;
};

// One effect parameter value, by the kind of parameter it sets:
// - number: float sliders and sliders (their value), angles (degrees), popups (the 1-based
//   choice), checkboxes (0 or 1);
// - Vec3: 2D and 3D points in layer pixels at full resolution (z unused for 2D);
// - Color: colour parameters (converted to 8 bits per channel when checked out);
// - LayerRef: layer parameters.
using ParamValue = std::variant<Animated<double>, Animated<Vec3>, Animated<Color>, LayerRef>;

// The layer that carries the effect: its size and pixel aspect are what the effect sees as its
// input layer; `params` holds the values set by name ("Radius", "Diffuse Layer"), every other
// parameter stays at its default.
struct EffectLayer {
  std::int32_t width = 1920;
  std::int32_t height = 1080;
  Ratio pixel_aspect{1, 1};
  std::map<std::string, ParamValue> params;
};

using LayerContent = std::variant<FootageLayer, SolidLayer, CameraLayer, LightLayer, EffectLayer>;

struct Layer {
  std::string name;                // unique within the composition
  double in_point = 0;             // seconds of composition time
  std::optional<double> duration;  // seconds; unset: to the composition's end
  bool video_on = true;            // the layer's video switch
  bool motion_blur = false;        // the layer's motion-blur switch
  Transform transform;
  LayerContent content;
};

struct Composition {
  std::int32_t width = 1920;
  std::int32_t height = 1080;
  Ratio pixel_aspect{1, 1};
  Ratio frame_rate{30, 1};  // frames per second
  double duration = 10;     // seconds
  bool motion_blur = false;
  double shutter_angle = 180;  // degrees of one frame
  double shutter_phase = -90;  // degrees
  std::vector<Layer> layers;   // in the host's layer order: index 0 is the top layer
};

// The effect's time units for a composition: kTicksPerFrame units per frame, so that the
// sub-frame times of motion blur (1/2, 1/3, 1/4, 1/5, 1/6, 1/8, 1/10, 1/12 of a frame) are
// whole units. time_scale units make one second; time_step units one frame; total_time units
// the composition's duration (rounded).
constexpr std::uint32_t kTicksPerFrame = 120;
struct TimeBase {
  std::uint32_t time_scale = 0;
  std::int32_t time_step = 0;
  std::int32_t total_time = 0;
};

// --- Queries. Pure functions on the model; none keeps a reference. ---

TimeBase time_base(const Composition& comp);

// The layer named `name`, or null.
const Layer* find_layer(const Composition& comp, std::string_view name);
Layer* find_layer(Composition& comp, std::string_view name);
// The index of the layer that carries the effect (the one EffectLayer); nothing when the
// composition has none. check_composition() refuses more than one.
std::optional<std::size_t> effect_layer_index(const Composition& comp);
// The index of the camera layer; nothing when the composition has none (then the host's
// default camera is used).
std::optional<std::size_t> camera_layer_index(const Composition& comp);
// The host's layer id of the layer at `index` (index + 1; 0 means "no layer").
inline std::int32_t layer_id(std::size_t index) {
  return static_cast<std::int32_t>(index) + 1;
}
// The layer's duration in seconds (its own, or up to the composition's end).
double layer_duration(const Composition& comp, const Layer& layer);
// The size of a layer's pixels: footage image, solid, effect layer; 0 × 0 for a camera, a
// light, or footage without an image.
std::pair<std::int32_t, std::int32_t> layer_pixel_size(const Layer& layer);

// The distance to the image plane of the host's default camera: that of a 50 mm lens on a
// 36 mm film back, whose horizontal angle of view is 39.6 degrees: width / 2 / tan(19.8°).
double default_camera_zoom(std::int32_t width);

// Throws HostError with one line naming the problem for a composition the host cannot serve:
// a size or pixel aspect or frame rate that is not positive, a negative duration, shutter
// angle outside 0..720, two layers of one name, an empty layer name, no effect layer or more
// than one, more than one camera, a negative layer size, footage whose image disagrees with
// its stated size, a layer parameter that names a missing layer, a camera or light, or the
// effect layer itself.
void check_composition(const Composition& comp);

// The composition lunaform-render uses without a scene file: 1920 × 1080 square pixels, 30
// frames per second, 10 seconds, motion blur off, shutter 180° at phase −90°, one layer
// "Lunaform" carrying the effect at its defaults (1920 × 1080, square pixels); no camera (the
// host's default), no lights (the effect's default lights).
Composition default_composition();

}  // namespace lunaform::host
