#pragma once

#include <cstdint>

// Milliseconds in `ticks` of a counter running at `frequency` ticks per second, as the timing
// lines report them: whole microseconds (truncated) times 0.001. Exact for any tick count a
// 64-bit counter can hold; 0 for a non-positive frequency.
double elapsed_milliseconds(std::int64_t ticks, std::int64_t frequency);

// Measures the time since it was made on the high-resolution clock.
class Stopwatch {
 public:
  Stopwatch();
  double elapsed_milliseconds() const;

 private:
  std::int64_t start_;
};
