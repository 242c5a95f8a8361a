#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include "host/composition.h"
#include "host/effect_host.h"
#include "platform/debug_output.h"
#include "plugin/ae_plugin_connection.h"
#include "scene/frame_render.h"
#include "tests/e2e_plugin_support.h"

// Scene assembly through the real host, with the renderer's operations recorded where scene
// assembly hands them over (e2e_scene.cpp), and what other suites build compositions with.
namespace e2e_scene {

// One renderer operation with copies of what it was given, and the host's current time (the
// in-data's) when it was called.
struct Operation {
  // clang-format off
  enum class Kind { set_output, set_render_properties, set_lights, clear_target, draw, read_output,
                    delete_texture, upload_texture, make_normal_map, make_environment_cube };
  // clang-format on
  Kind kind = Kind::clear_target;
  A_long time = 0;
  render_data output{};                  // set_output
  render_properties camera;              // set_render_properties
  std::vector<light_properties> lights;  // set_lights
  scene_parameters scene;                // draw: the copy the renderer draws from
  float value = 0.0f;                    // draw: the weight; read_output: the gamma
  unsigned int texture = 0;              // the texture argument
  int width = 0, height = 0;             // make_normal_map
  unsigned int result = 0;               // the name a texture operation made
};

// Stands in for the render thread: records every operation and makes up texture names (each
// operation that makes a texture returns a new one, counting from 1001).
class RecordingClient {
 public:
  using K = Operation::Kind;
  RecordingClient(RenderState& state, const PF_InData& in_data, unsigned int& next_texture)
      : state_(state), in_data_(in_data), next_texture_(next_texture) {}

  void set_output(unsigned int, const render_data& frame) {
    add({.kind = K::set_output, .output = frame});
  }
  void post_render_properties(const render_properties& camera) {
    add({.kind = K::set_render_properties, .camera = camera});
  }
  void post_lights(const std::vector<light_properties>& lights) {
    state_.scene.lights = lights;
    add({.kind = K::set_lights, .lights = lights});
  }
  void clear_target() { add({.kind = K::clear_target}); }
  void post_draw(float weight) { add({.kind = K::draw, .scene = state_.scene, .value = weight}); }
  void read_output(float gamma) { add({.kind = K::read_output, .value = gamma}); }
  void delete_texture(unsigned int texture) {
    add({.kind = K::delete_texture, .texture = texture});
  }
  unsigned int upload_texture(const image_desc&) { return add({.kind = K::upload_texture}); }
  unsigned int make_normal_map(unsigned int bumps, int width, int height) {
    return add({.kind = K::make_normal_map, .texture = bumps, .width = width, .height = height});
  }
  unsigned int make_environment_cube(unsigned int texture) {
    return add({.kind = K::make_environment_cube, .texture = texture});
  }

  std::vector<Operation> operations;

 private:
  // Records `op` at the current time; returns the texture name it makes.
  unsigned int add(Operation op) {
    op.time = in_data_.current_time;
    op.result = op.kind >= K::upload_texture ? next_texture_++ : 0;
    operations.push_back(std::move(op));
    return operations.back().result;
  }

  RenderState& state_;
  const PF_InData& in_data_;
  unsigned int& next_texture_;
};

// The effect's plug-in object with its frame render command driving a RecordingClient instead
// of the render thread; every other handler is the module's own.
class RecordingPlugin : public AePluginConnection {
 public:
  void on_smart_render(CommandContext& context) override {
    RecordingClient client(*renderer, *context.in_data, next_texture_);
    render_frame(context, *this, *renderer, sample_counter, client);
    frames.push_back(std::move(client.operations));
  }
  std::vector<std::vector<Operation>> frames;  // the operations of each frame, oldest first

 private:
  unsigned int next_texture_ = 1001;
};

// Collects the module's debug lines while alive.
class DebugLines {
 public:
  DebugLines()
      : previous_(hxsdk::set_debug_sink([this](std::string_view text) {
          std::lock_guard lock(mutex_);
          lines_.emplace_back(text);
        })) {}
  ~DebugLines() { hxsdk::set_debug_sink(std::move(previous_)); }
  DebugLines(const DebugLines&) = delete;
  DebugLines& operator=(const DebugLines&) = delete;

  std::vector<std::string> take() {
    std::lock_guard lock(mutex_);
    return std::exchange(lines_, {});
  }

 private:
  std::mutex mutex_;
  std::vector<std::string> lines_;
  hxsdk::DebugSink previous_;
};

// A composition of 1920 x 1080 square pixels at 30 frames per second with the effect on the
// layer "Sphere"; tests add parameter values and layers.
inline lunaform::host::Composition sphere_composition() {
  lunaform::host::Composition comp;
  comp.layers.push_back({.name = "Sphere", .content = lunaform::host::EffectLayer{}});
  return comp;
}

inline lunaform::host::EffectLayer& effect_of(lunaform::host::Composition& comp) {
  return std::get<lunaform::host::EffectLayer>(
      comp.layers[lunaform::host::effect_layer_index(comp).value()].content);
}

// The operations of `kind` in `operations`, in order.
inline std::vector<Operation> of_kind(const std::vector<Operation>& operations,
                                      Operation::Kind kind) {
  std::vector<Operation> found;
  for (const Operation& op : operations) {
    if (op.kind == kind) {
      found.push_back(op);
    }
  }
  return found;
}

// The one operation of `kind`; fails the test when there is not exactly one.
inline Operation only(const std::vector<Operation>& operations, Operation::Kind kind) {
  const std::vector<Operation> found = of_kind(operations, kind);
  EXPECT_EQ(found.size(), 1u) << "operation kind " << int(kind);
  return found.empty() ? Operation{} : found.front();
}

// The RecordingPlugin set up in a host once for a suite (that starts a render thread), and
// started over before each test.
class SceneTest : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    host_ = std::make_unique<lunaform::host::EffectHost>(&e2e_plugin::entry_for<RecordingPlugin>);
    e2e_plugin::set_up_instance(*host_);
  }
  static void TearDownTestSuite() { host_.reset(); }
  // Default settings, no checkout failures, a new instance whose slots hold no textures.
  void SetUp() override { reset(sphere_composition()); }

  static void reset(lunaform::host::Composition comp) {
    host_->settings() = {};
    host_->checkout_failures() = {};
    EXPECT_EQ((std::tuple{host_->sequence_setdown(), host_->sequence_setup()}), std::tuple(0, 0));
    host_->set_composition(std::move(comp));
  }
  static RecordingPlugin& plugin() { return e2e_plugin::plugin_in<RecordingPlugin>(*host_); }

  // Pre-renders and renders one frame (of `comp` when given); returns its operations, none
  // when the render failed. Every suite and parameter the frame took is given back.
  static std::vector<Operation> render(std::optional<lunaform::host::Composition> comp = {}) {
    if (comp) {
      host_->set_composition(std::move(*comp));
    }
    const std::size_t before = plugin().frames.size();
    EXPECT_EQ((std::tuple{host_->smart_pre_render(), host_->smart_render()}), std::tuple(0, 0));
    EXPECT_TRUE(host_->problems().empty()) << host_->problems().front();
    EXPECT_TRUE(host_->suites().unreleased().empty());
    EXPECT_EQ(host_->outstanding_param_checkouts(), 0);
    return plugin().frames.size() == before ? std::vector<Operation>{} : plugin().frames.back();
  }

  static inline std::unique_ptr<lunaform::host::EffectHost> host_;
};

}  // namespace e2e_scene
