#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "ui/event_object.h"
#include "ui/geometry.h"
#include "ui/style.h"
#include "ui/widget.h"

namespace hxsdk::ui {

class native_window;
class drawing_surface;

// A native window handle as the host hands it out (an SDL_Window* here); null for none.
using native_handle = void*;

// A top-level window: one native window and the root widget "BaseWidget" that fills its client
// area. It hears the native window's input first and routes it to its widgets. Everything runs
// on the thread that created it.
class window : public event_object {
 public:
  window();
  ~window() override;

  // Creates the native window, hidden, owned by `owner` (may be null), with its client area
  // `client` in DIPs, then the root widget; fires layout (17) on the root and on the window.
  // Throws hx_exception when no window can be made (no display, or the window system refuses).
  void create(native_handle owner, std::string_view title, const rect& client);
  bool created() const { return native_ != nullptr; }

  // Disables the owner, shows the window and handles events until end_modal or close; returns
  // the result (0 unless end_modal gave another).
  int run_modal();
  void end_modal(int result);
  // What the close box does: fires close request (16); when nobody handles it, ends the modal
  // loop, re-enables and focuses the owner and hides the window.
  void close();
  void show();
  // Fires timer (15) on the window with kWindowTickTimer every `milliseconds`; 0 stops it.
  void set_tick(std::uint32_t milliseconds);

  widget& root() { return root_; }
  native_window& native() { return *native_; }
  drawing_surface& surface();
  widget* focused() const { return focused_; }
  widget* hovered() const { return hovered_; }
  // Moves the focus, firing focus out (34) on the old widget and focus in (33) on the new one
  // with `by_tab` as argument.
  void set_focus(widget* target, bool by_tab = false);
  void set_tab_navigation(bool on) { tab_navigation_ = on; }
  bool modal_running() const { return modal_running_; }
  // Changes the client size (DIPs): the native window, the drawing surface and the root widget
  // follow, and the window hears resize (13).
  void set_client_size(int width, int height);
  void center_on_owner();

  // The window's own styles, which a dialog hands on to its controls. Fires style changed (43)
  // on the window.
  void set_style(std::string_view key, style_value value);
  template <class T>
  T style(std::string_view key) const {
    return lookup_style<T>(styles_, key);
  }
  const style_map& own_styles() const { return styles_; }

  // The deepest active, visible and enabled widget whose bounds contain `p` (DIPs in the client
  // area), or null when `p` lies outside the client area.
  widget* widget_at(point p) const;

  // Called by widget::set_bounds on a widget's first placement.
  void add_to_focus_order(widget& w);
  // Called by a widget's destructor: the window keeps no pointer to it afterwards.
  void forget_widget(const widget& w);

  // Input from the native window, already in DIPs of the client area, routed to the widgets.
  // A second press in quick succession is a double click for a widget that handles those, and
  // an ordinary press for any other.
  void route_mouse_press(int button, point at, bool second_click);
  void route_mouse_release(int button, point at);
  void route_mouse_move(point at);
  void route_mouse_leave();
  void route_wheel(double delta, point at);
  // Key down, key down raw and key up; focus in and out of the window.
  void route_to_focused(event event_id, std::uint64_t argument);
  void route_character(int code_unit, bool shift);
  void route_resize(int width, int height);
  void route_text_input(int stage);
  // Whether a drop at `at` would be taken: the widget there has a drop handler.
  bool accepts_drop(point at) const;
  void route_drop(point at, const std::vector<std::string>& files);

 private:
  void move_focus_by_tab(bool backwards);
  // What ending the loop and closing have in common.
  void leave_modal();

  // Declared before the root widget: the root's destructor still reaches them.
  widget* focused_ = nullptr;
  widget* hovered_ = nullptr;
  std::vector<widget*> focus_order_;
  bool double_click_seen_ = false;
  bool tab_navigation_ = true;
  int modal_result_ = 0;
  bool modal_running_ = false;
  style_map styles_;
  std::unique_ptr<native_window> native_;
  widget root_;
};

}  // namespace hxsdk::ui
