#include <SDL2/SDL.h>

#include <array>

#include "ui/native_window.h"

namespace hxsdk::ui {
namespace {

// The toolkit's nine cursors by index; 4 and 7 are the same diagonal.
constexpr std::array<SDL_SystemCursor, 9> kSystemCursors{
    SDL_SYSTEM_CURSOR_ARROW,  SDL_SYSTEM_CURSOR_CROSSHAIR, SDL_SYSTEM_CURSOR_SIZEWE,
    SDL_SYSTEM_CURSOR_SIZENS, SDL_SYSTEM_CURSOR_SIZENWSE,  SDL_SYSTEM_CURSOR_IBEAM,
    SDL_SYSTEM_CURSOR_HAND,   SDL_SYSTEM_CURSOR_SIZENWSE,  SDL_SYSTEM_CURSOR_SIZENESW,
};

std::array<SDL_Cursor*, kSystemCursors.size()> cursors{};
int current = 0;

}  // namespace

void load_cursors() {
  for (std::size_t i = 0; i < kSystemCursors.size(); ++i) {
    if (cursors[i] == nullptr) {
      cursors[i] = SDL_CreateSystemCursor(kSystemCursors[i]);
    }
  }
}

void set_cursor(int index) {
  if (index < 0 || index >= static_cast<int>(cursors.size()) || cursors[index] == nullptr) {
    return;
  }
  SDL_SetCursor(cursors[index]);
  current = index;
}

int current_cursor() {
  return current;
}

}  // namespace hxsdk::ui
