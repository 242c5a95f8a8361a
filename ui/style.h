#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <variant>
#include <vector>

#include "ui/geometry.h"

namespace hxsdk::ui {

// A PNG embedded in the module: its bytes, how many frames are stacked vertically in it and
// how many pixels make one DIP. An image with no data has a null pointer and size 0.
struct image_source {
  const unsigned char* data = nullptr;
  std::size_t size = 0;
  int frames = 1;
  float scale = 1.0f;

  bool has_data() const { return data != nullptr && size != 0; }
};

// Two ints: a horizontal and a vertical margin.
struct margins {
  int horizontal = 0;
  int vertical = 0;
};

// One style value. Alignment, weight and style codes are ints; sizes and widths are floats.
using style_value = std::variant<color, float, int, bool, margins, std::string, image_source>;

// Keys to values: a widget's (or window's) own overrides, or the process-wide defaults.
class style_map {
 public:
  void set(std::string key, style_value value) { values_[std::move(key)] = std::move(value); }
  const style_value* find(std::string_view key) const;
  // Copies every value of `other` over this map's.
  void assign_from(const style_map& other) { values_ = other.values_; }

 private:
  struct text_hash {
    using is_transparent = void;
    std::size_t operator()(std::string_view text) const {
      return std::hash<std::string_view>{}(text);
    }
  };
  std::unordered_map<std::string, style_value, text_hash, std::equal_to<>> values_;
};

// The default of every key the toolkit knows, built once before the first window.
const style_map& default_styles();

// The keys of the default table, in the order in which it is built.
const std::vector<std::string_view>& default_style_keys();

// Looks `key` up in `own` first, then in the defaults. A key that is missing, or holds a value of
// another kind than T, gives T's zero value (an empty string, no image).
template <class T>
T lookup_style(const style_map& own, std::string_view key) {
  for (const style_map* map : {&own, &default_styles()}) {
    if (const style_value* value = map->find(key)) {
      if (const T* typed = std::get_if<T>(value)) {
        return *typed;
      }
      return T{};
    }
  }
  return T{};
}

}  // namespace hxsdk::ui
