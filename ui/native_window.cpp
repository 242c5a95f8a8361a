#include "ui/native_window.h"

#include <SDL2/SDL.h>
#include <glib.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <utility>
#include <vector>

#include "plugin/hx_exception.h"
#include "ui/drawing_surface.h"
#include "ui/event_ids.h"
#include "ui/virtual_keys.h"
#include "ui/widget.h"
#include "ui/window.h"
#include "ui/x_errors.h"

namespace hxsdk::ui {
namespace {

// Names under which SDL windows carry the toolkit's marks.
constexpr char kNativeWindowKey[] = "hxsdk_native_window";
constexpr char kDisabledKey[] = "hxsdk_disabled";

constexpr float kReferenceDpi = 96.0f;
constexpr std::uint32_t kAnimationMilliseconds = 15;
// A notch of the wheel counts 120, as on the platform the toolkit grew up on; handlers receive
// half of that.
constexpr double kWheelArgumentPerNotch = 60.0;

static_assert(sizeof(void*) >= sizeof(std::uint64_t), "a timer's window and key share a pointer");

std::vector<native_window*>& all_windows() {
  static std::vector<native_window*> windows;
  return windows;
}

// Events kept aside while a modal loop runs, and how many loops are running.
std::vector<SDL_Event>& deferred_events() {
  static std::vector<SDL_Event> events;
  return events;
}
int deferral_depth = 0;

// The toolkit's own event types: a timer that expired on SDL's timer thread, and a control
// character (Tab, Enter, Escape, Backspace) that follows its key down, as a separate event so
// that a loop ended by the key down leaves it unhandled.
std::uint32_t first_own_event_type() {
  static const std::uint32_t first = SDL_RegisterEvents(2);
  return first;
}
std::uint32_t timer_event_type() {
  return first_own_event_type();
}
std::uint32_t character_event_type() {
  return first_own_event_type() + 1;
}

void start_sdl() {
  static const bool started = [] {
    SDL_SetHint(SDL_HINT_VIDEODRIVER, "x11");
    // The process belongs to a host or a renderer, which handle Ctrl+C and SIGTERM themselves.
    SDL_SetHint(SDL_HINT_NO_SIGNAL_HANDLERS, "1");
    SDL_SetHint(SDL_HINT_VIDEO_ALLOW_SCREENSAVER, "1");
    // A click that activates a dialog also reaches the control under it.
    SDL_SetHint(SDL_HINT_MOUSE_FOCUS_CLICKTHROUGH, "1");
    // Pixels go to the window through X's own images. An accelerated framebuffer would make the
    // window again as an OpenGL one at its first paint, where it was first created, undoing
    // any move made since.
    SDL_SetHint(SDL_HINT_FRAMEBUFFER_ACCELERATION, "0");
    if (SDL_InitSubSystem(SDL_INIT_VIDEO | SDL_INIT_TIMER) != 0) {
      throw hx_exception(std::string("unable to open a window on the display: ") + SDL_GetError());
    }
    pass_wakeups_to_destroyed_windows();
    first_own_event_type();
    load_cursors();
    return true;
  }();
  static_cast<void>(started);
}

// value * numerator / denominator, rounded half away from zero.
int scale(int value, float numerator, float denominator) {
  return static_cast<int>(std::lround(static_cast<double>(value) * numerator / denominator));
}

std::uint32_t window_id_of(const SDL_Event& e) {
  switch (e.type) {
    case SDL_WINDOWEVENT:
      return e.window.windowID;
    case SDL_KEYDOWN:
    case SDL_KEYUP:
      return e.key.windowID;
    case SDL_TEXTEDITING:
      return e.edit.windowID;
    case SDL_TEXTINPUT:
      return e.text.windowID;
    case SDL_MOUSEMOTION:
      return e.motion.windowID;
    case SDL_MOUSEBUTTONDOWN:
    case SDL_MOUSEBUTTONUP:
      return e.button.windowID;
    case SDL_MOUSEWHEEL:
      return e.wheel.windowID;
    case SDL_DROPBEGIN:
    case SDL_DROPFILE:
    case SDL_DROPTEXT:
    case SDL_DROPCOMPLETE:
      return e.drop.windowID;
    default:
      return e.type == timer_event_type() || e.type == character_event_type() ? e.user.windowID : 0;
  }
}

// Keys, text, mouse, drops and the close box: what a disabled window ignores.
bool is_input(const SDL_Event& e) {
  if (e.type == SDL_WINDOWEVENT) {
    return e.window.event == SDL_WINDOWEVENT_CLOSE;
  }
  return (e.type >= SDL_KEYDOWN && e.type < SDL_JOYAXISMOTION) ||
         (e.type >= SDL_DROPFILE && e.type <= SDL_DROPCOMPLETE) || e.type == character_event_type();
}

// Drop events own the text they carry.
void release(SDL_Event& e) {
  if (e.type == SDL_DROPFILE || e.type == SDL_DROPTEXT) {
    SDL_free(e.drop.file);
    e.drop.file = nullptr;
  }
}

native_window* toolkit_window(std::uint32_t id) {
  SDL_Window* found = id != 0 ? SDL_GetWindowFromID(id) : nullptr;
  return found != nullptr ? static_cast<native_window*>(SDL_GetWindowData(found, kNativeWindowKey))
                          : nullptr;
}

// Runs on SDL's timer thread: the expiry is posted to the window's own thread.
std::uint32_t post_timer_event(std::uint32_t interval, void* window_and_key) {
  const auto packed = reinterpret_cast<std::uintptr_t>(window_and_key);
  SDL_Event e{};
  e.type = timer_event_type();
  e.user.windowID = static_cast<std::uint32_t>(packed >> 32);
  e.user.code = static_cast<Sint32>(static_cast<std::uint32_t>(packed));
  SDL_PushEvent(&e);
  return interval;
}

// 0 left, 1 middle, 2 right; -1 for the other buttons.
int toolkit_button(std::uint8_t sdl_button) {
  switch (sdl_button) {
    case SDL_BUTTON_LEFT:
      return 0;
    case SDL_BUTTON_MIDDLE:
      return 1;
    case SDL_BUTTON_RIGHT:
      return 2;
    default:
      return -1;
  }
}

bool types_control_character(int key) {
  return key == kKeyTab || key == kKeyEnter || key == kKeyEscape || key == kKeyBackspace;
}

bool shift_held() {
  return (SDL_GetModState() & KMOD_SHIFT) != 0;
}

// Whether `a` and `b` overlap or share an edge.
bool touches(const rect& a, const rect& b) {
  return a.x <= b.x + b.width && b.x <= a.x + a.width && a.y <= b.y + b.height &&
         b.y <= a.y + a.height;
}

rect united(const rect& a, const rect& b) {
  const int left = std::min(a.x, b.x);
  const int top = std::min(a.y, b.y);
  const int right = std::max(a.x + a.width, b.x + b.width);
  const int bottom = std::max(a.y + a.height, b.y + b.height);
  return {left, top, right - left, bottom - top};
}

SDL_Rect outer_rect(SDL_Window* w) {
  int top = 0;
  int left = 0;
  int bottom = 0;
  int right = 0;
  // Without a window manager there is no frame, and SDL says so with an error.
  if (SDL_GetWindowBordersSize(w, &top, &left, &bottom, &right) != 0) {
    top = left = bottom = right = 0;
  }
  SDL_Rect outer{};
  SDL_GetWindowPosition(w, &outer.x, &outer.y);
  SDL_GetWindowSize(w, &outer.w, &outer.h);
  return {outer.x - left, outer.y - top, outer.w + left + right, outer.h + top + bottom};
}

}  // namespace

native_window::native_window(window& owner_window, void* owner, const std::string& title,
                             const rect& client)
    : window_(owner_window), owner_(owner), drop_target_(owner_window) {
  start_sdl();
  SDL_Window* owner_handle = static_cast<SDL_Window*>(owner_);
  const int display =
      owner_handle != nullptr ? std::max(SDL_GetWindowDisplayIndex(owner_handle), 0) : 0;
  float horizontal = 0.0f;
  float vertical = 0.0f;
  // The screen's dots per inch as whole numbers, as the system reports them to programs.
  if (SDL_GetDisplayDPI(display, nullptr, &horizontal, &vertical) == 0 && horizontal > 0.0f &&
      vertical > 0.0f) {
    dpi_x_ = std::round(horizontal);
    dpi_y_ = std::round(vertical);
  }

  // Made with an empty caption and titled afterwards, as the window is on every platform.
  handle_ = SDL_CreateWindow("", to_pixels_x(client.x), to_pixels_y(client.y),
                             std::max(to_pixels_x(client.width), 1),
                             std::max(to_pixels_y(client.height), 1), SDL_WINDOW_HIDDEN);
  if (handle_ == nullptr) {
    throw hx_exception(std::string("unable to create a window: ") + SDL_GetError());
  }
  int width = 0;
  int height = 0;
  SDL_GetWindowSize(handle_, &width, &height);
  try {
    surface_ = std::make_unique<drawing_surface>(width, height, dpi_x_ / kReferenceDpi,
                                                 dpi_y_ / kReferenceDpi);
  } catch (...) {
    SDL_DestroyWindow(handle_);
    throw;
  }
  id_ = SDL_GetWindowID(handle_);
  SDL_SetWindowData(handle_, kNativeWindowKey, this);
  if (owner_handle != nullptr) {
    SDL_SetWindowModalFor(handle_, owner_handle);
  }
  SDL_SetWindowTitle(handle_, title.c_str());
  all_windows().push_back(this);
}

native_window::~native_window() {
  for (const auto& entry : timers_) {
    SDL_RemoveTimer(entry.second.sdl_id);
  }
  SDL_RemoveTimer(animation_timer_);
  SDL_RemoveTimer(tick_timer_);
  std::erase(all_windows(), this);
  SDL_SetWindowData(handle_, kNativeWindowKey, nullptr);
  SDL_DestroyWindow(handle_);
}

int native_window::to_pixels_x(int dips) const {
  return scale(dips, dpi_x_, kReferenceDpi);
}
int native_window::to_pixels_y(int dips) const {
  return scale(dips, dpi_y_, kReferenceDpi);
}
int native_window::to_dips_x(int pixels) const {
  return scale(pixels, kReferenceDpi, dpi_x_);
}
int native_window::to_dips_y(int pixels) const {
  return scale(pixels, kReferenceDpi, dpi_y_);
}

point native_window::to_dips(int x_pixels, int y_pixels) const {
  return {to_dips_x(x_pixels), to_dips_y(y_pixels)};
}

rect native_window::client_rect() const {
  const rect& root = window_.root().bounds();
  return {0, 0, root.width, root.height};
}

void native_window::show() {
  SDL_ShowWindow(handle_);
  focus(handle_);
  invalidate(client_rect(), true);
}

void native_window::hide() {
  SDL_HideWindow(handle_);
}

bool native_window::shown() const {
  return (SDL_GetWindowFlags(handle_) & SDL_WINDOW_SHOWN) != 0;
}

void native_window::set_client_size(int width_dips, int height_dips) {
  const int width = std::max(to_pixels_x(width_dips), 1);
  const int height = std::max(to_pixels_y(height_dips), 1);
  SDL_SetWindowSize(handle_, width, height);
  take_pixel_size(width, height);
}

// The surface first: the widgets that hear of the new size draw on it at once.
void native_window::take_pixel_size(int width, int height) {
  surface_->resize(width, height);
  window_.route_resize(to_dips_x(width), to_dips_y(height));
  invalidate(client_rect());
}

void native_window::center_on_owner() {
  SDL_Window* owner_handle = static_cast<SDL_Window*>(owner_);
  SDL_Rect area{};
  int display = 0;
  if (owner_handle != nullptr) {
    area = outer_rect(owner_handle);
    display = std::max(SDL_GetWindowDisplayIndex(owner_handle), 0);
  } else {
    SDL_GetDisplayBounds(display, &area);
  }
  const SDL_Rect outer = outer_rect(handle_);
  int x = area.x + (area.w - outer.w) / 2;
  int y = area.y + (area.h - outer.h) / 2;
  SDL_Rect work{};
  if (SDL_GetDisplayUsableBounds(display, &work) == 0) {
    x = std::min(x, work.x + work.w - outer.w);
    y = std::min(y, work.y + work.h - outer.h);
    if (x < work.x) {
      x = work.x + 1;
    }
    if (y < work.y) {
      y = work.y + 1;
    }
  }
  int client_x = 0;
  int client_y = 0;
  SDL_GetWindowPosition(handle_, &client_x, &client_y);
  SDL_SetWindowPosition(handle_, x + (client_x - outer.x), y + (client_y - outer.y));
}

void native_window::invalidate(const rect& area, bool paint_now) {
  if (area.width > 0 && area.height > 0) {
    update_ = update_ ? united(*update_, area) : area;
  }
  if (paint_now) {
    paint_pending();
  }
}

void native_window::paint_pending() {
  if (!update_ || minimized_) {
    return;
  }
  const rect update = *std::exchange(update_, std::nullopt);
  paint_tree(window_.root(), {0, 0}, update);
  present(update);
}

void native_window::paint_tree(widget& w, point origin, const rect& update) {
  if (!w.active()) {
    return;
  }
  const rect& bounds = w.bounds();
  origin = {origin.x + bounds.x, origin.y + bounds.y};
  if (!touches({origin.x, origin.y, bounds.width, bounds.height}, update)) {
    return;
  }
  surface_->begin_widget(update, origin, {bounds.width, bounds.height});
  w.fire(event::paint);
  // A copy: painting may add or remove children.
  const std::vector<widget*> children = w.children();
  for (const widget* child : children) {
    if (child->active() && child->has_drop_shadow()) {
      surface_->draw_shadow(to_rectf(child->bounds()), child->shadow_offset(),
                            child->shadow_spread());
    }
  }
  for (widget* child : children) {
    paint_tree(*child, origin, update);
  }
  surface_->end_widget();
}

// Copies the painted pixels of `update` (a pixel wider all round, for the antialiased edges at
// fractional scales) into SDL's framebuffer for the window and shows them.
void native_window::present(const rect& update) {
  SDL_Surface* target = SDL_GetWindowSurface(handle_);
  if (target == nullptr) {
    return;
  }
  const int left = std::max(to_pixels_x(update.x) - 1, 0);
  const int top = std::max(to_pixels_y(update.y) - 1, 0);
  const int right =
      std::min({to_pixels_x(update.x + update.width) + 1, surface_->pixel_width(), target->w});
  const int bottom =
      std::min({to_pixels_y(update.y + update.height) + 1, surface_->pixel_height(), target->h});
  if (right <= left || bottom <= top) {
    return;
  }
  const std::uint8_t* source =
      surface_->pixels() + static_cast<std::ptrdiff_t>(top) * surface_->stride() + 4 * left;
  auto* destination = static_cast<std::uint8_t*>(target->pixels) +
                      static_cast<std::ptrdiff_t>(top) * target->pitch +
                      left * target->format->BytesPerPixel;
  SDL_ConvertPixels(right - left, bottom - top, SDL_PIXELFORMAT_ARGB8888, source,
                    surface_->stride(), target->format->format, destination, target->pitch);
  const SDL_Rect shown{left, top, right - left, bottom - top};
  SDL_UpdateWindowSurfaceRects(handle_, &shown, 1);
}

int native_window::add_sdl_timer(std::uint32_t milliseconds, std::uint32_t key) {
  const std::uintptr_t packed = (static_cast<std::uintptr_t>(id_) << 32) | key;
  return SDL_AddTimer(std::max<std::uint32_t>(milliseconds, 1), post_timer_event,
                      reinterpret_cast<void*>(packed));
}

void native_window::set_timer(widget& target, std::uint32_t user_id, std::uint32_t milliseconds,
                              bool one_shot) {
  kill_timer(target, user_id);
  const std::uint32_t key = next_timer_key_++;
  timers_[key] = {add_sdl_timer(milliseconds, key), &target, user_id, one_shot};
}

template <class Predicate>
void native_window::kill_timers_where(Predicate matches) {
  for (auto entry = timers_.begin(); entry != timers_.end();) {
    if (matches(entry->second)) {
      SDL_RemoveTimer(entry->second.sdl_id);
      entry = timers_.erase(entry);
    } else {
      ++entry;
    }
  }
}

void native_window::kill_timer(const widget& target, std::uint32_t user_id) {
  kill_timers_where([&](const timer& t) { return t.target == &target && t.user_id == user_id; });
}

void native_window::kill_timers_of(const widget& target) {
  kill_timers_where([&](const timer& t) { return t.target == &target; });
}

void native_window::start_animation() {
  if (animation_timer_ == 0) {
    animation_timer_ = add_sdl_timer(kAnimationMilliseconds, kAnimationTimer);
  }
}

void native_window::set_tick(std::uint32_t milliseconds) {
  SDL_RemoveTimer(tick_timer_);
  tick_timer_ = milliseconds != 0 ? add_sdl_timer(milliseconds, kWindowTickTimer) : 0;
}

void native_window::handle_timer(std::uint32_t key) {
  if (key == kAnimationTimer) {
    animate();
    return;
  }
  if (key == kWindowTickTimer) {
    window_.fire(event::timer, kWindowTickTimer);
    return;
  }
  const auto found = timers_.find(key);
  if (found == timers_.end()) {
    return;  // killed after SDL had already posted it
  }
  const timer expired = found->second;
  if (expired.one_shot) {
    SDL_RemoveTimer(expired.sdl_id);
    timers_.erase(found);
  }
  expired.target->fire(event::timer, expired.user_id);
}

void native_window::animate() {
  bool moving = false;
  std::vector<widget*> pending{&window_.root()};
  while (!pending.empty()) {
    widget* w = pending.back();
    pending.pop_back();
    moving = w->animation_step() || moving;
    pending.insert(pending.end(), w->children().begin(), w->children().end());
  }
  if (!moving) {
    SDL_RemoveTimer(animation_timer_);
    animation_timer_ = 0;
  }
}

point native_window::mouse_in_client() const {
  int screen_x = 0;
  int screen_y = 0;
  SDL_GetGlobalMouseState(&screen_x, &screen_y);
  int window_x = 0;
  int window_y = 0;
  SDL_GetWindowPosition(handle_, &window_x, &window_y);
  return to_dips(screen_x - window_x, screen_y - window_y);
}

point native_window::cursor_position(const widget& relative_to) const {
  const point in_client = mouse_in_client();
  const point origin = relative_to.position_in_window();
  return {in_client.x - origin.x, in_client.y - origin.y};
}

void native_window::handle(const SDL_Event& e) {
  switch (e.type) {
    case SDL_WINDOWEVENT:
      handle_window_event(e.window);
      return;
    case SDL_MOUSEMOTION:
      // The first move after the mouse came in only starts following it.
      if (std::exchange(mouse_tracked_, true)) {
        window_.route_mouse_move(to_dips(e.motion.x, e.motion.y));
      }
      return;
    case SDL_MOUSEBUTTONDOWN:
    case SDL_MOUSEBUTTONUP:
      if (const int button = toolkit_button(e.button.button); button >= 0) {
        const point at = to_dips(e.button.x, e.button.y);
        if (e.type == SDL_MOUSEBUTTONDOWN) {
          window_.route_mouse_press(button, at, e.button.clicks % 2 == 0);
        } else {
          window_.route_mouse_release(button, at);
        }
      }
      return;
    case SDL_MOUSEWHEEL: {
      const double direction = e.wheel.direction == SDL_MOUSEWHEEL_FLIPPED ? -1.0 : 1.0;
      window_.route_wheel(direction * e.wheel.preciseY * kWheelArgumentPerNotch, mouse_in_client());
      return;
    }
    case SDL_KEYDOWN:
      handle_key_down(e.key);
      return;
    case SDL_KEYUP:
      if (const int key = virtual_key(e.key.keysym); key != 0) {
        window_.route_to_focused(event::key_up, static_cast<std::uint64_t>(key));
      }
      return;
    case SDL_TEXTEDITING:
      // An input method composing a character: started, then changed with every keystroke.
      if (e.edit.text[0] != '\0') {
        if (!std::exchange(composing_, true)) {
          window_.route_text_input(0);
        }
        window_.route_text_input(1);
      }
      return;
    case SDL_TEXTINPUT:
      handle_text(e.text.text);
      return;
    case SDL_DROPBEGIN:
      drop_target_.begin();
      return;
    case SDL_DROPFILE:
      drop_target_.add(e.drop.file);
      return;
    case SDL_DROPCOMPLETE:
      drop_target_.complete(mouse_in_client());
      return;
    default:
      if (e.type == timer_event_type()) {
        handle_timer(static_cast<std::uint32_t>(e.user.code));
      } else if (e.type == character_event_type()) {
        window_.route_character(e.user.code, e.user.data1 != nullptr);
      }
  }
}

void native_window::handle_window_event(const SDL_WindowEvent& e) {
  switch (e.event) {
    case SDL_WINDOWEVENT_SIZE_CHANGED:
      take_pixel_size(e.data1, e.data2);
      break;
    case SDL_WINDOWEVENT_EXPOSED:
      invalidate(client_rect());
      break;
    case SDL_WINDOWEVENT_MINIMIZED:
      minimized_ = true;
      break;
    case SDL_WINDOWEVENT_RESTORED:
    case SDL_WINDOWEVENT_MAXIMIZED:
      minimized_ = false;
      invalidate(client_rect());
      break;
    case SDL_WINDOWEVENT_LEAVE:
      mouse_tracked_ = false;
      window_.route_mouse_leave();
      break;
    case SDL_WINDOWEVENT_FOCUS_GAINED:
      window_.route_to_focused(event::focus_in, 0);
      break;
    case SDL_WINDOWEVENT_FOCUS_LOST:
      window_.route_to_focused(event::focus_out, 0);
      break;
    case SDL_WINDOWEVENT_CLOSE:
      window_.close();
      break;
    default:
      break;
  }
}

void native_window::handle_key_down(const SDL_KeyboardEvent& e) {
  const int key = virtual_key(e.keysym);
  if (key == 0) {
    return;
  }
  window_.route_to_focused(event::key_down, static_cast<std::uint64_t>(key));
  window_.route_to_focused(event::key_down_raw,
                           static_cast<std::uint64_t>(key) |
                               static_cast<std::uint64_t>(key_data(e.keysym, e.repeat != 0)) << 32);
  // SDL types no text for these keys; the toolkit's handlers expect their characters.
  if (types_control_character(key)) {
    SDL_Event character{};
    character.type = character_event_type();
    character.user.windowID = id_;
    character.user.code = key;
    character.user.data1 = shift_held() ? handle_ : nullptr;
    SDL_PushEvent(&character);
  }
}

void native_window::handle_text(const char* utf8) {
  if (std::exchange(composing_, false)) {
    window_.route_text_input(2);
  }
  glong units = 0;
  gunichar2* text = g_utf8_to_utf16(utf8, -1, nullptr, &units, nullptr);
  if (text == nullptr) {
    return;
  }
  const bool shift = shift_held();
  for (glong i = 0; i < units; ++i) {
    window_.route_character(text[i], shift);
  }
  g_free(text);
}

void native_window::wait_for_event() {
  SDL_WaitEvent(nullptr);
}

bool native_window::dispatch_next() {
  SDL_Event e;
  if (SDL_PollEvent(&e) == 0) {
    return false;
  }
  native_window* target = toolkit_window(window_id_of(e));
  if (target != nullptr && (!is_input(e) || enabled(target->handle_))) {
    target->handle(e);
  } else if (target == nullptr && deferral_depth > 0 && !is_input(e) &&
             e.type != timer_event_type()) {
    deferred_events().push_back(e);
    return true;
  }
  release(e);
  return true;
}

void native_window::paint_all_pending() {
  const std::vector<native_window*> windows = all_windows();
  for (native_window* w : windows) {
    w->paint_pending();
  }
}

void native_window::process_pending_events() {
  SDL_PumpEvents();
  // Only what is queued now: timers and handlers may keep adding events.
  const int queued = SDL_PeepEvents(nullptr, 0, SDL_PEEKEVENT, SDL_FIRSTEVENT, SDL_LASTEVENT);
  for (int i = 0; i < queued && dispatch_next(); ++i) {
  }
  paint_all_pending();
}

native_window::foreign_event_deferral::foreign_event_deferral() {
  ++deferral_depth;
}

native_window::foreign_event_deferral::~foreign_event_deferral() {
  if (--deferral_depth > 0) {
    return;
  }
  std::vector<SDL_Event> events = std::move(deferred_events());
  deferred_events().clear();
  for (SDL_Event& e : events) {
    SDL_PushEvent(&e);
  }
}

void native_window::set_enabled(void* handle, bool enabled) {
  if (handle != nullptr) {
    SDL_SetWindowData(static_cast<SDL_Window*>(handle), kDisabledKey, enabled ? nullptr : handle);
  }
}

bool native_window::enabled(void* handle) {
  return handle == nullptr ||
         SDL_GetWindowData(static_cast<SDL_Window*>(handle), kDisabledKey) == nullptr;
}

void native_window::focus(void* handle) {
  if (handle != nullptr) {
    SDL_RaiseWindow(static_cast<SDL_Window*>(handle));
    SDL_SetWindowInputFocus(static_cast<SDL_Window*>(handle));
  }
}

}  // namespace hxsdk::ui
