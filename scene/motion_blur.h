#pragma once

#include <cstdint>

#include "A.h"
#include "AE_GeneralPlug.h"

// Choices of the "Motion Blur" popup.
inline constexpr std::int32_t kMotionBlurCompSettings = 1;
inline constexpr std::int32_t kMotionBlurOn = 2;
inline constexpr std::int32_t kMotionBlurOff = 3;

// How many time samples a frame is drawn at, and over which fraction of a frame they spread.
struct motion_blur_settings {
  std::uint32_t sample_count = 1;
  float shutter_fraction = 0.5f;
};

// What decides the motion blur of a frame: the host's switches and shutter, and the effect's
// own "Motion Blur", "Motion Blur Samples" and "Shutter Angle" (degrees) parameters.
struct motion_blur_inputs {
  AEGP_CompFlags composition_flags = 0;
  AEGP_LayerFlags layer_flags = 0;
  A_Ratio composition_shutter_angle{1, 2};  // a fraction of one frame, used as it comes
  std::int32_t motion_blur = kMotionBlurCompSettings;
  float samples = 0.0f;
  float shutter_angle = 0.0f;
};

// Several samples when "Motion Blur" is "On", or at "Comp Settings" when both the composition
// and the layer have motion blur switched on; the samples rounded to the nearest whole number.
// The shutter is the composition's unless "Motion Blur" is "On". Throws hx_exception for a
// value it would use that makes no sense (no denominator, not a number, beyond the range).
motion_blur_settings choose_motion_blur(const motion_blur_inputs& inputs);

// The host time of sample `sample` (from 0) of a frame at `frame_time`:
// frame_time + trunc(local_time_step * sample * S / N), in single precision, as the samples
// lie at the frame time and after it.
A_long sub_frame_time(A_long frame_time, A_long local_time_step, std::uint32_t sample,
                      const motion_blur_settings& settings);

// GPU samples per pixel for a "Multisampling" choice ("0|2|4|8|16"): 0 for the first, else
// 2^(choice - 1). Throws hx_exception for a choice the popup does not have.
unsigned int gpu_sample_count(std::int32_t multisampling_choice);
