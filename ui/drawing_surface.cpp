#include "ui/drawing_surface.h"

#include <cairo.h>
#include <pango/pangocairo.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string>

#include "plugin/hx_exception.h"
#include "ui/image.h"

namespace hxsdk::ui {
namespace {

// One brush per kind of use; each takes its colour right before it is used.
enum brush_role : std::size_t { fill_brush, outline_brush, dotted_brush, text_brush, brush_count };

// Dots and gaps as long as the line is wide. The outline's path runs half a line width inside
// the corner, so starting one and a half dots into the pattern puts the dots on whole line
// widths from the corner: at 96 DPI, on whole pixels.
constexpr double kDotLength = 1.0;
constexpr double kGapLength = 1.0;
constexpr double kDotPhase = 1.5;

// Pango measures in 32-bit fixed point: wider layouts than this would overflow it, and no
// window is that wide.
constexpr float kWidestLayout = 100000.0f;
// Font sizes outside this range give the font rasteriser nothing sensible to draw.
constexpr float kSmallestFont = 0.1f;
constexpr float kLargestFont = 4096.0f;

constexpr int kShadowStopCount = 21;

bool succeeded(cairo_status_t status) {
  return status == CAIRO_STATUS_SUCCESS;
}

std::uint32_t to_byte(float channel) {
  if (!(channel > 0.0f)) {
    return 0;
  }
  return channel >= 1.0f ? 255u : static_cast<std::uint32_t>(std::lround(channel * 255.0f));
}

// Cairo's ARGB32: one native-endian word, colour premultiplied by alpha.
std::uint32_t premultiplied_argb(const color& c) {
  const float alpha = c.a >= 1.0f ? 1.0f : (c.a > 0.0f ? c.a : 0.0f);
  return to_byte(alpha) << 24 | to_byte(c.r * alpha) << 16 | to_byte(c.g * alpha) << 8 |
         to_byte(c.b * alpha);
}

// Cairo's solid patterns cannot change colour once made; a pattern over one repeated pixel can,
// by rewriting the pixel.
cairo_pattern_t* make_brush() {
  cairo_surface_t* pixel = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, 1, 1);
  cairo_pattern_t* brush = cairo_pattern_create_for_surface(pixel);
  cairo_surface_destroy(pixel);
  cairo_pattern_set_extend(brush, CAIRO_EXTEND_REPEAT);
  cairo_pattern_set_filter(brush, CAIRO_FILTER_NEAREST);
  return brush;
}

bool usable_brush(cairo_pattern_t* brush) {
  cairo_surface_t* pixel = nullptr;
  return succeeded(cairo_pattern_status(brush)) &&
         succeeded(cairo_pattern_get_surface(brush, &pixel)) &&
         succeeded(cairo_surface_status(pixel)) && cairo_image_surface_get_data(pixel) != nullptr;
}

// Black fading outwards from the centre of a unit circle.
cairo_pattern_t* make_shadow_gradient() {
  cairo_pattern_t* gradient = cairo_pattern_create_radial(0.0, 0.0, 0.0, 0.0, 0.0, 1.0);
  for (const auto& [offset, alpha] : drawing_surface::shadow_stops()) {
    cairo_pattern_add_color_stop_rgba(gradient, offset, 0.0, 0.0, 0.0, alpha);
  }
  return gradient;
}

PangoWeight font_weight(int weight_code) {
  switch (weight_code) {
    case 1:
      return PANGO_WEIGHT_LIGHT;
    case 2:
      return PANGO_WEIGHT_BOLD;
    default:
      return PANGO_WEIGHT_NORMAL;
  }
}

PangoAlignment horizontal_alignment(int code) {
  switch (code) {
    case 0:
      return PANGO_ALIGN_LEFT;
    case 2:
      return PANGO_ALIGN_RIGHT;
    default:
      return PANGO_ALIGN_CENTER;
  }
}

// Where text `text_height` tall starts below the top of a box `box_height` tall.
double vertical_offset(int code, double box_height, double text_height) {
  switch (code) {
    case 1:
      return 0.0;
    case 2:
      return box_height - text_height;
    default:
      return (box_height - text_height) / 2.0;
  }
}

// Pango takes UTF-8 only: stray bytes become replacement characters instead of warnings.
std::string valid_utf8(std::string_view text) {
  if (g_utf8_validate(text.data(), static_cast<gssize>(text.size()), nullptr)) {
    return std::string(text);
  }
  gchar* repaired = g_utf8_make_valid(text.data(), static_cast<gssize>(text.size()));
  std::string result(repaired);
  g_free(repaired);
  return result;
}

// An outline `line_width` wide lying inside `area`; one too thick for the area fills it.
void stroke_inside(cairo_t* cr, const rectf& area, float line_width) {
  if (area.width <= line_width || area.height <= line_width) {
    cairo_rectangle(cr, area.x, area.y, area.width, area.height);
    cairo_fill(cr);
    return;
  }
  const double inset = line_width / 2.0;
  cairo_set_line_width(cr, line_width);
  cairo_rectangle(cr, area.x + inset, area.y + inset, area.width - line_width,
                  area.height - line_width);
  cairo_stroke(cr);
}

bool drawable(const rectf& area) {
  return area.width > 0.0f && area.height > 0.0f;
}

// Fills `area` with `gradient` centred at `centre` and stretched to `radius_x` by `radius_y`.
void fill_with_gradient(cairo_t* cr, cairo_pattern_t* gradient, const rectf& area, double centre_x,
                        double centre_y, double radius_x, double radius_y) {
  cairo_matrix_t to_gradient;
  cairo_matrix_init_scale(&to_gradient, 1.0 / radius_x, 1.0 / radius_y);
  cairo_matrix_translate(&to_gradient, -centre_x, -centre_y);
  cairo_pattern_set_matrix(gradient, &to_gradient);
  cairo_set_source(cr, gradient);
  cairo_rectangle(cr, area.x, area.y, area.width, area.height);
  cairo_fill(cr);
}

}  // namespace

drawing_surface::drawing_surface(int pixel_width, int pixel_height, float pixels_per_dip_x,
                                 float pixels_per_dip_y) {
  // A scale that is not a positive number stands for 96 DPI, as an unknown DPI does.
  const auto usable_scale = [](float scale) { return std::isfinite(scale) && scale > 0.0f; };
  scale_x_ = usable_scale(pixels_per_dip_x) ? pixels_per_dip_x : 1.0f;
  scale_y_ = usable_scale(pixels_per_dip_y) ? pixels_per_dip_y : 1.0f;
  try {
    create_target(pixel_width, pixel_height);

    for (std::size_t i = 0; i < brush_count; ++i) {
      brushes_.push_back(make_brush());
      if (!usable_brush(brushes_.back())) {
        throw hx_exception("unable to create one or more solid brushes");
      }
    }

    dots_ = {kDotLength, kGapLength};
    cairo_set_dash(cr_, dots_.data(), static_cast<int>(dots_.size()), 0.0);
    if (!succeeded(cairo_status(cr_))) {
      throw hx_exception("unable to initialize the dotted stroke");
    }
    cairo_set_dash(cr_, nullptr, 0, 0.0);

    PangoFontMap* fonts = pango_cairo_font_map_get_default();
    if (fonts == nullptr) {
      throw hx_exception("unable to create the write factory");
    }
    PangoContext* context = pango_font_map_create_context(fonts);
    if (context == nullptr) {
      throw hx_exception("unable to initialize the d2d write factory");
    }
    pango_context_set_language(context, pango_language_from_string("en-us"));
    // Grey antialiasing: the same pixels on every screen, whatever its sub-pixel order.
    cairo_font_options_t* options = cairo_font_options_create();
    cairo_font_options_set_antialias(options, CAIRO_ANTIALIAS_GRAY);
    pango_cairo_context_set_font_options(context, options);
    cairo_font_options_destroy(options);
    layout_ = pango_layout_new(context);
    g_object_unref(context);
    if (layout_ == nullptr) {
      throw hx_exception("unable to initialize the d2d write factory");
    }
    pango_layout_set_wrap(layout_, PANGO_WRAP_WORD_CHAR);
    apply_font();

    shadow_corner_ = make_shadow_gradient();
    shadow_edge_ = make_shadow_gradient();
    if (!succeeded(cairo_pattern_status(shadow_corner_)) ||
        !succeeded(cairo_pattern_status(shadow_edge_))) {
      throw hx_exception("unable to initialize the shadow gradients");
    }
  } catch (...) {
    release();
    throw;
  }
}

drawing_surface::~drawing_surface() {
  release();
}

void drawing_surface::release() {
  if (layout_ != nullptr) {
    g_object_unref(layout_);
    layout_ = nullptr;
  }
  cairo_pattern_destroy(shadow_corner_);
  cairo_pattern_destroy(shadow_edge_);
  shadow_corner_ = shadow_edge_ = nullptr;
  for (cairo_pattern_t* brush : brushes_) {
    cairo_pattern_destroy(brush);
  }
  brushes_.clear();
  cairo_destroy(cr_);
  cairo_surface_destroy(target_);
  cr_ = nullptr;
  target_ = nullptr;
}

// The new target replaces the old one only once it exists, so a failed resize leaves the
// surface as it was. A 0 x 0 target is a valid, empty one.
void drawing_surface::create_target(int pixel_width, int pixel_height) {
  cairo_surface_t* target =
      cairo_image_surface_create(CAIRO_FORMAT_ARGB32, pixel_width, pixel_height);
  if (!succeeded(cairo_surface_status(target))) {
    cairo_surface_destroy(target);
    throw hx_exception("unable to create a d2d render target");
  }
  // Cairo has no factory object; its drawing context, which every drawing goes through, is
  // what can fail in its place.
  cairo_t* cr = cairo_create(target);
  if (!succeeded(cairo_status(cr))) {
    cairo_destroy(cr);
    cairo_surface_destroy(target);
    throw hx_exception("unable to create a d2d resource factory");
  }
  cairo_scale(cr, scale_x_, scale_y_);
  cairo_set_antialias(cr, CAIRO_ANTIALIAS_GRAY);

  cairo_destroy(cr_);
  cairo_surface_destroy(target_);
  cr_ = cr;
  target_ = target;
  pixel_width_ = pixel_width;
  pixel_height_ = pixel_height;
  depth_ = 0;
}

void drawing_surface::resize(int pixel_width, int pixel_height) {
  if (pixel_width != pixel_width_ || pixel_height != pixel_height_) {
    create_target(pixel_width, pixel_height);
  }
}

const std::uint8_t* drawing_surface::pixels() const {
  cairo_surface_flush(target_);
  return cairo_image_surface_get_data(target_);
}

int drawing_surface::stride() const {
  return cairo_image_surface_get_stride(target_);
}

void drawing_surface::begin_widget(const rect& update, point origin, size widget_size) {
  cairo_save(cr_);
  cairo_identity_matrix(cr_);
  cairo_scale(cr_, scale_x_, scale_y_);
  // Aliased clips: a widget's edge cuts pixels whole instead of blending them with what its
  // neighbour painted there.
  cairo_set_antialias(cr_, CAIRO_ANTIALIAS_NONE);
  cairo_rectangle(cr_, update.x, update.y, std::max(update.width, 0), std::max(update.height, 0));
  cairo_clip(cr_);
  cairo_translate(cr_, origin.x, origin.y);
  cairo_rectangle(cr_, 0.0, 0.0, std::max(widget_size.width, 0), std::max(widget_size.height, 0));
  cairo_clip(cr_);
  cairo_set_antialias(cr_, CAIRO_ANTIALIAS_GRAY);
  ++depth_;
}

void drawing_surface::end_widget() {
  if (depth_ == 0) {
    return;
  }
  cairo_restore(cr_);
  if (--depth_ == 0) {
    cairo_surface_flush(target_);
  }
}

void drawing_surface::set_font(std::string_view family, float size_dips, int weight_code,
                               int style_code, bool underline) {
  font_family_ = std::string(family);
  font_size_ = size_dips >= kSmallestFont ? std::min(size_dips, kLargestFont) : kSmallestFont;
  font_weight_ = font_weight(weight_code);
  font_italic_ = style_code == 1;
  font_underline_ = underline;
  apply_font();
}

// The size is absolute, in DIPs: the surface's scale turns it into pixels, so text grows with
// the DPI like everything else. A family the system lacks is replaced by fontconfig's choice.
void drawing_surface::apply_font() {
  PangoFontDescription* description = pango_font_description_new();
  pango_font_description_set_family(description, font_family_.c_str());
  pango_font_description_set_weight(description, static_cast<PangoWeight>(font_weight_));
  pango_font_description_set_style(description,
                                   font_italic_ ? PANGO_STYLE_ITALIC : PANGO_STYLE_NORMAL);
  pango_font_description_set_absolute_size(description, font_size_ * PANGO_SCALE);
  pango_layout_set_font_description(layout_, description);
  pango_font_description_free(description);

  PangoAttrList* attributes = pango_attr_list_new();
  if (font_underline_) {
    pango_attr_list_insert(attributes, pango_attr_underline_new(PANGO_UNDERLINE_SINGLE));
  }
  pango_layout_set_attributes(layout_, attributes);
  pango_attr_list_unref(attributes);
}

void drawing_surface::set_alignment(int horizontal_code, int vertical_code) {
  align_horizontal_ = horizontal_code;
  align_vertical_ = vertical_code;
}

// Words wrap at `width` (a word longer than a line breaks between characters); a width of 0 or
// less lays the text out on its own lines only. The height plays no part in the layout.
void drawing_surface::layout_text(std::string_view text, float width, float /*height*/) {
  pango_cairo_update_layout(cr_, layout_);
  const std::string checked = valid_utf8(text);
  pango_layout_set_text(layout_, checked.data(), static_cast<int>(checked.size()));
  pango_layout_set_width(
      layout_, width > 0.0f ? pango_units_from_double(std::min(width, kWidestLayout)) : -1);
  pango_layout_set_alignment(layout_, horizontal_alignment(align_horizontal_));
}

sizef drawing_surface::measure_text(std::string_view text, float layout_width,
                                    float layout_height) {
  if (text.empty()) {
    return {};
  }
  layout_text(text, layout_width, layout_height);
  PangoRectangle logical;
  pango_layout_get_extents(layout_, nullptr, &logical);
  float width = static_cast<float>(pango_units_to_double(logical.width));
  // A wrapped line keeps the spaces it broke at, which Pango counts; they are not seen, and the
  // text is no wider than the box it wraps in.
  if (layout_width > 0.0f) {
    width = std::min(width, layout_width);
  }
  return {width, static_cast<float>(pango_units_to_double(logical.height))};
}

void drawing_surface::draw_text(std::string_view text, const rectf& box, const color& c) {
  if (text.empty()) {
    return;
  }
  layout_text(text, box.width, box.height);
  PangoRectangle logical;
  pango_layout_get_extents(layout_, nullptr, &logical);
  const double top =
      box.y + vertical_offset(align_vertical_, box.height, pango_units_to_double(logical.height)) -
      pango_units_to_double(logical.y);
  set_color(brushes_[text_brush], c);
  cairo_move_to(cr_, box.x, top);
  pango_cairo_show_layout(cr_, layout_);
}

void drawing_surface::fill_rect(const rectf& area, const color& c) {
  if (!drawable(area)) {
    return;
  }
  set_color(brushes_[fill_brush], c);
  cairo_rectangle(cr_, area.x, area.y, area.width, area.height);
  cairo_fill(cr_);
}

void drawing_surface::stroke_rect(const rectf& area, const color& c, float width) {
  if (!drawable(area) || !(width > 0.0f)) {
    return;
  }
  set_color(brushes_[outline_brush], c);
  stroke_inside(cr_, area, width);
}

void drawing_surface::stroke_dotted_rect(const rectf& area, const color& c, float width) {
  if (!drawable(area) || !(width > 0.0f)) {
    return;
  }
  set_color(brushes_[dotted_brush], c);
  std::vector<double> dashes;
  for (const double length : dots_) {
    dashes.push_back(length * width);
  }
  cairo_set_dash(cr_, dashes.data(), static_cast<int>(dashes.size()), kDotPhase * width);
  stroke_inside(cr_, area, width);
  cairo_set_dash(cr_, nullptr, 0, 0.0);
}

// The shadow is the bounds moved by `offset`, with a core `spread` smaller than them on each
// axis that is fully dark and a rim `spread` wide that fades out around it: the corner
// gradient round the core's corners, the edge gradient along its sides. Stretched
// ten-thousand-fold along a side, the edge gradient's rings are straight across it.
void drawing_surface::draw_shadow(const rectf& bounds, float offset, float spread) {
  if (!drawable(bounds) || !(spread > 0.0f)) {
    return;
  }
  const double half = spread / 2.0;
  const double left = bounds.x + offset + std::min(half, bounds.width / 2.0);
  const double top = bounds.y + offset + std::min(half, bounds.height / 2.0);
  const double right = std::max(left, bounds.x + offset + bounds.width - half);
  const double bottom = std::max(top, bounds.y + offset + bounds.height - half);
  const double core_width = right - left;
  const double core_height = bottom - top;
  const double along_edge = 1.0e4 * (std::max(core_width, core_height) + 1.0);
  const auto area = [](double x, double y, double w, double h) {
    return rectf{static_cast<float>(x), static_cast<float>(y), static_cast<float>(w),
                 static_cast<float>(h)};
  };

  cairo_save(cr_);
  // The pieces meet edge to edge: without antialiasing each pixel belongs to one of them.
  cairo_set_antialias(cr_, CAIRO_ANTIALIAS_NONE);
  fill_rect(area(left, top, core_width, core_height), {0.0f, 0.0f, 0.0f, 1.0f});
  fill_with_gradient(cr_, shadow_corner_, area(left - spread, top - spread, spread, spread), left,
                     top, spread, spread);
  fill_with_gradient(cr_, shadow_corner_, area(right, top - spread, spread, spread), right, top,
                     spread, spread);
  fill_with_gradient(cr_, shadow_corner_, area(left - spread, bottom, spread, spread), left, bottom,
                     spread, spread);
  fill_with_gradient(cr_, shadow_corner_, area(right, bottom, spread, spread), right, bottom,
                     spread, spread);
  fill_with_gradient(cr_, shadow_edge_, area(left, top - spread, core_width, spread), left, top,
                     along_edge, spread);
  fill_with_gradient(cr_, shadow_edge_, area(left, bottom, core_width, spread), left, bottom,
                     along_edge, spread);
  fill_with_gradient(cr_, shadow_edge_, area(left - spread, top, spread, core_height), left, top,
                     spread, along_edge);
  fill_with_gradient(cr_, shadow_edge_, area(right, top, spread, core_height), right, top, spread,
                     along_edge);
  cairo_restore(cr_);
}

// A frame is a view of the image's own pixels, padded at its edges so that scaling never
// samples the neighbouring frame.
void drawing_surface::draw_image(image& picture, const rectf& destination, int frame,
                                 float opacity) {
  if (!picture.loaded() || frame < 0 || frame >= picture.frames() || !drawable(destination)) {
    return;
  }
  const int frame_height = picture.pixel_height() / picture.frames();
  if (frame_height == 0) {
    return;
  }
  cairo_surface_t* frame_pixels = cairo_surface_create_for_rectangle(
      picture.surface(), 0.0, static_cast<double>(frame) * frame_height, picture.pixel_width(),
      frame_height);
  if (!succeeded(cairo_surface_status(frame_pixels))) {
    cairo_surface_destroy(frame_pixels);
    throw hx_exception("unable to create a shared bitmap");
  }
  cairo_pattern_t* pattern = cairo_pattern_create_for_surface(frame_pixels);
  cairo_surface_destroy(frame_pixels);
  if (!succeeded(cairo_pattern_status(pattern))) {
    cairo_pattern_destroy(pattern);
    throw hx_exception("unable to create a bitmap from a WIC bitmap");
  }
  cairo_pattern_set_extend(pattern, CAIRO_EXTEND_PAD);
  cairo_matrix_t to_frame;
  cairo_matrix_init_scale(&to_frame, picture.pixel_width() / destination.width,
                          frame_height / destination.height);
  cairo_matrix_translate(&to_frame, -destination.x, -destination.y);
  cairo_pattern_set_matrix(pattern, &to_frame);

  cairo_save(cr_);
  cairo_rectangle(cr_, destination.x, destination.y, destination.width, destination.height);
  cairo_clip(cr_);
  cairo_set_source(cr_, pattern);
  cairo_paint_with_alpha(cr_, std::clamp(opacity, 0.0f, 1.0f));
  cairo_restore(cr_);
  cairo_pattern_destroy(pattern);
}

std::vector<std::pair<float, float>> drawing_surface::shadow_stops() {
  std::vector<std::pair<float, float>> stops;
  for (int i = 0; i < kShadowStopCount; ++i) {
    // A bell curve over t from 1 (the centre, fully dark) to -1 (the rim, nearly clear).
    const float t = 1.0f - 0.1f * static_cast<float>(i);
    const float alpha = std::pow(3.0f, -1.3888888f * (t - 1.0f) * (t - 1.0f));
    stops.emplace_back(static_cast<float>(i) / kShadowStopCount, alpha);
  }
  return stops;
}

void drawing_surface::set_color(cairo_pattern_t* brush, const color& c) {
  cairo_surface_t* pixel = nullptr;
  cairo_pattern_get_surface(brush, &pixel);
  cairo_surface_flush(pixel);
  *reinterpret_cast<std::uint32_t*>(cairo_image_surface_get_data(pixel)) = premultiplied_argb(c);
  cairo_surface_mark_dirty(pixel);
  cairo_set_source(cr_, brush);
}

}  // namespace hxsdk::ui
