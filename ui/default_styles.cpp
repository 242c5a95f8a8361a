#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "ui/embedded_images.h"
#include "ui/style.h"

namespace hxsdk::ui {
namespace {

using style_entry = std::pair<std::string_view, style_value>;

// A dark theme: the families the dialogs use keep their long-standing values, and the others
// are chosen to sit beside them (the same greys, the blue of a toggled button for selections,
// the cyan of a focused check box for focus and current items).
constexpr color kMagenta{1.0f, 0.0f, 1.0f, 1.0f};
constexpr color kTransparent{0.0f, 0.0f, 0.0f, 0.0f};
constexpr color kWhite{1.0f, 1.0f, 1.0f, 1.0f};
constexpr color kSilver{0.6f, 0.6f, 0.6f, 1.0f};
constexpr color kDimmed{0.5f, 0.5f, 0.5f, 1.0f};
constexpr color kFrame{0.294f, 0.294f, 0.294f, 1.0f};
constexpr color kWell{0.086f, 0.09f, 0.102f, 1.0f};
constexpr color kPanel{0.114f, 0.118f, 0.133f, 1.0f};
constexpr color kGrid{0.161f, 0.165f, 0.184f, 1.0f};
constexpr color kFace{0.173f, 0.176f, 0.192f, 1.0f};
constexpr color kFaceHover{0.239f, 0.247f, 0.263f, 1.0f};
constexpr color kSelection{0.188f, 0.29f, 0.506f, 1.0f};
constexpr color kSelectionDeep{0.141f, 0.22f, 0.388f, 1.0f};
constexpr color kSelectionVeil{0.188f, 0.29f, 0.506f, 0.3f};
constexpr color kFocus{0.255f, 0.584f, 0.753f, 1.0f};
constexpr color kFocusLight{0.455f, 0.741f, 0.886f, 1.0f};
constexpr color kFocusVeil{0.255f, 0.584f, 0.753f, 0.2f};
constexpr color kGhost{0.6f, 0.6f, 0.6f, 0.4f};

constexpr float kTextSize = 11.0f;
constexpr int kNormal = 0;  // weight and style code
constexpr int kBold = 2;    // weight code
constexpr image_source kNoImage{};

std::vector<style_entry> make_default_entries() {
  const image_source check_box_frames{embedded_images::checkbox.data(),
                                      embedded_images::checkbox.size(), 2, 1.0f};
  const image_source warning_sign{embedded_images::message_popup_icon.data(),
                                  embedded_images::message_popup_icon.size(), 1, 1.0f};
  const std::string family = "Tahoma";
  return {
      {"default_back_color", kMagenta},
      {"default_border_color", kTransparent},
      {"default_border_width", 1.0f},
      {"checkbox_back_color", kTransparent},
      {"checkbox_border_color_normal", kFrame},
      {"checkbox_border_color_hover", kWhite},
      {"checkbox_border_color_focus", kFocus},
      {"checkbox_border_width", 1.0f},
      {"checkbox_font_name", family},
      {"checkbox_font_style", kNormal},
      {"checkbox_font_weight", kNormal},
      {"checkbox_font_color", kWhite},
      {"checkbox_font_size", kTextSize},
      {"checkbox_text_gap", 5},
      {"checkbox_image", check_box_frames},
      {"message_popup_back_color", kPanel},
      {"message_popup_font_name", family},
      {"message_popup_font_style", kNormal},
      {"message_popup_font_weight", kNormal},
      {"message_popup_font_color", kWhite},
      {"message_popup_font_size", kTextSize},
      {"message_popup_text_align", 1},
      {"message_popup_button_align", 1},
      {"message_popup_image", warning_sign},
      {"message_popup_window_margins", margins{20, 20}},
      {"message_popup_component_margins", 10},
      {"colorcontrol_gradient_1", kFaceHover},
      {"colorcontrol_gradient_2", kFace},
      {"colorcontrol_border_color_normal", kFrame},
      {"colorcontrol_border_color_hover", kWhite},
      {"colorcontrol_border_color_focus", kFocus},
      {"colorcontrol_back_color_disabled", kPanel},
      {"dropdown_text_part_color", kFace},
      {"dropdown_text_part_color_hover", kFaceHover},
      {"dropdown_gradient_text", false},
      {"dropdown_gradient_text_1", kFaceHover},
      {"dropdown_gradient_text_2", kFace},
      {"dropdown_button_part_color", kFace},
      {"dropdown_button_part_color_hover", kFaceHover},
      {"dropdown_gradient_button", false},
      {"dropdown_gradient_button_1", kFaceHover},
      {"dropdown_gradient_button_2", kFace},
      {"dropdown_button_image", kNoImage},
      {"dropdown_border_color_normal", kFrame},
      {"dropdown_border_color_hover", kWhite},
      {"dropdown_border_color_focus", kFocus},
      {"dropdown_font_name", family},
      {"dropdown_font_style", kNormal},
      {"dropdown_font_weight", kNormal},
      {"dropdown_font_color", kWhite},
      {"dropdown_font_color_extra", kSilver},
      {"dropdown_font_size", kTextSize},
      {"dropdown_font_size_extra", 9.0f},
      {"dropdown_text_align", 0},
      {"button_color_normal", kFace},
      {"button_color_hover", kFaceHover},
      {"button_color_toggle", kSelection},
      {"button_color_pressed", kFaceHover},
      {"button_border_color_normal", kTransparent},
      {"button_border_color_hover", kWhite},
      {"button_border_color_focus", kSilver},
      {"button_font_name", family},
      {"button_font_style", kNormal},
      {"button_font_weight", kBold},
      {"button_font_color", kWhite},
      {"button_font_color_hover", kWhite},
      {"button_font_color_pressed", kWhite},
      {"button_font_size", kTextSize},
      {"button_font_alignment", 1},
      {"button_font_vertical_alignment", 0},
      {"button_text_underlined", false},
      {"button_back_image", kNoImage},
      {"button_back_image_strech", false},
      {"menubar_back_color_selected", kSelection},
      {"menubar_back_color_highlight", kFaceHover},
      {"menubar_font_name", family},
      {"menubar_font_style", kNormal},
      {"menubar_font_weight", kNormal},
      {"menubar_font_color", kWhite},
      {"menubar_font_color_selected", kWhite},
      {"menubar_font_color_highlight", kWhite},
      {"menubar_font_size", kTextSize},
      {"splitpanel_back_color", kPanel},
      {"splitpanel_border_color_1", kFrame},
      {"splitpanel_border_color_2", kWell},
      {"splitpanel_mark_color", kSilver},
      {"splitpanel_split_thickness", 4.0f},
      {"tooltip_back_color", kFace},
      {"tooltip_border_color", kFrame},
      {"tooltip_border_color_1", kWell},
      {"tooltip_font_name", family},
      {"tooltip_font_style", kNormal},
      {"tooltip_font_weight", kNormal},
      {"tooltip_font_color", kWhite},
      {"tooltip_font_size", kTextSize},
      {"tooltip_title_font_name", family},
      {"tooltip_title_font_style", kNormal},
      {"tooltip_title_font_weight", kBold},
      {"tooltip_title_font_color", kWhite},
      {"tooltip_title_font_size", kTextSize},
      {"multicolumn_header_color", kFace},
      {"multicolumn_header_divider_color", kFrame},
      {"multicolumn_header_font_name", family},
      {"multicolumn_header_font_style", kNormal},
      {"multicolumn_header_font_weight", kBold},
      {"multicolumn_header_font_color", kWhite},
      {"multicolumn_header_font_size", kTextSize},
      {"multicolumn_font_name", family},
      {"multicolumn_font_style", kNormal},
      {"multicolumn_font_weight", kNormal},
      {"multicolumn_font_size", kTextSize},
      {"multicolumn_font_color", kWhite},
      {"multicolumn_font_color_selected", kWhite},
      {"multicolumn_font_color_disabled", kDimmed},
      {"multicolumn_back_color_selected", kSelection},
      {"multicolumn_font_color_highlighted", kFocusLight},
      {"multicolumn_divider_color", kFrame},
      {"multicolumn_line_color", kGrid},
      {"tabcontainer_line_color", kFrame},
      {"tabbutton_gradient_1", kFace},
      {"tabbutton_gradient_2", kPanel},
      {"tabbutton_gradient_1_selected", kSelection},
      {"tabbutton_gradient_2_selected", kSelectionDeep},
      {"tabbutton_gradient_1_hover", kFaceHover},
      {"tabbutton_font_name", family},
      {"tabbutton_font_style", kNormal},
      {"tabbutton_font_weight", kNormal},
      {"tabbutton_font_size", kTextSize},
      {"tabbutton_font_color", kSilver},
      {"tabbutton_font_color_selected", kWhite},
      {"float_font_name", family},
      {"float_font_style", kNormal},
      {"float_font_weight", kNormal},
      {"float_font_size", kTextSize},
      {"float_font_color", kWhite},
      {"float_font_color_disabled", kDimmed},
      {"float_input_back_color", kWell},
      {"float_input_font_color", kWhite},
      {"float_input_font_default_text_color", kDimmed},
      {"float_precision", 3},
      {"multicontrol_font_name", family},
      {"multicontrol_font_size", kTextSize},
      {"multicontrol_font_weight", kNormal},
      {"multicontrol_font_style", kNormal},
      {"multicontrol_font_color", kWhite},
      {"multicontrol_lock_image", kNoImage},
      {"input_border_color", kFrame},
      {"input_selection_color", kSelection},
      {"input_ime_cursor_color", kWhite},
      {"input_ime_block_color", kFocus},
      {"input_font_name", family},
      {"input_font_style", kNormal},
      {"input_font_weight", kNormal},
      {"input_font_size", kTextSize},
      {"input_font_color", kWhite},
      {"input_font_color_selected", kWhite},
      {"input_inside_margins", margins{4, 2}},
      {"input_font_default_text_color", kDimmed},
      {"scroll_button_back_color", kFace},
      {"scroll_button_line_color", kFrame},
      {"scroll_button_arrow_image", kNoImage},
      {"scroll_bar_back_color", kFaceHover},
      {"scroll_bar_line_color", kFrame},
      {"scroll_back_color", kWell},
      {"scroll_min_size", 16.0f},
      {"label_font_name", family},
      {"label_font_style", kNormal},
      {"label_font_weight", kNormal},
      {"label_font_size", kTextSize},
      {"label_font_color", kWhite},
      {"label_text_align", 0},
      {"label_text_valign", 0},
      {"label_text_underlined", false},
      {"browser_back_color", kWell},
      {"browser_back_color_hover", kFace},
      {"browser_back_color_selected", kSelection},
      {"browser_font_color", kWhite},
      {"browser_font_color_hover", kWhite},
      {"browser_font_color_selected", kWhite},
      {"browser_font_name", family},
      {"browser_font_style", kNormal},
      {"browser_font_weight", kNormal},
      {"browser_font_weight_selected", kBold},
      {"browser_font_size", kTextSize},
      {"browser_scroll_width", 12.0f},
      {"browser_expand_image", kNoImage},
      {"browser_folder_image", kNoImage},
      {"browser_pack_image", kNoImage},
      {"browser_stared_image", kNoImage},
      {"browser_alien_image", kNoImage},
      {"browser_virtual_image", kNoImage},
      {"editparam_height", 22.0f},
      {"editparam_margins", margins{4, 2}},
      {"editparam_flex_param", 1},
      {"editparam_param_offset", 120.0f},
      {"editparam_back_color", kPanel},
      {"editparam_back_color_hover", kFace},
      {"editparam_font_color", kWhite},
      {"editparam_font_color_disabled", kDimmed},
      {"editparam_font_name", family},
      {"editparam_font_style", kNormal},
      {"editparam_font_weight", kNormal},
      {"editparam_font_size", kTextSize},
      {"editparam_title_height", 24.0f},
      {"editparam_title_back_color", kFace},
      {"editparam_title_font_weight", kBold},
      {"editparam_title_font_color", kWhite},
      {"editparam_icon_image", kNoImage},
      {"editparam_combo_size", 120.0f},
      {"editparam_float_size", 60.0f},
      {"editparam_keyframe_color", kSilver},
      {"editparam_keyframe_color_active", kFocus},
      {"editparam_keyframe_color_inactive", kFrame},
      {"editparam_keyframe_size", 9.0f},
      {"multiwindow_back_color", kPanel},
      {"multiwindow_border_width", 1.0f},
      {"multiwindow_border_color", kFrame},
      {"multiwindow_title_back_color", kFace},
      {"multiwindow_tab_color", kFace},
      {"multiwindow_tab_color_selected", kFaceHover},
      {"multiwindow_tab_gradient", false},
      {"multiwindow_tab_gradient_1", kFaceHover},
      {"multiwindow_tab_gradient_2", kFace},
      {"multiwindow_tab_gradient_1_selected", kSelection},
      {"multiwindow_tab_gradient_2_selected", kSelectionDeep},
      {"multiwindow_tab_line_color", kFrame},
      {"multiwindow_tab_line_color_selected", kFocus},
      {"multiwindow_tab_split_line_color", kFrame},
      {"multiwindow_tab_font_name", family},
      {"multiwindow_tab_font_style", kNormal},
      {"multiwindow_tab_font_weight", kNormal},
      {"multiwindow_tab_font_size", kTextSize},
      {"multiwindow_tab_font_color", kWhite},
      {"multiwindow_tab_height", 24.0f},
      {"multiwindow_button_color", kFace},
      {"multiwindow_button_color_hover", kFaceHover},
      {"multiwindow_button_image", kNoImage},
      {"multiwindow_button_border_color_hover", kWhite},
      {"node_back_color", kFace},
      {"node_expand_button_image", kNoImage},
      {"node_border_color_normal", kFrame},
      {"node_border_color_hover", kWhite},
      {"node_border_color_selected", kFocus},
      {"node_border_color_focus", kSilver},
      {"node_port_back_color_normal", kPanel},
      {"node_port_back_color_hover", kFaceHover},
      {"node_port_border_color_normal", kFrame},
      {"node_port_border_color_hover", kWhite},
      {"node_port_input_image", kNoImage},
      {"node_link_color_normal", kSilver},
      {"node_link_color_ghost", kGhost},
      {"node_link_color_hover", kWhite},
      {"node_link_color_selected", kFocus},
      {"node_link_color_selected_hover", kFocusLight},
      {"node_link_thickness", 2.0f},
      {"node_canvas_grid_color", kGrid},
      {"node_canvas_selection_back_color", kFocusVeil},
      {"node_canvas_selection_border_color", kFocus},
      {"params_node_panel_size", 18.0f},
      {"params_node_panel_font_color", kWhite},
      {"timeline_back_color", kWell},
      {"timeline_mark_height", 6.0f},
      {"timeline_mark_color", kSilver},
      {"timeline_indicator_width", 2.0f},
      {"timeline_indicator_color_normal", kFocus},
      {"timeline_indicator_color_hover", kFocusLight},
      {"timeline_indicator_image", kNoImage},
      {"timeline_font_name", family},
      {"timeline_font_style", kNormal},
      {"timeline_font_weight", kNormal},
      {"timeline_font_size", kTextSize},
      {"timeline_font_color", kSilver},
      {"timeline_key_mark_size", 8.0f},
      {"timeline_key_mark_color_normal", kSilver},
      {"timeline_key_mark_color_hover", kWhite},
      {"timeline_key_mark_image", kNoImage},
      {"timeline_loop_mark_image", kNoImage},
      {"timeline_loop_mark_color", kSelection},
      {"timeline_loop_back_color", kSelectionVeil},
      {"curve_editor_mark_color_normal", kSilver},
      {"curve_editor_mark_color_hover", kWhite},
      {"curve_editor_mark_image", kNoImage},
      {"curve_editor_mark_control_color", kFocus},
      {"curve_editor_curve_thickness", 1.5f},
      {"curve_editor_grid_color", kGrid},
      {"node_port_output_image", kNoImage},
      {"node_link_glow", 4.0f},
      {"params_node_panel_port_output_size", 8.0f},
      {"params_node_panel_port_input_size", 8.0f},
      {"params_node_panel_font_name", family},
      {"params_node_panel_font_size", kTextSize},
      {"params_node_panel_font_weight", kNormal},
      {"params_node_panel_font_style", kNormal},
      {"timeline_margins", margins{8, 4}},
      {"curve_editor_mark_control_image", kNoImage},
  };
}

const std::vector<style_entry>& default_entries() {
  static const std::vector<style_entry> entries = make_default_entries();
  return entries;
}

}  // namespace

const style_map& default_styles() {
  static const style_map table = [] {
    style_map built;
    for (const auto& [key, value] : default_entries()) {
      built.set(std::string(key), value);
    }
    return built;
  }();
  return table;
}

const std::vector<std::string_view>& default_style_keys() {
  static const std::vector<std::string_view> keys = [] {
    std::vector<std::string_view> in_order;
    for (const auto& entry : default_entries()) {
      in_order.push_back(entry.first);
    }
    return in_order;
  }();
  return keys;
}

}  // namespace hxsdk::ui
