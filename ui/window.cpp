#include "ui/window.h"

#include <algorithm>
#include <string>
#include <utility>

#include "ui/native_window.h"

namespace hxsdk::ui {

window::window() {
  root_.set_name("BaseWidget");
}

window::~window() {
  if (modal_running_) {
    leave_modal();
  }
  fire(event::destroyed);
}

void window::create(native_handle owner, std::string_view title, const rect& client) {
  native_ = std::make_unique<native_window>(*this, owner, std::string(title), client);
  root_.set_window(this);
  root_.set_bounds({0, 0, client.width, client.height});
  root_.fire(event::layout);
  fire(event::layout);
}

drawing_surface& window::surface() {
  return native_->surface();
}

int window::run_modal() {
  modal_result_ = 0;
  fire(event::modal_begin);
  native_window::set_enabled(native_->owner(), false);
  if (!native_->shown()) {
    show();
  }
  modal_running_ = true;
  const native_window::foreign_event_deferral deferral;
  for (;;) {
    native_window::wait_for_event();
    while (native_window::dispatch_next()) {
      if (!modal_running_) {
        fire(event::modal_end);
        return modal_result_;
      }
    }
    native_window::paint_all_pending();
  }
}

void window::end_modal(int result) {
  modal_result_ = result;
  fire(event::modal_end);
  leave_modal();
}

void window::close() {
  if (fire(event::close_request)) {
    return;
  }
  leave_modal();
}

void window::leave_modal() {
  modal_running_ = false;
  native_window::set_enabled(native_->owner(), true);
  native_window::focus(native_->owner());
  native_->hide();
}

void window::show() {
  native_->show();
}

void window::set_tick(std::uint32_t milliseconds) {
  native_->set_tick(milliseconds);
}

void window::set_focus(widget* target, bool by_tab) {
  if (target == focused_) {
    return;
  }
  widget* previous = focused_;
  focused_ = target;
  if (previous != nullptr) {
    previous->fire(event::focus_out, by_tab ? 1 : 0);
  }
  if (target != nullptr) {
    target->fire(event::focus_in, by_tab ? 1 : 0);
  }
}

void window::set_client_size(int width, int height) {
  native_->set_client_size(width, height);
}

void window::center_on_owner() {
  native_->center_on_owner();
}

void window::set_style(std::string_view key, style_value value) {
  std::string name(key);
  styles_.set(name, std::move(value));
  fire(event::style_changed, pointer_argument(&name));
}

widget* window::widget_at(point p) const {
  const auto reachable = [](const widget& w) { return w.active() && w.interactive(); };
  if (!reachable(root_) || !root_.bounds().contains(p)) {
    return nullptr;
  }
  const widget* found = &root_;
  point inside = {p.x - root_.bounds().x, p.y - root_.bounds().y};
  for (bool deeper = true; deeper;) {
    deeper = false;
    // The last child is painted last, so it is the one on top.
    const auto& children = found->children();
    for (auto child = children.rbegin(); child != children.rend(); ++child) {
      if (reachable(**child) && (*child)->bounds().contains(inside)) {
        found = *child;
        inside = {inside.x - found->bounds().x, inside.y - found->bounds().y};
        deeper = true;
        break;
      }
    }
  }
  return const_cast<widget*>(found);
}

void window::add_to_focus_order(widget& w) {
  focus_order_.push_back(&w);
}

void window::forget_widget(const widget& w) {
  std::erase(focus_order_, &w);
  if (focused_ == &w) {
    focused_ = nullptr;
  }
  if (hovered_ == &w) {
    hovered_ = nullptr;
  }
  if (native_ != nullptr) {
    native_->kill_timers_of(w);
  }
}

void window::route_mouse_press(int button, point at, bool second_click) {
  widget* target = widget_at(at);
  const bool double_click =
      second_click && target != nullptr && target->has_handler(event::double_click);
  const event id = double_click ? event::double_click : event::mouse_down;
  if (target != nullptr) {
    if (target->accepts_focus()) {
      set_focus(target);
    }
    target->fire(id, button);
  }
  fire(id, button);
  double_click_seen_ = double_click;
}

void window::route_mouse_release(int button, point at) {
  // The release that ends a double click belongs to it.
  if (double_click_seen_) {
    double_click_seen_ = false;
    return;
  }
  if (widget* target = widget_at(at)) {
    target->fire(event::mouse_up, button);
  }
  fire(event::mouse_up, button);
}

void window::route_mouse_move(point at) {
  widget* target = widget_at(at);
  if (target != hovered_) {
    widget* previous = hovered_;
    hovered_ = target;
    if (previous != nullptr) {
      previous->fire(event::mouse_leave);
    }
    if (target != nullptr) {
      target->fire(event::mouse_enter);
    }
  } else if (target != nullptr) {
    target->fire(event::mouse_move);
  }
  fire(event::mouse_move);
}

void window::route_mouse_leave() {
  if (widget* previous = std::exchange(hovered_, nullptr)) {
    previous->fire(event::mouse_leave);
  }
}

void window::route_wheel(double delta, point at) {
  for (widget* target = widget_at(at); target != nullptr; target = target->parent()) {
    if (target->fire(event::wheel, double_argument(delta))) {
      return;
    }
  }
}

void window::route_to_focused(event event_id, std::uint64_t argument) {
  if (focused_ != nullptr) {
    focused_->fire(event_id, argument);
  }
  fire(event_id, argument);
}

void window::route_character(int code_unit, bool shift) {
  if (tab_navigation_ && code_unit == kKeyTab) {
    move_focus_by_tab(shift);
    return;
  }
  route_to_focused(event::character, static_cast<std::uint64_t>(code_unit));
}

void window::move_focus_by_tab(bool backwards) {
  const auto count = static_cast<std::ptrdiff_t>(focus_order_.size());
  if (count == 0) {
    return;
  }
  const auto current = std::find(focus_order_.begin(), focus_order_.end(), focused_);
  // Without a focused widget in the order, Tab starts at the first and Shift+Tab at the last.
  std::ptrdiff_t position = current != focus_order_.end() ? current - focus_order_.begin()
                            : backwards                   ? 0
                                                          : count - 1;
  const std::ptrdiff_t step = backwards ? count - 1 : 1;
  for (std::ptrdiff_t tried = 0; tried < count; ++tried) {
    position = (position + step) % count;
    widget* candidate = focus_order_[static_cast<std::size_t>(position)];
    if (candidate->tab_stop() && candidate->interactive() && candidate->accepts_focus()) {
      set_focus(candidate, true);
      return;
    }
  }
}

void window::route_resize(int width, int height) {
  const rect& current = root_.bounds();
  if (current.width == width && current.height == height) {
    return;
  }
  root_.set_bounds({0, 0, width, height});
  fire(event::resize, pack_pair(width, height));
}

void window::route_text_input(int stage) {
  if (focused_ != nullptr) {
    focused_->fire(event::text_input, static_cast<std::uint64_t>(stage));
  }
}

bool window::accepts_drop(point at) const {
  const widget* target = widget_at(at);
  return target != nullptr && target->has_handler(event::drop);
}

void window::route_drop(point at, const std::vector<std::string>& files) {
  if (widget* target = widget_at(at)) {
    target->fire(event::drop, pointer_argument(&files));
  }
}

}  // namespace hxsdk::ui
