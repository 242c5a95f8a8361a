#pragma once

#include <cairo.h>

#include <memory>

// The toolkit's images (ui/images/), drawn with cairo from shapes and the line font of
// tools/line_font.h: nothing downloaded, no installed font, the same pixels on every run.
// Every function returns a new image surface of its own; frames are stacked vertically.
namespace ui_images {

using surface_ptr = std::unique_ptr<cairo_surface_t, decltype(&cairo_surface_destroy)>;

// 14 x 28, with alpha: the empty check box (rows 0 to 13), then the same box checked.
surface_ptr draw_checkbox();

// 28 x 24, with alpha: the warning sign of the message popup.
surface_ptr draw_message_popup_icon();

// 559 x 168, RGB without alpha: the effect's banner (rows 0 to 83), then the same banner with
// its product-page link lit. The two differ only inside the link area, columns 150 to 280 and
// rows 20 to 64 of each.
surface_ptr draw_effect_banner();

}  // namespace ui_images
