#pragma once

#include <cstdint>
#include <string>

// The effect's identity as the host, the user and the PiPL record see it. Every place
// that prints or declares the name or version reads it from here, so they cannot drift.
namespace product {

inline constexpr char kName[] = "Lunaform";
inline constexpr char kCategory[] = "Brightmoor";
// The key under which host projects store the effect; changing it orphans saved projects.
inline constexpr char kMatchName[] = "BRIGHTMOOR Sphere";

inline constexpr std::uint32_t kVersionMajor = 1;
inline constexpr std::uint32_t kVersionMinor = 0;
inline constexpr std::uint32_t kVersionPatch = 2;
inline constexpr std::uint32_t kBuild = 66;

// Where crash reports are sent; named in the message that points the user at a crash dump.
// A placeholder until the product owner supplies the real address.
inline constexpr char kSupportAddress[] = "support@brightmoor.invalid";

// The maker's web host, where the product page lives. A placeholder until the product owner
// supplies the real one.
inline constexpr char kWebHost[] = "www.brightmoor.invalid";

// "1.0.2": major, minor and patch joined by dots.
inline std::string version_text() {
  return std::to_string(kVersionMajor) + "." + std::to_string(kVersionMinor) + "." +
         std::to_string(kVersionPatch);
}

// "Lunaform v1.0.2 (66)": how the About box names the effect.
inline std::string name_and_version() {
  return std::string(kName) + " v" + version_text() + " (" + std::to_string(kBuild) + ")";
}

// The product page, told which version asks: "http://HOST/lunaform/?v=1.0.2.66".
inline std::string page_address() {
  return std::string("http://") + kWebHost + "/lunaform/?v=" + version_text() + "." +
         std::to_string(kBuild);
}

}  // namespace product
