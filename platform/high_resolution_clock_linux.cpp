#include "platform/high_resolution_clock.h"

#include <chrono>

namespace hxsdk {

std::int64_t high_resolution_counter() {
  return std::chrono::duration_cast<std::chrono::nanoseconds>(
             std::chrono::steady_clock::now().time_since_epoch())
      .count();
}

std::int64_t high_resolution_frequency() {
  return 1'000'000'000;
}

}  // namespace hxsdk
