#include "scene/stopwatch.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <thread>

namespace {

TEST(SceneStopwatch, ElapsedTimeIsWholeMicrosecondsInMilliseconds) {
  struct Case {
    std::int64_t ticks;
    std::int64_t frequency;
    double milliseconds;
  };
  for (const Case& c : {
           Case{1'234'567, 1'000'000'000, 1.234},   // 1234.567 µs -> 1234 µs
           Case{999, 1'000'000'000, 0.0},           // under a microsecond
           Case{12'345'678, 10'000'000, 1234.567},  // a 10 MHz counter: 1.2345678 s
           Case{3, 3, 1000.0},                      // exactly one second
           Case{9'000'000'000'000'000'000, 1'000'000'000, 9'000'000'000'000.0},  // no overflow
           Case{5, 0, 0.0},
       }) {
    EXPECT_DOUBLE_EQ(elapsed_milliseconds(c.ticks, c.frequency), c.milliseconds)
        << c.ticks << " ticks at " << c.frequency << " Hz";
  }
}

TEST(SceneStopwatch, MeasuresTheTimeSinceItWasMade) {
  const Stopwatch stopwatch;
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
  const double elapsed = stopwatch.elapsed_milliseconds();
  EXPECT_GE(elapsed, 20.0);
  EXPECT_LT(elapsed, 5000.0);
}

}  // namespace
