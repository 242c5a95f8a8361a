#include "host/controls_window.h"

#include <SDL2/SDL.h>

#include <memory>

namespace lunaform::host {
namespace {

using CursorPointer = std::unique_ptr<SDL_Cursor, decltype(&SDL_FreeCursor)>;

// The system cursors standing for the effect API's cursors: the finger over links, the arrow
// for everything else.
class Cursors {
 public:
  void show(PF_CursorType cursor) const {
    SDL_Cursor* shown = cursor == PF_Cursor_FINGER_POINTER ? hand_.get() : arrow_.get();
    if (shown != nullptr) {
      SDL_SetCursor(shown);
    }
  }

 private:
  CursorPointer arrow_{SDL_CreateSystemCursor(SDL_SYSTEM_CURSOR_ARROW), SDL_FreeCursor};
  CursorPointer hand_{SDL_CreateSystemCursor(SDL_SYSTEM_CURSOR_HAND), SDL_FreeCursor};
};

// The window an event concerns; 0 for events of no window.
std::uint32_t window_of(const SDL_Event& event) {
  switch (event.type) {
    case SDL_WINDOWEVENT:
      return event.window.windowID;
    case SDL_KEYDOWN:
      return event.key.windowID;
    case SDL_MOUSEMOTION:
      return event.motion.windowID;
    case SDL_MOUSEBUTTONDOWN:
    case SDL_MOUSEBUTTONUP:
      return event.button.windowID;
    default:
      return 0;
  }
}

}  // namespace

PF_Err show_controls_window(MainWindow& window, ControlsPanel& panel) {
  PF_Err first_failure = PF_Err_NONE;
  const auto note = [&](PF_Err result) {
    if (first_failure == PF_Err_NONE) {
      first_failure = result;
    }
  };
  const auto redraw = [&] {
    note(panel.draw());
    window.present(panel.pixels(), panel.stride(), panel.layout().width, panel.layout().height);
  };
  const Cursors cursors;
  window.resize(panel.layout().width, panel.layout().height);
  window.show();
  redraw();

  SDL_Event event;
  while (SDL_WaitEvent(&event) != 0) {
    if (event.type == SDL_QUIT) {
      break;
    }
    if (window_of(event) != window.id()) {
      continue;
    }
    if (event.type == SDL_WINDOWEVENT && event.window.event == SDL_WINDOWEVENT_EXPOSED) {
      window.present(panel.pixels(), panel.stride(), panel.layout().width, panel.layout().height);
      continue;
    }
    if (window.input_disabled()) {
      continue;
    }
    switch (event.type) {
      case SDL_WINDOWEVENT:
        if (event.window.event == SDL_WINDOWEVENT_CLOSE) {
          return first_failure;
        }
        if (event.window.event == SDL_WINDOWEVENT_LEAVE && !panel.dragging()) {
          note(panel.pointer_left());
          cursors.show(panel.cursor());
          redraw();
        }
        break;
      case SDL_KEYDOWN:
        if (event.key.keysym.sym == SDLK_ESCAPE) {
          return first_failure;
        }
        break;
      case SDL_MOUSEMOTION: {
        const PF_Point point{event.motion.x, event.motion.y};
        note(panel.dragging() ? panel.drag(point, false) : panel.move_pointer(point));
        cursors.show(panel.cursor());
        redraw();
        break;
      }
      case SDL_MOUSEBUTTONDOWN:
        if (event.button.button == SDL_BUTTON_LEFT) {
          note(panel.press({event.button.x, event.button.y}));
          redraw();
        }
        break;
      case SDL_MOUSEBUTTONUP:
        if (event.button.button == SDL_BUTTON_LEFT) {
          note(panel.drag({event.button.x, event.button.y}, true));
          redraw();
        }
        break;
      default:
        break;
    }
  }
  return first_failure;
}

}  // namespace lunaform::host
