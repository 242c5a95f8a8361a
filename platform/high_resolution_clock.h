#pragma once

#include <cstdint>

namespace hxsdk {

// A monotonic counter for timing work, read as ticks of high_resolution_frequency() per
// second. Never goes backwards; its zero point is arbitrary. Safe to call from any thread.
std::int64_t high_resolution_counter();
std::int64_t high_resolution_frequency();

}  // namespace hxsdk
