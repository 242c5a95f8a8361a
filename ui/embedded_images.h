#pragma once

#include <span>

// The PNG files of ui/images/, built into the module byte for byte (cmake/embedded_images.cmake)
// and named after their files. tools/generate_ui_images.cpp draws them.
namespace hxsdk::ui::embedded_images {

// 14 x 28: two 14 x 14 frames stacked, the empty check box and the checked one.
extern const std::span<const unsigned char> checkbox;
// 28 x 24, one frame: the warning sign of the message popup.
extern const std::span<const unsigned char> message_popup_icon;
// 559 x 168, RGB without alpha: the effect's banner (rows 0 to 83) above the same banner with
// its product-page link lit (rows 84 to 167).
extern const std::span<const unsigned char> effect_banner;

}  // namespace hxsdk::ui::embedded_images
