#pragma once

#include <SDL2/SDL.h>

#include <cstdint>
#include <string>

namespace lunaform::host {

// The host's main window on the display: what get_platform_data(PF_PlatData_MAIN_WND) hands the
// module, so its dialogs have an owner, and where the effect-controls panel is shown. Only made
// when a display is there (SDL2, X11 driver). Used on the thread that made it.
class MainWindow {
 public:
  // Whether a display is named (DISPLAY is set and not empty). Without one the host opens no
  // window at all and nothing waits for a user.
  static bool display_available();

  // Opens a window of `width` x `height` pixels titled `title`, hidden until show(). Throws
  // HostError with one line when no window can be opened on the display.
  MainWindow(const std::string& title, int width, int height);
  ~MainWindow();
  MainWindow(const MainWindow&) = delete;
  MainWindow& operator=(const MainWindow&) = delete;

  // The SDL_Window*, as the module receives it; owned by this object.
  void* native_handle() const { return window_; }
  std::uint32_t id() const { return SDL_GetWindowID(window_); }
  // Shows the window centred on the screen.
  void show();
  void resize(int width, int height);
  // Whether the window must ignore input: the module's toolkit marks it so (window data
  // "hxsdk_disabled") while one of its dialogs runs modally over it.
  bool input_disabled() const;
  // Shows premultiplied 32-bit pixels (B, G, R, A in memory, cairo's ARGB32) in the window,
  // from its top-left corner; what does not fit is cut off.
  void present(const std::uint8_t* pixels, int stride, int width, int height);

 private:
  SDL_Window* window_ = nullptr;
};

}  // namespace lunaform::host
