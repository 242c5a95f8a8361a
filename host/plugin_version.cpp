#include "host/plugin_version.h"

namespace lunaform::host {
namespace {

uint32_t bits(uint32_t packed, unsigned shift, uint32_t mask) {
  return (packed >> shift) & mask;
}

}  // namespace

PluginVersion unpack_plugin_version(uint32_t packed) {
  PluginVersion version;
  version.build = bits(packed, 0, 0x1ff);
  version.stage = bits(packed, 9, 0x3);
  version.bugfix = bits(packed, 11, 0xf);
  version.minor = bits(packed, 15, 0xf);
  version.major = bits(packed, 19, 0x7) | (bits(packed, 26, 0xf) << 3);
  return version;
}

std::string describe_plugin_version(const PluginVersion& version) {
  static constexpr const char* kStages[] = {"develop", "alpha", "beta", "release"};
  return std::to_string(version.major) + "." + std::to_string(version.minor) + "." +
         std::to_string(version.bugfix) + " " + kStages[version.stage] + " build " +
         std::to_string(version.build);
}

}  // namespace lunaform::host
