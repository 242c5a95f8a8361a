#pragma once

#include <cstdint>
#include <utility>
#include <vector>

#include "platform/debug_output.h"
#include "plugin/ae_plugin.h"
#include "plugin/command_context.h"
#include "plugin/host_suites.h"
#include "plugin/param_ids.h"
#include "plugin/param_readers.h"
#include "plugin/sequence_data_handle.h"
#include "renderer/accumulation_weight.h"
#include "scene/camera_reader.h"
#include "scene/motion_blur.h"
#include "scene/motion_blur_reader.h"
#include "scene/render_state.h"
#include "scene/scene_builder.h"
#include "scene/stopwatch.h"

// Renders the current Smart Render's frame (plugin.frame) through `client`, the renderer's
// operations (RenderStateClient in the module): set_output once; for each motion-blur sample,
// at its sub-frame time, the camera, the scene's maps, the lights, clear_target and post_draw
// with weight 1/k, so the result is the mean of the samples; then read_output. The in-data's
// current time is restored before the output is read. `sample_counter` runs from 1.0 up
// across the samples; `state` receives the sequence data pointer and the scene copy that the
// renderer reads. Writes "Input Render", "Render" and "Full Render" timing lines.
//
// Exceptions from host reads or renderer operations leave at once (the entry point reports
// them); the sequence data is unlocked on the way out.
template <typename Client>
void render_frame(CommandContext& context, AePlugin& plugin, RenderState& state,
                  float& sample_counter, Client& client) {
  const Stopwatch frame_timer;
  PF_InData& in_data = *context.in_data;
  HostSuites suites(in_data);
  {
    const SequenceDataLock sequence(in_data, in_data.sequence_data);
    state.sequence_data = sequence.data();

    const motion_blur_settings blur = read_motion_blur(context, suites);
    sample_counter = 1.0f;
    const unsigned int gpu_samples = gpu_sample_count(get_param_int(context, PARAM_MULTISAMPLING));
    client.set_output(gpu_samples, plugin.frame);
    hxsdk::debug_printf("Input Render: %.2f ms\n", frame_timer.elapsed_milliseconds());

    const Stopwatch samples_timer;
    const A_long frame_time = in_data.current_time;
    for (std::uint32_t sample = 0; sample < blur.sample_count; ++sample) {
      // Every host read of this sample (camera, lights, parameters) sees its sub-frame time.
      in_data.current_time = sub_frame_time(frame_time, in_data.local_time_step, sample, blur);
      client.post_render_properties(read_camera(context, suites, plugin.frame));
      scene_parameters scene = build_scene(context, plugin, suites, state.sequence_data, client);
      std::vector<light_properties> lights = std::exchange(scene.lights, {});
      state.scene = std::move(scene);
      client.post_lights(lights);
      client.clear_target();
      client.post_draw(accumulation_weight(sample_counter));
      sample_counter += 1.0f;
    }
    in_data.current_time = frame_time;
    hxsdk::debug_printf("Render: %.2f ms\n", samples_timer.elapsed_milliseconds());

    client.read_output(state.scene.inverse_gamma);
    state.sequence_data = nullptr;
  }
  hxsdk::debug_printf("Full Render: %.2f ms\n", frame_timer.elapsed_milliseconds());
}
