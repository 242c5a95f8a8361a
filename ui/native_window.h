#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "ui/geometry.h"
#include "ui/native_drop_target.h"
#include "ui/non_copyable.h"

struct SDL_Window;
union SDL_Event;
struct SDL_WindowEvent;
struct SDL_KeyboardEvent;

namespace hxsdk::ui {

class window;
class widget;
class drawing_surface;

// Timer ids the toolkit keeps for itself; user timers may use any other id.
inline constexpr std::uint32_t kAnimationTimer = 0xFFFFFFFEu;
inline constexpr std::uint32_t kWindowTickTimer = 0xFFFFFFFFu;

// The SDL window behind a toolkit window (X11 video driver). It turns SDL's events into the
// toolkit's input in DIPs, owns the drawing surface, the timers and the region waiting to be
// painted, and shows what was painted. SDL's video and timer subsystems start with the first
// window and stay for the life of the process. Everything but the timers' own callbacks runs on
// the thread that created the window.
class native_window : non_copyable_non_moveable {
 public:
  // Creates the SDL window, hidden, with a client area of `client` DIPs scaled by the screen's
  // DPI, owned by `owner` (an SDL_Window*, may be null), and its drawing surface. Throws
  // hx_exception when SDL cannot start (no display) or cannot make the window.
  native_window(window& owner_window, void* owner, const std::string& title, const rect& client);
  ~native_window();

  SDL_Window* handle() const { return handle_; }
  void* owner() const { return owner_; }
  drawing_surface& surface() { return *surface_; }
  // Dots per inch of the screen the window was made on: whole numbers, 96 when unknown.
  float dpi_x() const { return dpi_x_; }
  float dpi_y() const { return dpi_y_; }
  int to_pixels_x(int dips) const;
  int to_pixels_y(int dips) const;
  int to_dips_x(int pixels) const;
  int to_dips_y(int pixels) const;

  // Shows, raises and focuses the window and paints it whole.
  void show();
  void hide();
  bool shown() const;
  // The client area becomes `width` x `height` DIPs: the SDL window, the drawing surface and
  // the root widget follow at once.
  void set_client_size(int width_dips, int height_dips);
  // Centres the window on its owner (on the screen without one), kept inside the usable area
  // of the owner's display.
  void center_on_owner();

  // Adds a rectangle (DIPs, client area) to the region painted at the next paint; with
  // paint_now the region is painted and shown at once.
  void invalidate(const rect& area, bool paint_now = false);
  // Paints the widget tree over the waiting region, shows it and empties the region. Does
  // nothing when no region waits or the window is minimised.
  void paint_pending();

  // User timers fire timer (15) on `target` with `user_id` every `milliseconds` (just once when
  // one_shot). Setting an existing (widget, id) pair again restarts it.
  void set_timer(widget& target, std::uint32_t user_id, std::uint32_t milliseconds, bool one_shot);
  void kill_timer(const widget& target, std::uint32_t user_id);
  void kill_timers_of(const widget& target);
  // Ticks the animation timer until no widget of the window is on its way to a target.
  void start_animation();
  // The window tick: timer (15) on the window with kWindowTickTimer every `milliseconds`; 0
  // stops it.
  void set_tick(std::uint32_t milliseconds);

  // The mouse position in DIPs relative to `relative_to`'s top-left corner.
  point cursor_position(const widget& relative_to) const;

  // The event loop's parts: waits until an event is queued; takes one event off the queue and
  // hands it to the toolkit window it is for (false when the queue was empty); paints every
  // toolkit window with a waiting region. Input for windows that are not the toolkit's is
  // dropped: those windows are disabled while a toolkit loop runs.
  static void wait_for_event();
  static bool dispatch_next();
  static void paint_all_pending();
  // Handles everything queued now, then paints.
  static void process_pending_events();

  // While one lives, events for windows that are not the toolkit's (other than input) are kept
  // aside and queued again when the last one goes, so the host sees them after a modal loop.
  class foreign_event_deferral : non_copyable_non_moveable {
   public:
    foreign_event_deferral();
    ~foreign_event_deferral();
  };

  // Disabling a window (an SDL_Window*) while a dialog it owns runs: it then ignores input. The
  // mark is kept on the SDL window itself under "hxsdk_disabled", where a host sharing the
  // process's SDL sees it too. A null handle is ignored.
  static void set_enabled(void* handle, bool enabled);
  static bool enabled(void* handle);
  // Raises and gives the keyboard focus to a window (an SDL_Window*); null is ignored.
  static void focus(void* handle);

 private:
  struct timer {
    int sdl_id = 0;
    widget* target = nullptr;
    std::uint32_t user_id = 0;
    bool one_shot = false;
  };

  void handle(const SDL_Event& event);
  void handle_window_event(const SDL_WindowEvent& event);
  void handle_key_down(const SDL_KeyboardEvent& event);
  void handle_text(const char* utf8);
  void handle_timer(std::uint32_t key);
  // The client area now measures `width` x `height` pixels.
  void take_pixel_size(int width, int height);
  void animate();
  int add_sdl_timer(std::uint32_t milliseconds, std::uint32_t key);
  template <class Predicate>
  void kill_timers_where(Predicate matches);
  void paint_tree(widget& w, point origin, const rect& update);
  void present(const rect& update);
  point to_dips(int x_pixels, int y_pixels) const;
  point mouse_in_client() const;
  rect client_rect() const;

  window& window_;
  SDL_Window* handle_ = nullptr;
  void* owner_ = nullptr;
  std::uint32_t id_ = 0;
  float dpi_x_ = 96.0f;
  float dpi_y_ = 96.0f;
  bool minimized_ = false;
  bool mouse_tracked_ = false;
  bool composing_ = false;
  std::optional<rect> update_;
  std::unique_ptr<drawing_surface> surface_;
  std::map<std::uint32_t, timer> timers_;
  std::uint32_t next_timer_key_ = 1;
  int animation_timer_ = 0;
  int tick_timer_ = 0;
  native_drop_target drop_target_;
};

// Sets the mouse cursor: 0 arrow, 1 cross, 2 size west-east, 3 size north-south, 4 and 7 size
// north-west-south-east, 5 I-beam, 6 hand, 8 size north-east-south-west. Other indices do
// nothing. The cursors are made once, with the first window.
void set_cursor(int index);
// The index last set (0 before any).
int current_cursor();
// Makes the nine cursors; called when SDL's video starts.
void load_cursors();

}  // namespace hxsdk::ui
