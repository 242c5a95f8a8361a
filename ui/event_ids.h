#pragma once

#include <bit>
#include <cstdint>

namespace hxsdk::ui {

class event_object;

// Every event of the toolkit. The numbers are part of the toolkit's contract: handlers are
// keyed by them and the argument of each is described beside it.
enum class event : std::int32_t {
  mouse_up = 1,           // button: 0 left, 1 middle, 2 right
  mouse_down = 2,         // button
  double_click = 3,       // button
  wheel = 4,              // wheel delta x 0.5 as a double (event_info::argument_double)
  mouse_enter = 5,        //
  mouse_leave = 6,        //
  mouse_move = 7,         //
  key_down = 8,           // virtual-key code
  key_down_raw = 9,       // virtual-key code low, key data high
  key_up = 10,            // virtual-key code
  character = 11,         // one UTF-16 code unit
  paint = 12,             // 0
  resize = 13,            // width and height (pack_pair)
  move = 14,              // previous x and y (pack_pair)
  timer = 15,             // the user timer id
  close_request = 16,     //
  layout = 17,            //
  destroyed = 18,         //
  shown = 21,             //
  hidden = 22,            //
  parent_resized = 23,    // the parent's previous width and height (pack_pair)
  child_added = 25,       // the child (event_info::argument_pointer<widget>)
  child_removed = 26,     // the child
  parent_set = 27,        // the parent
  focus_in = 33,          // 1 when moved by Tab, else 0
  focus_out = 34,         // 1 when moved by Tab, else 0
  modal_begin = 35,       //
  modal_end = 36,         //
  toggled = 37,           // phase 0 before the state flips, phase 2 after
  activated = 38,         // the toggle state
  drop = 41,              // the dropped file names (argument_pointer<std::vector<std::string>>)
  text_input = 42,        // 0 started, 1 composition changed, 2 result ready
  style_changed = 43,     // the key (argument_pointer<std::string>)
  session_locked = 44,    //
  session_unlocked = 45,  //
};

// Phases of a fire: almost every event reports something done.
inline constexpr std::int32_t kPhaseBefore = 0;
inline constexpr std::int32_t kPhaseDone = 2;

// Virtual-key codes of the keys the toolkit and its dialogs react to.
inline constexpr int kKeyBackspace = 8;
inline constexpr int kKeyTab = 9;
inline constexpr int kKeyEnter = 13;
inline constexpr int kKeyShift = 16;
inline constexpr int kKeyControl = 17;
inline constexpr int kKeyAlt = 18;
inline constexpr int kKeyEscape = 27;
inline constexpr int kKeySpace = 32;

// The record every handler receives.
struct event_info {
  event_object* source = nullptr;
  event id = event::paint;
  std::int32_t phase = kPhaseDone;
  std::int32_t flag = 1;
  std::uint64_t argument = 0;

  double argument_double() const { return std::bit_cast<double>(argument); }
  template <class T>
  T* argument_pointer() const {
    return reinterpret_cast<T*>(static_cast<std::uintptr_t>(argument));
  }
};

inline std::uint64_t double_argument(double value) {
  return std::bit_cast<std::uint64_t>(value);
}
inline std::uint64_t pointer_argument(const void* pointer) {
  return reinterpret_cast<std::uintptr_t>(pointer);
}

}  // namespace hxsdk::ui
