#include "renderer/gl_vendor.h"

#include <algorithm>
#include <cctype>

bool mentions(std::string_view text, std::string_view name) {
  const auto same = [](char a, char b) {
    return std::tolower(static_cast<unsigned char>(a)) ==
           std::tolower(static_cast<unsigned char>(b));
  };
  return std::search(text.begin(), text.end(), name.begin(), name.end(), same) != text.end();
}

namespace {

// "ati" is matched anywhere, so it also finds the letters inside words such as
// "Corporation": a loose test that prefers a working device to a strict match.
bool mentions_amd(std::string_view text) {
  return mentions(text, "ati") || mentions(text, "amd") || mentions(text, "advanced micro devices");
}

}  // namespace

GlVendorClass gl_vendor_class(const char* vendor) {
  if (vendor == nullptr) {
    return GlVendorClass::kUnknown;
  }
  if (mentions(vendor, "nvidia")) {
    return GlVendorClass::kNvidia;
  }
  if (mentions(vendor, "intel")) {
    return GlVendorClass::kIntel;
  }
  if (mentions_amd(vendor)) {
    return GlVendorClass::kAmd;
  }
  return GlVendorClass::kUnknown;
}

bool matches_vendor_class(std::string_view text, GlVendorClass vendor_class) {
  switch (vendor_class) {
    case GlVendorClass::kNvidia:
      return mentions(text, "nvidia");
    case GlVendorClass::kIntel:
      return mentions(text, "intel");
    case GlVendorClass::kAmd:
      return mentions_amd(text);
    case GlVendorClass::kUnknown:
      break;
  }
  return true;
}
