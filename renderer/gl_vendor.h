#pragma once

#include <string_view>

// Whose GPU a GL context runs on, as far as the OpenCL device choice cares.
enum class GlVendorClass { kUnknown, kNvidia, kIntel, kAmd };

// Whether text contains name anywhere, compared case-insensitively.
bool mentions(std::string_view text, std::string_view name);

// From the GL_VENDOR string; null gives kUnknown.
GlVendorClass gl_vendor_class(const char* vendor);

// Whether a platform's vendor or name string belongs to that class. Unknown matches
// everything.
bool matches_vendor_class(std::string_view text, GlVendorClass vendor_class);
