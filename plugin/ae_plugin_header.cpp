// The header control at the top of the effect's controls: the banner drawn through the host's
// drawing suites, its link lit while the pointer is over it, the product page opened by a
// click on the link.
#include <cstddef>
#include <utility>

#include "platform/shell_open.h"
#include "plugin/ae_plugin_connection.h"
#include "plugin/command_extra.h"
#include "plugin/header_banner.h"
#include "plugin/header_link.h"
#include "plugin/param_ids.h"
#include "plugin/param_tables.h"
#include "plugin/product_info.h"

namespace {

bool is_header_control(const PF_EventExtra& event) {
  const PF_ParamIndex index = event.effect_win.index;
  return index >= 0 && static_cast<std::size_t>(index) < param_id_by_index.size() &&
         param_id_by_index[static_cast<std::size_t>(index)] == PARAM_HEADER;
}

// Returns whether the pointer is over the link. The finger shows only over the control itself:
// over the parameter's title the host's own cursor rules.
bool adjust_cursor(PF_EventExtra& event, bool header) {
  PF_AdjustCursorEventInfo& cursor = event.u.adjust_cursor;
  const bool over_link =
      header && header_link_hit(cursor.screen_point, event.effect_win.current_frame);
  cursor.set_cursor = event.effect_win.area == PF_EA_CONTROL && over_link ? PF_Cursor_FINGER_POINTER
                                                                          : PF_Cursor_ARROW;
  event.evt_out_flags |= PF_EO_HANDLED_EVENT;
  return over_link;
}

void click(PF_EventExtra& event, bool header) {
  PF_DoClickEventInfo& click = event.u.do_click;
  // A click on the title row (or above it) is the host's: it folds and selects parameters.
  if (click.screen_point.v > event.effect_win.param_title_frame.bottom) {
    if (header && header_link_hit(click.screen_point, event.effect_win.current_frame)) {
      hxsdk::open_with_shell(product::page_address());
    }
    // Taking the drag that follows keeps the host from starting a drag of its own from a click
    // in the control; the first drag event hands it back.
    click.send_drag = true;
    click.continue_refcon[0] = 1;
  }
  event.evt_out_flags |= PF_EO_HANDLED_EVENT;
}

void end_drag(PF_EventExtra& event) {
  PF_DoClickEventInfo& drag = event.u.do_click;
  if (drag.continue_refcon[0] == 1) {
    drag.send_drag = false;
    drag.continue_refcon[0] = 0;
  }
  event.evt_out_flags |= PF_EO_HANDLED_EVENT | PF_EO_ALWAYS_UPDATE;
}

}  // namespace

void AePluginConnection::on_event(CommandContext& context) {
  PF_EventExtra& event = event_extra(context);
  const bool header = is_header_control(event);
  switch (event.e_type) {
    case PF_Event_DRAW:
      draw_header(context, event, header);
      break;
    case PF_Event_ADJUST_CURSOR:
      // The banner shows the change at the host's next draw.
      header_hover = adjust_cursor(event, header);
      break;
    case PF_Event_DO_CLICK:
      click(event, header);
      break;
    case PF_Event_DRAG:
      end_drag(event);
      break;
    default:
      break;
  }
}

void AePluginConnection::draw_header(CommandContext& context, PF_EventExtra& event, bool header) {
  event.evt_out_flags |= PF_EO_HANDLED_EVENT;
  if ((event.evt_in_flags & PF_EI_DONT_DRAW) != 0) {
    return;
  }
  HostSuites suites(*context.in_data);
  DRAWBOT_DrawRef drawing = nullptr;
  suites.get<PF_EffectCustomUISuite1>().PF_GetDrawingReference(event.contextH, &drawing);
  if (drawing == nullptr) {
    return;
  }
  const DRAWBOT_DrawbotSuite1& draw = suites.get<DRAWBOT_DrawbotSuite1>();
  DRAWBOT_SupplierRef supplier = nullptr;
  DRAWBOT_SurfaceRef surface = nullptr;
  draw.GetSupplier(drawing, &supplier);
  draw.GetSurface(drawing, &surface);
  if (!header) {
    return;
  }
  const DRAWBOT_ImageRef image = header_host_image(suites, supplier);
  if (image == nullptr) {
    return;
  }
  const PF_Rect& control = event.effect_win.current_frame;
  const DRAWBOT_PointF32 origin{static_cast<float>(control.left), static_cast<float>(control.top)};
  suites.get<DRAWBOT_SurfaceSuite1>().DrawImage(surface, image, &origin, 1.0f);
}

DRAWBOT_ImageRef AePluginConnection::header_host_image(HostSuites& suites,
                                                       DRAWBOT_SupplierRef supplier) {
  if (header_pixels == nullptr) {
    // A banner that cannot be decoded is tried again at the next draw.
    if (std::optional<HeaderBanner> banner = decode_header_banner()) {
      header_pixels = std::move(banner->pixels);
      header_width = banner->width;
      header_height = banner->height;
    }
  }
  DRAWBOT_ImageRef& image = header_hover ? header_image_hover : header_image;
  if (image == nullptr && header_pixels != nullptr) {
    // The banner is opaque: the layout that reads B, G, R and ignores the fourth byte shows the
    // decoded pixels as they are.
    suites.get<DRAWBOT_SupplierSuite1>().NewImageFromBuffer(
        supplier, header_width, header_height, header_width * 4, kDRAWBOT_PixelLayout_32BGR,
        header_image_pixels(header_pixels.get(), header_hover, header_width, header_height),
        &image);
  }
  return image;
}

void AePluginConnection::release_header_images(CommandContext& context) {
  if (header_image == nullptr && header_image_hover == nullptr) {
    return;
  }
  HostSuites suites(*context.in_data);
  const DRAWBOT_SupplierSuite1& supplier = suites.get<DRAWBOT_SupplierSuite1>();
  for (DRAWBOT_ImageRef* image : {&header_image, &header_image_hover}) {
    if (*image != nullptr) {
      supplier.ReleaseObject(reinterpret_cast<DRAWBOT_ObjectRef>(*image));
      *image = nullptr;
    }
  }
}
