#include "renderer/accumulation_weight.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace {

TEST(AccumulationWeight, SamplesOneTwoAndThreeWeighOneAHalfAndAThird) {
  EXPECT_EQ(accumulation_weight(1.0f), 1.0f);
  EXPECT_EQ(accumulation_weight(2.0f), 0.5f);
  EXPECT_FLOAT_EQ(accumulation_weight(3.0f), 1.0f / 3.0f);
}

// The GPU blends each sample as accumulation = w * sample + (1 - w) * accumulation; with the
// counter running 1.0, 2.0, ... the result must be the plain mean of the samples.
TEST(AccumulationWeight, RunningBlendEndsAtTheMeanOfTheSamples) {
  std::mt19937 random(17);
  std::uniform_real_distribution<float> value(0.0f, 1.0f);
  for (int count : {1, 2, 3, 6, 200}) {
    std::vector<float> samples(count);
    for (float& sample : samples) {
      sample = value(random);
    }
    float accumulation = 123.0f;  // whatever the texture held before the frame
    float sample_counter = 1.0f;
    for (float sample : samples) {
      const float weight = accumulation_weight(sample_counter);
      accumulation = weight * sample + (1.0f - weight) * accumulation;
      sample_counter += 1.0f;
    }
    double sum = 0.0;
    for (float sample : samples) {
      sum += sample;
    }
    EXPECT_NEAR(accumulation, sum / count, 5e-5) << count << " samples";
  }
}

}  // namespace
