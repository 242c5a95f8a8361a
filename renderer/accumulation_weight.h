#pragma once

// Weight of the sample_counter-th time sample of a frame (counting from 1.0). Blending
// sample k as weight * sample + (1 - weight) * accumulation with weight 1/k keeps the
// accumulation at the plain mean of the samples so far.
inline float accumulation_weight(float sample_counter) {
  return 1.0f / sample_counter;
}
