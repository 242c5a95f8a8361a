#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "ui/event_object.h"
#include "ui/geometry.h"
#include "ui/style.h"

namespace hxsdk::ui {

class window;

// One rectangle of a window's user interface. Its bounds are in DIPs relative to its parent
// (the root widget sits at the window's client origin). Widgets neither own nor delete each
// other: whoever creates one keeps it alive while it sits in a tree and destroys it before its
// window (the dialogs hold theirs as members, which C++ destroys before the window base).
class widget : public event_object {
 public:
  widget();
  ~widget() override;

  virtual void add_child(widget& child);
  virtual void remove_child(widget& child);
  virtual void remove_all_children();
  // Marks the widget's rectangle for repainting; with update_now, paints it at once.
  virtual void invalidate(bool update_now = false);
  virtual bool accepts_focus() const;
  // Draws the widget in its own coordinates; called for the paint event (12).
  virtual void paint() {}

  // Places `child` in this widget the way the dialogs build their trees: the child joins this
  // widget's window, takes `bounds`, hears its layout event (17) and becomes the last child.
  void place_child(widget& child, const rect& bounds);

  // Stores the rectangle (and the animation target), fires move, resize and parent resized as
  // they change, joins the window's focus order on its first placement and takes visibility and
  // the inherited focus flag from the parent.
  void set_bounds(const rect& bounds);
  void set_window(window* owner) { window_ = owner; }
  // Fires parent set (27) on this widget.
  void set_parent(widget* parent);
  // Fires shown (21) or hidden (22).
  void set_visible(bool visible);
  void set_enabled(bool enabled);
  // An inactive widget is neither painted nor hit, and the dialogs leave it out of their layout.
  void set_active(bool active);
  void set_tab_stop(bool tab_stop) { tab_stop_ = tab_stop; }
  void set_focusable(bool focusable) { focusable_ = focusable; }
  void set_name(std::string name) { name_ = std::move(name); }
  // A soft shadow that the parent draws behind this widget, `offset` DIPs down and to the right
  // and `spread` DIPs wide.
  void set_drop_shadow(bool on, float offset = 3.0f, float spread = 6.0f);
  // Moves the widget towards `target` over the next animation ticks, half the remaining way
  // each tick.
  void animate_to(const rect& target);
  // One animation tick: moves half of the remaining way to the target. Returns true while the
  // widget has not arrived.
  bool animation_step();

  // Replaces this widget's own value for `key` and fires style changed (43) with the key.
  void set_style(std::string_view key, style_value value);
  // Looks `key` up in this widget's own map, then in the defaults.
  template <class T>
  T style(std::string_view key) const {
    return lookup_style<T>(styles_, key);
  }
  const style_map& own_styles() const { return styles_; }
  // Replaces this widget's own map by a copy of `styles` (a dialog handing its styles to its
  // controls). Fires nothing: the caller restyles what it hands over.
  void assign_styles(const style_map& styles) { styles_.assign_from(styles); }

  const std::string& name() const { return name_; }
  window* owner_window() const { return window_; }
  widget* parent() const { return parent_; }
  const std::vector<widget*>& children() const { return children_; }
  const rect& bounds() const { return bounds_; }
  const rect& animation_target() const { return target_; }
  bool attached() const { return attached_; }
  bool visible() const { return visible_; }
  bool enabled() const { return enabled_; }
  bool active() const { return active_; }
  // Visible and enabled: only then does the widget receive mouse and keyboard events.
  bool interactive() const { return visible_ && enabled_; }
  bool tab_stop() const { return tab_stop_; }
  bool has_drop_shadow() const { return drop_shadow_; }
  float shadow_offset() const { return shadow_offset_; }
  float shadow_spread() const { return shadow_spread_; }
  // True when this widget is its window's focused widget.
  bool has_focus() const;
  // The widget's top-left corner in its window's client area.
  point position_in_window() const;
  // The widget's own rectangle in its own coordinates, where it paints: (0, 0, width, height).
  rectf area() const {
    return {0.0f, 0.0f, static_cast<float>(bounds_.width), static_cast<float>(bounds_.height)};
  }
  // Colours are drawn at half their alpha while the widget is hidden or disabled.
  color state_color(color c) const;

 private:
  void invalidate_area(const rect& area_in_window);
  // Moves and resizes without touching the animation target.
  void apply_bounds(const rect& bounds);

  style_map styles_;
  std::string name_ = "Widget";
  window* window_ = nullptr;
  widget* parent_ = nullptr;
  std::vector<widget*> children_;
  rect bounds_;
  rect target_;
  bool attached_ = false;
  bool visible_ = true;
  bool enabled_ = true;
  bool active_ = true;
  bool tab_stop_ = false;
  bool focusable_ = true;
  bool inherited_focus_ = true;
  bool drop_shadow_ = false;
  float shadow_offset_ = 3.0f;
  float shadow_spread_ = 6.0f;
};

}  // namespace hxsdk::ui
