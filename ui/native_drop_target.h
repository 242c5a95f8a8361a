#pragma once

#include <string>
#include <vector>

#include "ui/geometry.h"

namespace hxsdk::ui {

class window;

// Files dropped on a toolkit window: SDL reports a drop as a begin, one event per file and a
// completion. At completion the files go, as one drop event (41), to the widget under the
// pointer, and only when that widget handles drops; anywhere else the drop is refused.
class native_drop_target {
 public:
  explicit native_drop_target(window& served) : window_(served) {}

  void begin() { files_.clear(); }
  void add(const char* file) { files_.emplace_back(file); }
  // `at` is the pointer in DIPs of the client area when the files were let go.
  void complete(point at);

 private:
  window& window_;
  std::vector<std::string> files_;
};

}  // namespace hxsdk::ui
