#include "ui/style.h"

namespace hxsdk::ui {

const style_value* style_map::find(std::string_view key) const {
  const auto found = values_.find(key);
  return found == values_.end() ? nullptr : &found->second;
}

}  // namespace hxsdk::ui
