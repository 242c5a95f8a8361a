#include <gtest/gtest.h>

#include <cctype>

#include <algorithm>
#include <array>
#include <concepts>
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
using hxsdk::ui::margins;
using hxsdk::ui::style_value;

// The control families in the order the table is built.
constexpr std::array<std::string_view, 24> kFamilies = {
    "default_",      "checkbox_",    "message_popup_", "colorcontrol_", "dropdown_",
    "button_",       "menubar_",     "splitpanel_",    "tooltip_",      "multicolumn_",
    "tabcontainer_", "tabbutton_",   "float_",         "multicontrol_", "input_",
    "scroll_",       "label_",       "browser_",       "editparam_",    "multiwindow_",
    "node_",         "params_node_", "timeline_",      "curve_editor_"};

// Same kind and same value, for the kinds that can be compared directly.
bool same_value(const style_value& a, const style_value& b) {
  return a.index() == b.index() && std::visit(
                                       [&b](const auto& value) {
                                         using kind = std::decay_t<decltype(value)>;
                                         if constexpr (std::equality_comparable<kind>) {
                                           return value == std::get<kind>(b);
                                         } else {
                                           return false;
                                         }
                                       },
                                       a);
}

std::size_t family_of(std::string_view key) {
  for (std::size_t i = 0; i < kFamilies.size(); ++i) {
    if (key.starts_with(kFamilies[i])) {
      return i;
    }
  }
  return kFamilies.size();
}

TEST(UiStyleTable, KeysComeInTheirFamiliesOrderOnceEach) {
  const std::vector<std::string_view>& keys = default_style_keys();
  ASSERT_EQ(keys.size(), 295u);
  EXPECT_EQ(keys.front(), "default_back_color");
  EXPECT_EQ(keys[14], "checkbox_image");
  EXPECT_EQ(keys[54], "button_color_normal");
  EXPECT_EQ(keys[165], "label_font_name");
  EXPECT_EQ(keys.back(), "curve_editor_mark_control_image");
  EXPECT_EQ(std::set<std::string_view>(keys.begin(), keys.end()).size(), keys.size());

  // Each family starts after the one before it; a few stragglers of earlier families follow
  // the curve editor's keys at the very end.
  std::vector<std::size_t> first_seen;
  for (const std::string_view key : keys) {
    const std::size_t family = family_of(key);
    ASSERT_LT(family, kFamilies.size()) << key;
    if (std::find(first_seen.begin(), first_seen.end(), family) == first_seen.end()) {
      first_seen.push_back(family);
    }
    EXPECT_NE(default_styles().find(key), nullptr) << key;
  }
  for (std::size_t i = 0; i < first_seen.size(); ++i) {
    EXPECT_EQ(first_seen[i], i);
  }
  const auto position = [&keys](std::string_view key) {
    return std::find(keys.begin(), keys.end(), key) - keys.begin();
  };
  EXPECT_EQ(position("node_port_output_image"), position("curve_editor_grid_color") + 1);
  EXPECT_EQ(position("timeline_margins"), 293);
}

// Every value has the kind its key's name promises: a font size read as a float must not be an
// int, or the lookup would quietly give 0.
TEST(UiStyleTable, EveryValueHasTheKindItsNameSays) {
  const auto ends_with = [](std::string_view key, std::string_view end) {
    return key.ends_with(end);
  };
  for (const std::string_view key : default_style_keys()) {
    SCOPED_TRACE(key);
    const style_value& value = *default_styles().find(key);
    if (ends_with(key, "_font_name")) {
      ASSERT_TRUE(std::holds_alternative<std::string>(value));
      EXPECT_EQ(std::get<std::string>(value), "Tahoma");
    } else if (ends_with(key, "_font_size") || ends_with(key, "_width") ||
               ends_with(key, "_thickness")) {
      ASSERT_TRUE(std::holds_alternative<float>(value));
      EXPECT_GT(std::get<float>(value), 0.0f);
    } else if (ends_with(key, "_font_style") || ends_with(key, "_font_weight") ||
               ends_with(key, "_align") || ends_with(key, "_valign")) {
      ASSERT_TRUE(std::holds_alternative<int>(value));
      EXPECT_GE(std::get<int>(value), 0);
      EXPECT_LE(std::get<int>(value), 2);
    } else if (ends_with(key, "_image")) {
      ASSERT_TRUE(std::holds_alternative<image_source>(value));
      const image_source& picture = std::get<image_source>(value);
      if (!picture.has_data()) {
        EXPECT_EQ(picture.data, nullptr);
        EXPECT_EQ(picture.size, 0u);
        EXPECT_EQ(picture.frames, 1);
        EXPECT_EQ(picture.scale, 1.0f);
      }
    } else if (ends_with(key, "_underlined") || ends_with(key, "_strech")) {
      EXPECT_TRUE(std::holds_alternative<bool>(value));
    } else if (key.find("color") != std::string_view::npos ||
               (key.find("gradient_") != std::string_view::npos && std::isdigit(key.back()))) {
      ASSERT_TRUE(std::holds_alternative<color>(value));
      const color c = std::get<color>(value);
      for (const float channel : {c.r, c.g, c.b, c.a}) {
        EXPECT_GE(channel, 0.0f);
        EXPECT_LE(channel, 1.0f);
      }
    }
  }
}

// The values the message popup and the About dialog are built on.
TEST(UiStyleTable, DialogFamiliesHaveTheirLongStandingDefaults) {
  const color white{1, 1, 1, 1};
  const color clear{0, 0, 0, 0};
  const color hover{0.239f, 0.247f, 0.263f, 1};
  const std::string tahoma = "Tahoma";
  const std::vector<std::pair<std::string_view, style_value>> listed = {
      {"default_back_color", color{1, 0, 1, 1}},
      {"default_border_color", clear},
      {"default_border_width", 1.0f},
      {"label_font_name", tahoma},
      {"label_font_style", 0},
      {"label_font_weight", 0},
      {"label_font_size", 11.0f},
      {"label_font_color", white},
      {"label_text_align", 0},
      {"label_text_valign", 0},
      {"label_text_underlined", false},
      {"button_color_normal", color{0.173f, 0.176f, 0.192f, 1}},
      {"button_color_hover", hover},
      {"button_color_toggle", color{0.188f, 0.29f, 0.506f, 1}},
      {"button_color_pressed", hover},
      {"button_border_color_normal", clear},
      {"button_border_color_hover", white},
      {"button_border_color_focus", color{0.6f, 0.6f, 0.6f, 1}},
      {"button_font_name", tahoma},
      {"button_font_style", 0},
      {"button_font_weight", 2},
      {"button_font_color", white},
      {"button_font_color_hover", white},
      {"button_font_color_pressed", white},
      {"button_font_size", 11.0f},
      {"button_font_alignment", 1},
      {"button_font_vertical_alignment", 0},
      {"button_text_underlined", false},
      {"button_back_image_strech", false},
      {"checkbox_back_color", clear},
      {"checkbox_border_color_normal", color{0.294f, 0.294f, 0.294f, 1}},
      {"checkbox_border_color_hover", white},
      {"checkbox_border_color_focus", color{0.255f, 0.584f, 0.753f, 1}},
      {"checkbox_border_width", 1.0f},
      {"checkbox_font_name", tahoma},
      {"checkbox_font_style", 0},
      {"checkbox_font_weight", 0},
      {"checkbox_font_color", white},
      {"checkbox_font_size", 11.0f},
      {"checkbox_text_gap", 5},
      {"message_popup_back_color", color{0.114f, 0.118f, 0.133f, 1}},
      {"message_popup_font_name", tahoma},
      {"message_popup_font_style", 0},
      {"message_popup_font_weight", 0},
      {"message_popup_font_color", white},
      {"message_popup_font_size", 11.0f},
      {"message_popup_text_align", 1},
      {"message_popup_button_align", 1},
      {"message_popup_component_margins", 10},
      {"tooltip_font_name", tahoma},
      {"tooltip_title_font_name", tahoma},
      {"tooltip_font_size", 11.0f},
      {"tooltip_title_font_size", 11.0f},
      {"tooltip_title_font_weight", 2},
  };
  for (const auto& [key, expected] : listed) {
    SCOPED_TRACE(key);
    const style_value* value = default_styles().find(key);
    ASSERT_NE(value, nullptr);
    EXPECT_TRUE(same_value(*value, expected));
  }

  const margins window = std::get<margins>(*default_styles().find("message_popup_window_margins"));
  EXPECT_EQ(window.horizontal, 20);
  EXPECT_EQ(window.vertical, 20);
  EXPECT_FALSE(std::get<image_source>(*default_styles().find("button_back_image")).has_data());

  struct embedded {
    std::string_view key;
    std::span<const unsigned char> png;
    int frames;
  };
  for (const embedded& e :
       {embedded{"checkbox_image", hxsdk::ui::embedded_images::checkbox, 2},
        embedded{"message_popup_image", hxsdk::ui::embedded_images::message_popup_icon, 1}}) {
    SCOPED_TRACE(e.key);
    const image_source picture = std::get<image_source>(*default_styles().find(e.key));
    EXPECT_EQ(picture.data, e.png.data());
    EXPECT_EQ(picture.size, e.png.size());
    EXPECT_EQ(picture.frames, e.frames);
    EXPECT_EQ(picture.scale, 1.0f);
  }
}

TEST(UiStyleTable, OwnValuesComeBeforeTheDefaults) {
  hxsdk::ui::style_map own;
  own.set("label_font_size", 14.0f);
  EXPECT_EQ(hxsdk::ui::lookup_style<float>(own, "label_font_size"), 14.0f);
  EXPECT_EQ(hxsdk::ui::lookup_style<float>(own, "button_font_size"), 11.0f);
  EXPECT_EQ(hxsdk::ui::lookup_style<int>(own, "label_font_size"), 0);  // not an int
  EXPECT_EQ(hxsdk::ui::lookup_style<std::string>(own, "no_such_key"), "");
}

}  // namespace
