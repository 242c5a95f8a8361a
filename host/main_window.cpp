#include "host/main_window.h"

#include <algorithm>
#include <cstdlib>

#include "host/host_error.h"

namespace lunaform::host {
namespace {

// SDL's video subsystem, started once per process. The module's own windows share it: both
// sides use the same SDL library, and SDL counts the starts.
void start_video() {
  SDL_SetHint(SDL_HINT_VIDEODRIVER, "x11");
  // The renderer's users stop it with Ctrl+C or a scheduler's SIGTERM; SDL must not take those.
  SDL_SetHint(SDL_HINT_NO_SIGNAL_HANDLERS, "1");
  SDL_SetHint(SDL_HINT_VIDEO_ALLOW_SCREENSAVER, "1");
  // SDL drops a click that comes within a few milliseconds of the window gaining focus; on a
  // busy machine the focus and the click arrive together, and the click on the panel is lost.
  SDL_SetHint(SDL_HINT_MOUSE_FOCUS_CLICKTHROUGH, "1");
  // Pixels go to the window through X's own images. An accelerated framebuffer would make the
  // window again as an OpenGL one at its first paint, where it was first placed.
  SDL_SetHint(SDL_HINT_FRAMEBUFFER_ACCELERATION, "0");
  if (SDL_InitSubSystem(SDL_INIT_VIDEO) != 0) {
    throw HostError(std::string("cannot open a window on the display: ") + SDL_GetError());
  }
}

}  // namespace

bool MainWindow::display_available() {
  const char* display = std::getenv("DISPLAY");
  return display != nullptr && *display != '\0';
}

MainWindow::MainWindow(const std::string& title, int width, int height) {
  start_video();
  window_ = SDL_CreateWindow(title.c_str(), SDL_WINDOWPOS_CENTERED, SDL_WINDOWPOS_CENTERED,
                             std::max(width, 1), std::max(height, 1), SDL_WINDOW_HIDDEN);
  if (window_ == nullptr) {
    const std::string reason = SDL_GetError();
    SDL_QuitSubSystem(SDL_INIT_VIDEO);
    throw HostError("cannot open a window on the display: " + reason);
  }
}

MainWindow::~MainWindow() {
  SDL_DestroyWindow(window_);
  SDL_QuitSubSystem(SDL_INIT_VIDEO);
}

void MainWindow::show() {
  SDL_SetWindowPosition(window_, SDL_WINDOWPOS_CENTERED, SDL_WINDOWPOS_CENTERED);
  SDL_ShowWindow(window_);
  SDL_RaiseWindow(window_);
}

void MainWindow::resize(int width, int height) {
  SDL_SetWindowSize(window_, std::max(width, 1), std::max(height, 1));
}

bool MainWindow::input_disabled() const {
  return SDL_GetWindowData(window_, "hxsdk_disabled") != nullptr;
}

void MainWindow::present(const std::uint8_t* pixels, int stride, int width, int height) {
  SDL_Surface* target = SDL_GetWindowSurface(window_);
  if (target == nullptr) {
    return;
  }
  const int columns = std::min(width, target->w);
  const int rows = std::min(height, target->h);
  SDL_ConvertPixels(columns, rows, SDL_PIXELFORMAT_ARGB8888, pixels, stride, target->format->format,
                    target->pixels, target->pitch);
  SDL_UpdateWindowSurface(window_);
}

}  // namespace lunaform::host
