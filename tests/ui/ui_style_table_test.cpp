#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "ui/embedded_images.h"
#include "ui/style.h"

namespace {

using hxsdk::ui::color;
using hxsdk::ui::default_style_keys;
using hxsdk::ui::default_styles;
using hxsdk::ui::image_source;
using hxsdk::ui::style_value;

// 295 keys, each once; a few positions that the families' order fixes.
TEST(UiStyleTable, KeysComeInTheirFamiliesOrderOnceEach) {
  const std::vector<std::string_view>& keys = default_style_keys();
  ASSERT_EQ(keys.size(), 295u);
  EXPECT_EQ(keys[0], "default_back_color");
  EXPECT_EQ(keys[14], "checkbox_image");
  EXPECT_EQ(keys[54], "button_color_normal");
  EXPECT_EQ(keys.back(), "curve_editor_mark_control_image");
  EXPECT_EQ(std::set<std::string_view>(keys.begin(), keys.end()).size(), keys.size());
}

// Every value has the kind its key's name promises: a font size stored as an int would be read
// as a float of 0.
TEST(UiStyleTable, EveryValueHasTheKindItsNameSays) {
  for (const std::string_view key : default_style_keys()) {
    SCOPED_TRACE(key);
    const style_value& value = *default_styles().find(key);
    if (key.ends_with("_font_name")) {
      EXPECT_EQ(std::get<std::string>(value), "Tahoma");
    } else if (key.ends_with("_font_size") || key.ends_with("_width") ||
               key.ends_with("_thickness")) {
      EXPECT_GT(std::get<float>(value), 0.0f);
    } else if (key.ends_with("_font_style") || key.ends_with("_font_weight") ||
               key.ends_with("_align") || key.ends_with("_valign")) {
      EXPECT_GE(std::get<int>(value), 0);
      EXPECT_LE(std::get<int>(value), 2);
    } else if (key.ends_with("_image")) {
      const image_source& picture = std::get<image_source>(value);
      EXPECT_TRUE(picture.has_data() || (picture.frames == 1 && picture.scale == 1.0f));
    } else if (key.ends_with("_underlined") || key.ends_with("_strech")) {
      EXPECT_TRUE(std::holds_alternative<bool>(value));
    } else if (key.find("color") != std::string_view::npos ||
               (key.find("gradient_") != std::string_view::npos && std::isdigit(key.back()))) {
      const color c = std::get<color>(value);
      for (const float channel : {c.r, c.g, c.b, c.a}) {
        EXPECT_TRUE(channel >= 0.0f && channel <= 1.0f);
      }
    }
  }
}

// A widget's own value comes first; a key of another kind than asked for, or none, gives zero.
// The two embedded images are where the defaults point, with their frames.
TEST(UiStyleTable, OwnValuesComeBeforeTheDefaults) {
  hxsdk::ui::style_map own;
  own.set("label_font_size", 14.0f);
  EXPECT_EQ(hxsdk::ui::lookup_style<float>(own, "label_font_size"), 14.0f);
  EXPECT_EQ(hxsdk::ui::lookup_style<float>(own, "button_font_size"), 11.0f);
  EXPECT_EQ(hxsdk::ui::lookup_style<int>(own, "label_font_size"), 0);
  EXPECT_EQ(hxsdk::ui::lookup_style<std::string>(own, "no_such_key"), "");

  const auto embedded = [&](std::string_view key) {
    return hxsdk::ui::lookup_style<image_source>(own, key);
  };
  EXPECT_EQ(embedded("checkbox_image").data, hxsdk::ui::embedded_images::checkbox.data());
  EXPECT_EQ(embedded("checkbox_image").frames, 2);
  EXPECT_EQ(embedded("message_popup_image").size,
            hxsdk::ui::embedded_images::message_popup_icon.size());
  EXPECT_EQ(embedded("message_popup_image").frames, 1);
}

}  // namespace
