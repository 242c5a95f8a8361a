#include "ui/widget.h"

#include <algorithm>
#include <string>

#include "ui/native_window.h"
#include "ui/window.h"

namespace hxsdk::ui {
namespace {

bool same_size(const rect& a, const rect& b) {
  return a.width == b.width && a.height == b.height;
}

// Half of the way from `from` to `to`, in whole units; the last unit is taken whole, so that an
// animation always arrives.
int half_way(int from, int to) {
  const int step = (to - from) / 2;
  return step != 0 ? from + step : to;
}

}  // namespace

widget::widget() {
  connect(event::paint, [this](const event_info&) { paint(); });
}

widget::~widget() {
  fire(event::destroyed);
  if (parent_ != nullptr) {
    parent_->remove_child(*this);
  }
  for (widget* child : children_) {
    child->parent_ = nullptr;
  }
  if (window_ != nullptr) {
    window_->forget_widget(*this);
  }
}

void widget::add_child(widget& child) {
  if (child.parent_ != nullptr && child.parent_ != this) {
    child.parent_->remove_child(child);
  }
  child.set_parent(this);
  child.visible_ = visible_;
  child.inherited_focus_ = accepts_focus();
  if (std::find(children_.begin(), children_.end(), &child) == children_.end()) {
    children_.push_back(&child);
  }
  fire(event::child_added, pointer_argument(&child));
}

void widget::remove_child(widget& child) {
  const auto found = std::find(children_.begin(), children_.end(), &child);
  if (found == children_.end()) {
    return;
  }
  children_.erase(found);
  child.parent_ = nullptr;
  fire(event::child_removed, pointer_argument(&child));
}

void widget::remove_all_children() {
  while (!children_.empty()) {
    remove_child(*children_.back());
  }
}

void widget::invalidate(bool update_now) {
  if (!attached_ || bounds_.width < 1 || bounds_.height < 1) {
    return;
  }
  const point at = position_in_window();
  invalidate_area({at.x, at.y, bounds_.width, bounds_.height});
  if (update_now && window_ != nullptr && window_->created()) {
    window_->native().paint_pending();
  }
}

void widget::invalidate_area(const rect& area_in_window) {
  if (window_ != nullptr && window_->created()) {
    window_->native().invalidate(area_in_window);
  }
}

bool widget::accepts_focus() const {
  return focusable_ && inherited_focus_;
}

void widget::place_child(widget& child, const rect& bounds) {
  child.set_window(window_);
  child.set_parent(this);
  child.set_bounds(bounds);
  child.fire(event::layout);
  add_child(child);
}

void widget::set_bounds(const rect& bounds) {
  target_ = bounds;
  apply_bounds(bounds);
  if (!attached_ && window_ != nullptr) {
    window_->add_to_focus_order(*this);
    attached_ = true;
  }
  if (parent_ != nullptr) {
    visible_ = parent_->visible_ && parent_->enabled_;
    inherited_focus_ = parent_->accepts_focus();
  }
  invalidate();
}

void widget::apply_bounds(const rect& bounds) {
  const rect previous = bounds_;
  if (attached_) {
    // The area it leaves needs painting as much as the one it takes.
    const point at = position_in_window();
    invalidate_area({at.x, at.y, previous.width, previous.height});
  }
  bounds_ = bounds;
  if (previous.x != bounds.x || previous.y != bounds.y) {
    fire(event::move, pack_pair(previous.x, previous.y));
  }
  if (!same_size(previous, bounds)) {
    fire(event::resize, pack_pair(previous.width, previous.height));
    for (widget* child : children_) {
      child->fire(event::parent_resized, pack_pair(previous.width, previous.height));
    }
  }
}

bool widget::animation_step() {
  if (bounds_ == target_) {
    return false;
  }
  const int left = half_way(bounds_.x, target_.x);
  const int top = half_way(bounds_.y, target_.y);
  const int right = half_way(bounds_.x + bounds_.width, target_.x + target_.width);
  const int bottom = half_way(bounds_.y + bounds_.height, target_.y + target_.height);
  apply_bounds({left, top, right - left, bottom - top});
  invalidate();
  return !(bounds_ == target_);
}

void widget::animate_to(const rect& target) {
  target_ = target;
  if (window_ != nullptr && window_->created() && !(bounds_ == target_)) {
    window_->native().start_animation();
  }
}

void widget::set_parent(widget* parent) {
  parent_ = parent;
  fire(event::parent_set, pointer_argument(parent));
}

void widget::set_visible(bool visible) {
  visible_ = visible;
  fire(visible ? event::shown : event::hidden);
  invalidate();
}

void widget::set_enabled(bool enabled) {
  enabled_ = enabled;
  invalidate();
}

void widget::set_active(bool active) {
  active_ = active;
  invalidate();
}

void widget::set_drop_shadow(bool on, float offset, float spread) {
  drop_shadow_ = on;
  shadow_offset_ = offset;
  shadow_spread_ = spread;
  if (parent_ != nullptr) {
    parent_->invalidate();
  }
}

void widget::set_style(std::string_view key, style_value value) {
  std::string name(key);
  styles_.set(name, std::move(value));
  fire(event::style_changed, pointer_argument(&name));
}

bool widget::has_focus() const {
  return window_ != nullptr && window_->focused() == this;
}

point widget::position_in_window() const {
  point at;
  for (const widget* w = this; w != nullptr; w = w->parent_) {
    at.x += w->bounds_.x;
    at.y += w->bounds_.y;
  }
  return at;
}

color widget::state_color(color c) const {
  if (!interactive()) {
    c.a *= 0.5f;
  }
  return c;
}

}  // namespace hxsdk::ui
