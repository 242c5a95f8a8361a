#pragma once

#include <cstdint>
#include <string>

namespace lunaform::host {

// An effect version as the host packs it into 32 bits (the PiPL's "eVER" and the out-data's
// my_version): build in bits 0-8, stage in bits 9-10, bug-fix in 11-14, minor in 15-18, and the
// major version split into its low three bits (19-21) and its high four bits (26-29).
struct PluginVersion {
  uint32_t major = 0;
  uint32_t minor = 0;
  uint32_t bugfix = 0;
  uint32_t stage = 0;  // 0 develop, 1 alpha, 2 beta, 3 release
  uint32_t build = 0;
};

// Splits a packed version into its fields. Pure function.
PluginVersion unpack_plugin_version(uint32_t packed);

// "1.0.0 develop build 66". Pure function.
std::string describe_plugin_version(const PluginVersion& version);

}  // namespace lunaform::host
