#pragma once

#include <cstddef>
#include <string_view>

namespace crash {

// Text of at most Capacity characters built in place, without allocating: the fault handler
// composes paths and messages with it on its signal stack, where malloc may not be called.
// Text beyond the capacity is dropped and remembered as truncation; the text always stays
// NUL-terminated.
template <std::size_t Capacity>
class FixedText {
 public:
  FixedText& append(std::string_view text) {
    for (const char c : text) {
      push(c);
    }
    return *this;
  }

  // Appends `value` in decimal, zero-padded to at least `min_digits` digits after the sign
  // (as printf's "%0*ld" pads a positive value).
  FixedText& append_decimal(long long value, int min_digits = 1) {
    // Counted as a negative number, whose range includes that of every positive one.
    const bool negative = value < 0;
    long long rest = negative ? value : -value;
    char digits[24];
    int count = 0;
    do {
      digits[count++] = static_cast<char>('0' - rest % 10);
      rest /= 10;
    } while (rest != 0);
    if (negative) {
      push('-');
    }
    for (int pad = count; pad < min_digits; ++pad) {
      push('0');
    }
    while (count > 0) {
      push(digits[--count]);
    }
    return *this;
  }

  std::string_view view() const { return {text_, length_}; }
  const char* c_str() const { return text_; }
  bool truncated() const { return truncated_; }

 private:
  void push(char c) {
    if (length_ == Capacity) {
      truncated_ = true;
      return;
    }
    text_[length_++] = c;
    text_[length_] = '\0';
  }

  char text_[Capacity + 1] = {};
  std::size_t length_ = 0;
  bool truncated_ = false;
};

}  // namespace crash
