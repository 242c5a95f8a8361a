#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "host/composition.h"
#include "host/effect_host.h"
#include "platform/debug_output.h"
#include "plugin/ae_plugin_connection.h"
#include "scene/frame_render.h"
#include "tests/e2e_plugin_support.h"

// Shared by the scene assembly end-to-end suites (e2e_scene_*.cpp): a real frame through the
// real host, with the renderer's operations recorded where scene assembly hands them over.
namespace e2e_scene {

// One renderer operation with copies of what it was given, and the host's current time (the
// in-data's) when it was called.
struct Operation {
  enum class Kind {
    set_output,
    set_render_properties,
    set_lights,
    clear_target,
    draw,  // draw_model of the sphere with the scene copy, then accumulate_sample(weight)
    read_output,
    delete_texture,
    upload_texture,
    make_normal_map,
    make_environment_cube,
  };
  Kind kind = Kind::clear_target;
  A_long time = 0;
  unsigned int sample_count = 0;         // set_output
  render_data output{};                  // set_output
  render_properties camera;              // set_render_properties
  std::vector<light_properties> lights;  // set_lights
  model_ref model{};                     // draw
  scene_parameters scene;                // draw: the copy the renderer draws from
  float value = 0.0f;                    // draw: the weight; read_output: the gamma
  unsigned int texture = 0;              // the texture argument
  image_desc image{};                    // upload_texture
  int width = 0;                         // make_normal_map
  int height = 0;
  unsigned int result = 0;  // the name a texture operation made
};

inline const char* kind_name(Operation::Kind kind) {
  static const char* const names[] = {"set_output",
                                      "set_render_properties",
                                      "set_lights",
                                      "clear_target",
                                      "draw",
                                      "read_output",
                                      "delete_texture",
                                      "upload_texture",
                                      "make_normal_map",
                                      "make_environment_cube"};
  return names[static_cast<int>(kind)];
}

// Stands in for the render thread: records every operation and makes up texture names (each
// operation that makes a texture returns a new one, counting from 1001).
class RecordingClient {
 public:
  RecordingClient(RenderState& state, const PF_InData& in_data, unsigned int& next_texture)
      : state_(state), in_data_(in_data), next_texture_(next_texture) {}

  void set_output(unsigned int sample_count, const render_data& frame) {
    Operation& op = add(Operation::Kind::set_output);
    op.sample_count = sample_count;
    op.output = frame;
  }
  void post_render_properties(const render_properties& camera) {
    add(Operation::Kind::set_render_properties).camera = camera;
  }
  void post_lights(const std::vector<light_properties>& lights) {
    state_.scene.lights = lights;
    add(Operation::Kind::set_lights).lights = lights;
  }
  void clear_target() { add(Operation::Kind::clear_target); }
  void post_draw(float weight) {
    Operation& op = add(Operation::Kind::draw);
    op.model = state_.sphere;
    op.scene = state_.scene;
    op.value = weight;
  }
  void read_output(float gamma) { add(Operation::Kind::read_output).value = gamma; }
  void delete_texture(unsigned int texture) {
    add(Operation::Kind::delete_texture).texture = texture;
  }
  unsigned int upload_texture(const image_desc& image) {
    Operation& op = add(Operation::Kind::upload_texture);
    op.image = image;
    op.result = next_texture_++;
    return op.result;
  }
  unsigned int make_normal_map(unsigned int bump_texture, int width, int height) {
    Operation& op = add(Operation::Kind::make_normal_map);
    op.texture = bump_texture;
    op.width = width;
    op.height = height;
    op.result = next_texture_++;
    return op.result;
  }
  unsigned int make_environment_cube(unsigned int texture) {
    Operation& op = add(Operation::Kind::make_environment_cube);
    op.texture = texture;
    op.result = next_texture_++;
    return op.result;
  }

  std::vector<Operation> operations;

 private:
  Operation& add(Operation::Kind kind) {
    Operation& op = operations.emplace_back();
    op.kind = kind;
    op.time = in_data_.current_time;
    return op;
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

  // The operations of each rendered frame, oldest first.
  std::vector<std::vector<Operation>> frames;

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
  lunaform::host::Layer sphere;
  sphere.name = "Sphere";
  sphere.content = lunaform::host::EffectLayer{};
  comp.layers.push_back(std::move(sphere));
  return comp;
}

inline lunaform::host::EffectLayer& effect_of(lunaform::host::Composition& comp) {
  return std::get<lunaform::host::EffectLayer>(
      comp.layers[lunaform::host::effect_layer_index(comp).value()].content);
}

// The RecordingPlugin set up in a host: global, parameter and sequence setup done.
class SceneHost {
 public:
  SceneHost() : host(&e2e_plugin::entry_for<RecordingPlugin>) {
    e2e_plugin::set_up_instance(host);
    host.set_composition(sphere_composition());
  }

  // Starts over with `comp`: default settings, no checkout failures, and a new instance whose
  // slots hold no textures.
  void reset(lunaform::host::Composition comp = sphere_composition()) {
    host.settings() = {};
    host.checkout_failures() = {};
    EXPECT_EQ(host.sequence_setdown(), PF_Err_NONE);
    EXPECT_EQ(host.sequence_setup(), PF_Err_NONE);
    host.set_composition(std::move(comp));
  }

  RecordingPlugin& plugin() { return e2e_plugin::plugin_in<RecordingPlugin>(host); }

  // Pre-renders and renders one frame; returns its operations (none when the render failed).
  // Every suite and parameter the frame took is given back.
  std::vector<Operation> render() {
    const std::size_t before = plugin().frames.size();
    EXPECT_EQ(host.smart_pre_render(), PF_Err_NONE);
    EXPECT_EQ(host.smart_render(), PF_Err_NONE);
    EXPECT_TRUE(host.problems().empty()) << host.problems().front();
    EXPECT_TRUE(host.suites().unreleased().empty());
    EXPECT_EQ(host.outstanding_param_checkouts(), 0);
    if (plugin().frames.size() == before) {
      return {};
    }
    return plugin().frames.back();
  }

  lunaform::host::EffectHost host;
};

// One SceneHost for all the tests of a suite (setting one up starts a render thread), started
// over before each test.
class SharedSceneHost : public testing::Test {
 protected:
  static void SetUpTestSuite() { scene_ = std::make_unique<SceneHost>(); }
  static void TearDownTestSuite() { scene_.reset(); }
  void SetUp() override { scene_->reset(); }

  // Renders one frame of `comp` at the default settings.
  static std::vector<Operation> render(lunaform::host::Composition comp) {
    scene_->host.set_composition(std::move(comp));
    return scene_->render();
  }

  static inline std::unique_ptr<SceneHost> scene_;
};

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
  EXPECT_EQ(found.size(), 1u) << kind_name(kind);
  return found.empty() ? Operation{} : found.front();
}

}  // namespace e2e_scene
