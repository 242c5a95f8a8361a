#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "AE_Effect.h"
#include "host/effect_host.h"
#include "host/param_list.h"
#include "host/pixel_world.h"

namespace lunaform::host {

// Where one parameter's custom control sits in the effect-controls panel, in panel pixels.
struct PanelControl {
  PF_ParamIndex index = 0;
  PF_Rect title_frame{};  // the parameter's title strip, across the panel
  PF_Rect frame{};        // the control, of the size the module registered
};

// The effect-controls panel as this host lays it out. Every parameter that registered a custom
// control (PF_PUI_CONTROL) gets, one under the other: a title strip kTitleHeight pixels high
// across the panel, then, kGap pixels below it and kMargin from the left edge, its control.
// The panel leaves kMargin pixels right of the widest control and below the last one. With the
// effect's one 558 x 84 header control: a 574 x 120 panel, the control's top-left corner at
// (8, 28).
struct PanelLayout {
  static constexpr int kTitleHeight = 24;
  static constexpr int kGap = 4;
  static constexpr int kMargin = 8;

  int width = 0;
  int height = 0;
  std::vector<PanelControl> controls;  // empty when the module registered none
};

// Lays out the custom controls of `params` (as received at parameter setup). Pure function.
PanelLayout lay_out_panel(const ParamList& params);

// The effect-controls panel of one host: its image, and the custom-UI events a host sends the
// module's controls while it shows the panel. Every point on the panel belongs to one control:
// the band from its title strip down to the next one. Each event method returns the module's
// result (draw(): the first failure; PF_Err_NONE when no event was sent). Used on the host's
// thread.
class ControlsPanel {
 public:
  // Lays out the controls of `host` (after parameter setup) over a cleared panel image. Throws
  // HostError when the module registered no custom control or the image cannot be made.
  explicit ControlsPanel(EffectHost& host);
  ~ControlsPanel();
  ControlsPanel(const ControlsPanel&) = delete;
  ControlsPanel& operator=(const ControlsPanel&) = delete;

  const PanelLayout& layout() const { return layout_; }

  // The pointer is at `point`: an adjust-cursor event to the control whose band holds it (on
  // its control or title, else the area none), or, off the panel, to the control it was over
  // last. cursor() then holds the cursor the module asked for.
  PF_Err move_pointer(PF_Point point);
  // The pointer left the panel: the control it was over last hears of a point off the panel,
  // so no hover outlives the pointer.
  PF_Err pointer_left();
  // A button went down at `point`: a click event to the control there. While the module asks
  // for drag events, drag() sends them.
  PF_Err press(PF_Point point);
  // The pointer moved with the button down (`released` false) or the button came up (true):
  // a drag event for the click that asked for drags; nothing otherwise.
  PF_Err drag(PF_Point point, bool released);
  bool dragging() const { return gesture_.has_value(); }
  PF_CursorType cursor() const { return cursor_; }

  // Paints the background and title strips, then sends every control a draw event.
  PF_Err draw();
  // The panel image: premultiplied 32-bit pixels, B, G, R, A in memory (cairo's ARGB32).
  const std::uint8_t* pixels() const;
  int stride() const;
  // The panel as an 8-bit world of straight colour, as write_frame() takes it.
  std::unique_ptr<PixelWorld> to_world() const;

 private:
  // The control whose band holds `point`, and where on it the point is; nothing off the panel.
  std::optional<std::pair<const PanelControl*, PF_EffectArea>> control_at(PF_Point point) const;
  ControlEvent event_for(const PanelControl& control, PF_EventType type) const;

  EffectHost& host_;
  PanelLayout layout_;
  cairo_surface_t* image_ = nullptr;
  const PanelControl* last_control_ = nullptr;  // the control the pointer was over last
  std::optional<ControlEvent> gesture_;         // the click whose drag events are running
  PF_CursorType cursor_ = PF_Cursor_ARROW;
};

}  // namespace lunaform::host
