#include "plugin/result_rect.h"

#include <algorithm>

namespace {

bool is_empty(const PF_LRect& rect) {
  return rect.left >= rect.right || rect.top >= rect.bottom;
}

}  // namespace

void merge_result_rect(PF_LRect& result, const PF_LRect& produced) {
  if (is_empty(result)) {
    result = produced;
  } else if (!is_empty(produced)) {
    result.left = std::min(result.left, produced.left);
    result.top = std::min(result.top, produced.top);
    result.right = std::max(result.right, produced.right);
    result.bottom = std::max(result.bottom, produced.bottom);
  }
}
