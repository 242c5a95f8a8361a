#include "scene/motion_blur.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "plugin/hx_exception.h"

namespace {

constexpr AEGP_CompFlags kCompBlur = AEGP_CompFlag_ENABLE_MOTION_BLUR;
constexpr AEGP_LayerFlags kLayerBlur = AEGP_LayerFlag_MOTION_BLUR;

TEST(SceneMotionBlur, PopupAndHostSwitchesDecideTheSamplesAndTheShutter) {
  struct Case {
    std::string name;
    std::int32_t popup;
    AEGP_CompFlags comp_flags;
    AEGP_LayerFlags layer_flags;
    std::uint32_t samples;
    float shutter;
  };
  // Composition shutter 1/4 of a frame; the effect's own: 6.4 samples over 270°.
  const std::vector<Case> cases = {
      {"comp settings, both on", kMotionBlurCompSettings, kCompBlur | 0x1, kLayerBlur | 0x1, 6,
       0.25f},
      {"comp settings, layer off", kMotionBlurCompSettings, kCompBlur, 0x1, 1, 0.5f},
      {"comp settings, comp off", kMotionBlurCompSettings, 0x10, kLayerBlur, 1, 0.5f},
      {"on, switches off", kMotionBlurOn, 0, 0, 6, 0.75f},
      {"on, switches on", kMotionBlurOn, kCompBlur, kLayerBlur, 6, 0.75f},
      {"off, switches on", kMotionBlurOff, kCompBlur, kLayerBlur, 1, 0.5f},
  };
  for (const Case& c : cases) {
    motion_blur_inputs inputs;
    inputs.composition_flags = c.comp_flags;
    inputs.layer_flags = c.layer_flags;
    inputs.composition_shutter_angle = {1, 4};
    inputs.motion_blur = c.popup;
    inputs.samples = 6.4f;
    inputs.shutter_angle = 270.0f;
    const motion_blur_settings settings = choose_motion_blur(inputs);
    EXPECT_EQ(settings.sample_count, c.samples) << c.name;
    EXPECT_FLOAT_EQ(settings.shutter_fraction, c.shutter) << c.name;
  }
}

TEST(SceneMotionBlur, SamplesRoundToTheNearestWholeNumber) {
  for (const auto& [slider, expected] : std::vector<std::pair<float, std::uint32_t>>{
           {3.0f, 3}, {5.49f, 5}, {5.5f, 6}, {6.0f, 6}, {199.6f, 200}}) {
    motion_blur_inputs inputs;
    inputs.motion_blur = kMotionBlurOn;
    inputs.samples = slider;
    inputs.shutter_angle = 180.0f;
    EXPECT_EQ(choose_motion_blur(inputs).sample_count, expected) << slider;
  }
}

TEST(SceneMotionBlur, UnusableValuesAreRefusedOnlyWhereTheyWouldBeUsed) {
  const float nan = std::numeric_limits<float>::quiet_NaN();
  motion_blur_inputs no_denominator;
  no_denominator.composition_flags = kCompBlur;
  no_denominator.layer_flags = kLayerBlur;
  no_denominator.composition_shutter_angle = {1, 0};
  no_denominator.samples = 6.0f;
  EXPECT_THROW(choose_motion_blur(no_denominator), hx_exception);
  no_denominator.motion_blur = kMotionBlurOff;
  EXPECT_EQ(choose_motion_blur(no_denominator).sample_count, 1u);

  motion_blur_inputs on;
  on.motion_blur = kMotionBlurOn;
  on.samples = nan;
  on.shutter_angle = 180.0f;
  EXPECT_THROW(choose_motion_blur(on), hx_exception);
  on.samples = 100000.0f;
  EXPECT_THROW(choose_motion_blur(on), hx_exception);
  on.samples = 6.0f;
  on.shutter_angle = nan;
  EXPECT_THROW(choose_motion_blur(on), hx_exception);
  try {
    on.shutter_angle = std::numeric_limits<float>::infinity();
    choose_motion_blur(on);
    FAIL() << "an infinite shutter angle was accepted";
  } catch (const hx_exception& error) {
    EXPECT_NE(std::string(error.what()).find("\"Shutter Angle\""), std::string::npos)
        << error.what();
  }
}

TEST(SceneMotionBlur, SixSamplesOverHalfAFrameLieATwelfthOfAFrameApart) {
  // 120 ticks per frame: a twelfth of a frame is 10 ticks.
  const motion_blur_settings settings{6, 0.5f};
  for (std::uint32_t sample = 0; sample < 6; ++sample) {
    EXPECT_EQ(sub_frame_time(2400, 120, sample, settings), 2400 + 10 * static_cast<A_long>(sample))
        << "sample " << sample;
  }
  // Negative frame times move forward just the same.
  EXPECT_EQ(sub_frame_time(-240, 120, 5, settings), -190);
}

TEST(SceneMotionBlur, OffsetsBelowOneTimeUnitRepeatTheFrameTime) {
  // One tick per frame: every offset of less than a frame truncates to the frame itself.
  const motion_blur_settings settings{6, 0.5f};
  for (std::uint32_t sample = 0; sample < 6; ++sample) {
    EXPECT_EQ(sub_frame_time(90, 1, sample, settings), 90) << "sample " << sample;
  }
  // Far beyond the clock's range the time stops at its end rather than wrapping.
  EXPECT_EQ(sub_frame_time(std::numeric_limits<A_long>::max() - 5, 120, 5, settings),
            std::numeric_limits<A_long>::max());
}

TEST(SceneMotionBlur, MultisamplingChoicesGiveZeroOrPowersOfTwo) {
  const std::vector<std::pair<std::int32_t, unsigned int>> choices = {
      {1, 0}, {2, 2}, {3, 4}, {4, 8}, {5, 16}};
  for (const auto& [choice, samples] : choices) {
    EXPECT_EQ(gpu_sample_count(choice), samples) << "choice " << choice;
  }
  for (const std::int32_t missing : {0, -1, 6, 40}) {
    EXPECT_THROW(gpu_sample_count(missing), hx_exception) << "choice " << missing;
  }
}

}  // namespace
