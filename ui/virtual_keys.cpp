#include "ui/virtual_keys.h"

#include <SDL2/SDL.h>

#include <array>
#include <utility>

namespace hxsdk::ui {
namespace {

// Keys whose code does not follow from a letter or digit, by their position on the keyboard.
constexpr std::array<std::pair<SDL_Scancode, int>, 47> kByScancode{{
    {SDL_SCANCODE_BACKSPACE, 8},
    {SDL_SCANCODE_TAB, 9},
    {SDL_SCANCODE_RETURN, 13},
    {SDL_SCANCODE_KP_ENTER, 13},
    {SDL_SCANCODE_LSHIFT, 16},
    {SDL_SCANCODE_RSHIFT, 16},
    {SDL_SCANCODE_LCTRL, 17},
    {SDL_SCANCODE_RCTRL, 17},
    {SDL_SCANCODE_LALT, 18},
    {SDL_SCANCODE_RALT, 18},
    {SDL_SCANCODE_PAUSE, 19},
    {SDL_SCANCODE_CAPSLOCK, 20},
    {SDL_SCANCODE_ESCAPE, 27},
    {SDL_SCANCODE_SPACE, 32},
    {SDL_SCANCODE_PAGEUP, 33},
    {SDL_SCANCODE_PAGEDOWN, 34},
    {SDL_SCANCODE_END, 35},
    {SDL_SCANCODE_HOME, 36},
    {SDL_SCANCODE_LEFT, 37},
    {SDL_SCANCODE_UP, 38},
    {SDL_SCANCODE_RIGHT, 39},
    {SDL_SCANCODE_DOWN, 40},
    {SDL_SCANCODE_PRINTSCREEN, 44},
    {SDL_SCANCODE_INSERT, 45},
    {SDL_SCANCODE_DELETE, 46},
    {SDL_SCANCODE_LGUI, 91},
    {SDL_SCANCODE_RGUI, 92},
    {SDL_SCANCODE_APPLICATION, 93},
    {SDL_SCANCODE_KP_MULTIPLY, 106},
    {SDL_SCANCODE_KP_PLUS, 107},
    {SDL_SCANCODE_KP_MINUS, 109},
    {SDL_SCANCODE_KP_PERIOD, 110},
    {SDL_SCANCODE_KP_DIVIDE, 111},
    {SDL_SCANCODE_NUMLOCKCLEAR, 144},
    {SDL_SCANCODE_SCROLLLOCK, 145},
    {SDL_SCANCODE_SEMICOLON, 186},
    {SDL_SCANCODE_EQUALS, 187},
    {SDL_SCANCODE_COMMA, 188},
    {SDL_SCANCODE_MINUS, 189},
    {SDL_SCANCODE_PERIOD, 190},
    {SDL_SCANCODE_SLASH, 191},
    {SDL_SCANCODE_GRAVE, 192},
    {SDL_SCANCODE_LEFTBRACKET, 219},
    {SDL_SCANCODE_BACKSLASH, 220},
    {SDL_SCANCODE_RIGHTBRACKET, 221},
    {SDL_SCANCODE_APOSTROPHE, 222},
    {SDL_SCANCODE_NONUSBACKSLASH, 226},
}};

constexpr int kFirstFunctionKey = 112;  // F1
constexpr int kFirstKeypadDigit = 96;   // keypad 0

}  // namespace

int virtual_key(const SDL_Keysym& key) {
  // Letters and digits follow the keyboard layout: the key that types an A is the A key.
  if (key.sym >= SDLK_a && key.sym <= SDLK_z) {
    return 'A' + (key.sym - SDLK_a);
  }
  if (key.sym >= SDLK_0 && key.sym <= SDLK_9) {
    return '0' + (key.sym - SDLK_0);
  }
  if (key.scancode >= SDL_SCANCODE_F1 && key.scancode <= SDL_SCANCODE_F12) {
    return kFirstFunctionKey + (key.scancode - SDL_SCANCODE_F1);
  }
  if (key.scancode >= SDL_SCANCODE_KP_1 && key.scancode <= SDL_SCANCODE_KP_9) {
    return kFirstKeypadDigit + 1 + (key.scancode - SDL_SCANCODE_KP_1);
  }
  if (key.scancode == SDL_SCANCODE_KP_0) {
    return kFirstKeypadDigit;
  }
  for (const auto& [scancode, code] : kByScancode) {
    if (scancode == key.scancode) {
      return code;
    }
  }
  return 0;
}

std::uint32_t key_data(const SDL_Keysym& key, bool repeat) {
  constexpr std::uint32_t kRepeatCount = 1;
  constexpr std::uint32_t kWasDown = 1u << 30;
  return kRepeatCount | (static_cast<std::uint32_t>(key.scancode & 0xFF) << 16) |
         (repeat ? kWasDown : 0u);
}

}  // namespace hxsdk::ui
