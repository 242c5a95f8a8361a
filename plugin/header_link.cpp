#include "plugin/header_link.h"

namespace {

constexpr A_long kLinkLeft = 150;
constexpr A_long kLinkTop = 20;
constexpr A_long kLinkWidth = 130;
constexpr A_long kLinkHeight = 44;

}  // namespace

bool header_link_hit(const PF_Point& point, const PF_Rect& frame) {
  // 64-bit differences: a host's coordinates may sit anywhere in the 32-bit range.
  const long long x = static_cast<long long>(point.h) - frame.left;
  const long long y = static_cast<long long>(point.v) - frame.top;
  return x >= kLinkLeft && x <= kLinkLeft + kLinkWidth && y >= kLinkTop &&
         y <= kLinkTop + kLinkHeight;
}
