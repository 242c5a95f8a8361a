#pragma once

namespace hxsdk::ui {

// Toolkit objects are registered by address with the event dispatcher and with each other, so
// none of them may be copied or moved.
class non_copyable_non_moveable {
 protected:
  non_copyable_non_moveable() = default;
  ~non_copyable_non_moveable() = default;

 public:
  non_copyable_non_moveable(const non_copyable_non_moveable&) = delete;
  non_copyable_non_moveable& operator=(const non_copyable_non_moveable&) = delete;
};

}  // namespace hxsdk::ui
