#include "scene/stopwatch.h"

#include "platform/high_resolution_clock.h"

double elapsed_milliseconds(std::int64_t ticks, std::int64_t frequency) {
  if (frequency <= 0) {
    return 0.0;
  }
  // ticks × 10^9 / frequency in two parts, so that the product cannot overflow.
  constexpr std::int64_t kNanosecondsPerSecond = 1'000'000'000;
  const std::int64_t nanoseconds = ticks / frequency * kNanosecondsPerSecond +
                                   ticks % frequency * kNanosecondsPerSecond / frequency;
  return static_cast<double>(nanoseconds / 1000) * 0.001;
}

Stopwatch::Stopwatch() : start_(hxsdk::high_resolution_counter()) {}

double Stopwatch::elapsed_milliseconds() const {
  return ::elapsed_milliseconds(hxsdk::high_resolution_counter() - start_,
                                hxsdk::high_resolution_frequency());
}
