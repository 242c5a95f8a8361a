#include "scene/motion_blur.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>

#include "plugin/hx_exception.h"

namespace {

constexpr float kMaxSamples = 200.0f;
constexpr std::int32_t kMultisamplingChoices = 5;

bool host_motion_blur_on(const motion_blur_inputs& inputs) {
  return (inputs.composition_flags & AEGP_CompFlag_ENABLE_MOTION_BLUR) != 0 &&
         (inputs.layer_flags & AEGP_LayerFlag_MOTION_BLUR) != 0;
}

std::uint32_t rounded_sample_count(float samples) {
  const float rounded = std::trunc(samples + 0.5f);
  if (!(rounded >= 1.0f && rounded <= kMaxSamples)) {
    throw hx_exception("\"Motion Blur Samples\" is " + std::to_string(samples) +
                       "; it must lie between 1 and " + std::to_string(kMaxSamples) + ".");
  }
  return static_cast<std::uint32_t>(rounded);
}

float composition_shutter_fraction(const A_Ratio& angle) {
  if (angle.den == 0) {
    throw hx_exception("The host sent a composition shutter angle of " + std::to_string(angle.num) +
                       "/0.");
  }
  return static_cast<float>(angle.num) / static_cast<float>(angle.den);
}

float parameter_shutter_fraction(float degrees) {
  if (!std::isfinite(degrees)) {
    throw hx_exception("\"Shutter Angle\" is " + std::to_string(degrees) +
                       "; it must be a number.");
  }
  return degrees / 360.0f;
}

}  // namespace

motion_blur_settings choose_motion_blur(const motion_blur_inputs& inputs) {
  motion_blur_settings settings;
  const bool on = inputs.motion_blur == kMotionBlurOn ||
                  (inputs.motion_blur == kMotionBlurCompSettings && host_motion_blur_on(inputs));
  if (!on) {
    return settings;
  }
  settings.sample_count = rounded_sample_count(inputs.samples);
  settings.shutter_fraction = inputs.motion_blur == kMotionBlurOn
                                  ? parameter_shutter_fraction(inputs.shutter_angle)
                                  : composition_shutter_fraction(inputs.composition_shutter_angle);
  return settings;
}

A_long sub_frame_time(A_long frame_time, A_long local_time_step, std::uint32_t sample,
                      const motion_blur_settings& settings) {
  const float offset = static_cast<float>(sample) * settings.shutter_fraction /
                       static_cast<float>(settings.sample_count);
  const double time = static_cast<double>(frame_time) +
                      static_cast<double>(std::trunc(static_cast<float>(local_time_step) * offset));
  return static_cast<A_long>(std::clamp(time, double{std::numeric_limits<A_long>::min()},
                                        double{std::numeric_limits<A_long>::max()}));
}

unsigned int gpu_sample_count(std::int32_t multisampling_choice) {
  if (multisampling_choice < 1 || multisampling_choice > kMultisamplingChoices) {
    throw hx_exception("\"Multisampling\" has no choice " + std::to_string(multisampling_choice) +
                       ".");
  }
  return multisampling_choice == 1 ? 0u : 1u << (multisampling_choice - 1);
}
