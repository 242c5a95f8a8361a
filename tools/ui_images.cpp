#include "tools/ui_images.h"

#include <cmath>
#include <cstdint>
#include <stdexcept>
#include <string>

#include "tools/line_font.h"

namespace ui_images {
namespace {

using context_ptr = std::unique_ptr<cairo_t, decltype(&cairo_destroy)>;

constexpr double kPi = 3.14159265358979323846;

struct rgb {
  double r;
  double g;
  double b;
};

surface_ptr new_surface(cairo_format_t format, int width, int height) {
  surface_ptr surface(cairo_image_surface_create(format, width, height), cairo_surface_destroy);
  if (cairo_surface_status(surface.get()) != CAIRO_STATUS_SUCCESS) {
    throw std::runtime_error("cannot make a " + std::to_string(width) + " x " +
                             std::to_string(height) + " image");
  }
  return surface;
}

context_ptr new_context(cairo_surface_t* surface) {
  context_ptr cr(cairo_create(surface), cairo_destroy);
  cairo_set_antialias(cr.get(), CAIRO_ANTIALIAS_GRAY);
  return cr;
}

void add_stop(cairo_pattern_t* pattern, double offset, const rgb& c, double alpha = 1.0) {
  cairo_pattern_add_color_stop_rgba(pattern, offset, c.r, c.g, c.b, alpha);
}

void set_vertical_gradient(cairo_t* cr, double top, double bottom, const rgb& upper,
                           const rgb& lower, double alpha = 1.0) {
  cairo_pattern_t* gradient = cairo_pattern_create_linear(0.0, top, 0.0, bottom);
  add_stop(gradient, 0.0, upper, alpha);
  add_stop(gradient, 1.0, lower, alpha);
  cairo_set_source(cr, gradient);
  cairo_pattern_destroy(gradient);
}

void add_rounded_rectangle(cairo_t* cr, double x, double y, double width, double height,
                           double radius) {
  cairo_new_sub_path(cr);
  cairo_arc(cr, x + width - radius, y + radius, radius, -kPi / 2.0, 0.0);
  cairo_arc(cr, x + width - radius, y + height - radius, radius, 0.0, kPi / 2.0);
  cairo_arc(cr, x + radius, y + height - radius, radius, kPi / 2.0, kPi);
  cairo_arc(cr, x + radius, y + radius, radius, kPi, 1.5 * kPi);
  cairo_close_path(cr);
}

void stroke_round(cairo_t* cr, double width) {
  cairo_set_line_width(cr, width);
  cairo_set_line_cap(cr, CAIRO_LINE_CAP_ROUND);
  cairo_set_line_join(cr, CAIRO_LINE_JOIN_ROUND);
  cairo_stroke(cr);
}

// --- Check box -------------------------------------------------------------------------------

constexpr int kBoxSize = 14;

// A dark well with a faint light edge at its bottom, as if set into the panel.
void draw_box(cairo_t* cr) {
  add_rounded_rectangle(cr, 0.5, 0.5, kBoxSize - 1.0, kBoxSize - 1.0, 2.5);
  set_vertical_gradient(cr, 0.0, kBoxSize, {0.098, 0.102, 0.118}, {0.157, 0.161, 0.18});
  cairo_fill(cr);
  cairo_move_to(cr, 2.5, kBoxSize - 1.5);
  cairo_line_to(cr, kBoxSize - 2.5, kBoxSize - 1.5);
  cairo_set_source_rgba(cr, 1.0, 1.0, 1.0, 0.07);
  stroke_round(cr, 1.0);
}

void draw_check_mark(cairo_t* cr) {
  const auto add_mark = [cr] {
    cairo_move_to(cr, 3.4, 7.3);
    cairo_line_to(cr, 5.9, 9.9);
    cairo_line_to(cr, 10.7, 4.1);
  };
  add_mark();
  cairo_set_source_rgba(cr, 0.42, 0.76, 0.95, 0.25);
  stroke_round(cr, 3.6);
  add_mark();
  cairo_set_source_rgb(cr, 0.55, 0.84, 1.0);
  stroke_round(cr, 1.9);
}

// --- Warning sign ----------------------------------------------------------------------------

void draw_warning_sign(cairo_t* cr) {
  cairo_move_to(cr, 14.0, 2.5);
  cairo_line_to(cr, 26.0, 22.0);
  cairo_line_to(cr, 2.0, 22.0);
  cairo_close_path(cr);
  set_vertical_gradient(cr, 2.0, 22.0, {1.0, 0.84, 0.35}, {0.96, 0.6, 0.13});
  cairo_fill_preserve(cr);
  cairo_set_source_rgb(cr, 0.8, 0.46, 0.07);
  stroke_round(cr, 2.0);

  cairo_move_to(cr, 14.0, 8.6);
  cairo_line_to(cr, 14.0, 15.0);
  cairo_set_source_rgb(cr, 0.17, 0.1, 0.03);
  stroke_round(cr, 2.6);
  cairo_arc(cr, 14.0, 18.6, 1.45, 0.0, 2.0 * kPi);
  cairo_fill(cr);
}

// --- Banner ----------------------------------------------------------------------------------

constexpr int kBannerWidth = 559;
constexpr int kBannerHeight = 84;
// The link area: columns 150 to 280 and rows 20 to 64, both ends included.
constexpr int kLinkLeft = 150;
constexpr int kLinkTop = 20;
constexpr int kLinkWidth = 131;
constexpr int kLinkHeight = 45;

constexpr double kMoonX = 76.0;
constexpr double kMoonY = 42.0;
constexpr double kMoonRadius = 29.0;

// The same sequence of numbers in [0, 1) on every machine.
class seeded_numbers {
 public:
  explicit seeded_numbers(std::uint32_t seed) : state_(seed) {}
  double next() {
    state_ = state_ * 1664525u + 1013904223u;
    return static_cast<double>(state_ >> 8) / static_cast<double>(1u << 24);
  }

 private:
  std::uint32_t state_;
};

void draw_sky(cairo_t* cr) {
  cairo_rectangle(cr, 0.0, 0.0, kBannerWidth, kBannerHeight);
  set_vertical_gradient(cr, 0.0, kBannerHeight, {0.047, 0.059, 0.106}, {0.012, 0.016, 0.035});
  cairo_fill(cr);

  // The moon's light scattered round it, and a cold haze behind the name.
  cairo_pattern_t* glow =
      cairo_pattern_create_radial(kMoonX, kMoonY, kMoonRadius * 0.8, kMoonX, kMoonY, 95.0);
  add_stop(glow, 0.0, {0.32, 0.44, 0.75}, 0.42);
  add_stop(glow, 0.35, {0.2, 0.28, 0.55}, 0.14);
  add_stop(glow, 1.0, {0.2, 0.28, 0.55}, 0.0);
  cairo_rectangle(cr, 0.0, 0.0, kBannerWidth, kBannerHeight);
  cairo_set_source(cr, glow);
  cairo_fill(cr);
  cairo_pattern_destroy(glow);

  cairo_pattern_t* haze = cairo_pattern_create_radial(430.0, 40.0, 0.0, 430.0, 40.0, 170.0);
  add_stop(haze, 0.0, {0.16, 0.2, 0.38}, 0.35);
  add_stop(haze, 1.0, {0.16, 0.2, 0.38}, 0.0);
  cairo_rectangle(cr, 0.0, 0.0, kBannerWidth, kBannerHeight);
  cairo_set_source(cr, haze);
  cairo_fill(cr);
  cairo_pattern_destroy(haze);
}

void draw_stars(cairo_t* cr) {
  seeded_numbers random(0x1f2e3d4cu);
  for (int i = 0; i < 110; ++i) {
    const double x = random.next() * kBannerWidth;
    const double y = random.next() * kBannerHeight;
    const double size = random.next();
    const double brightness = random.next();
    if (std::hypot(x - kMoonX, y - kMoonY) < kMoonRadius + 4.0) {
      continue;
    }
    cairo_arc(cr, x, y, 0.3 + 0.7 * size * size * size, 0.0, 2.0 * kPi);
    cairo_set_source_rgba(cr, 0.85, 0.9, 1.0, 0.25 + 0.7 * brightness * brightness);
    cairo_fill(cr);
  }
}

// A tilted ring round the moon. Drawn once behind the moon and once more in front of it, clipped
// to its near half.
void add_ring(cairo_t* cr) {
  cairo_save(cr);
  cairo_translate(cr, kMoonX, kMoonY);
  cairo_rotate(cr, -0.2);
  cairo_scale(cr, kMoonRadius * 1.6, kMoonRadius * 0.3);
  cairo_new_sub_path(cr);
  cairo_arc(cr, 0.0, 0.0, 1.0, 0.0, 2.0 * kPi);
  cairo_restore(cr);
}

void stroke_ring(cairo_t* cr) {
  add_ring(cr);
  cairo_set_source_rgba(cr, 0.55, 0.7, 1.0, 0.5);
  cairo_set_line_width(cr, 1.2);
  cairo_stroke(cr);
}

void clip_to_near_half_of_ring(cairo_t* cr) {
  cairo_save(cr);
  cairo_translate(cr, kMoonX, kMoonY);
  cairo_rotate(cr, -0.2);
  cairo_rectangle(cr, -100.0, 0.0, 200.0, 100.0);
  cairo_restore(cr);
  cairo_clip(cr);
}

void draw_moon(cairo_t* cr) {
  // Lit from the upper left: a bright spot there, darkening towards the far rim.
  cairo_pattern_t* body =
      cairo_pattern_create_radial(kMoonX - 0.38 * kMoonRadius, kMoonY - 0.42 * kMoonRadius,
                                  0.05 * kMoonRadius, kMoonX, kMoonY, kMoonRadius);
  add_stop(body, 0.0, {0.99, 0.97, 0.91});
  add_stop(body, 0.45, {0.8, 0.8, 0.82});
  add_stop(body, 0.85, {0.4, 0.42, 0.5});
  add_stop(body, 1.0, {0.2, 0.22, 0.3});
  cairo_arc(cr, kMoonX, kMoonY, kMoonRadius, 0.0, 2.0 * kPi);
  cairo_set_source(cr, body);
  cairo_fill_preserve(cr);
  cairo_pattern_destroy(body);

  cairo_save(cr);
  cairo_clip(cr);
  struct crater {
    double x;  // centre and radius as fractions of the moon's radius
    double y;
    double radius;
  };
  constexpr crater kCraters[] = {{-0.32, -0.08, 0.24}, {0.24, -0.38, 0.15}, {0.12, 0.3, 0.19},
                                 {-0.06, 0.62, 0.1},   {0.5, 0.08, 0.12},   {-0.55, 0.34, 0.09},
                                 {-0.12, -0.62, 0.08}};
  for (const crater& c : kCraters) {
    const double x = kMoonX + c.x * kMoonRadius;
    const double y = kMoonY + c.y * kMoonRadius;
    const double radius = c.radius * kMoonRadius;
    cairo_arc(cr, x, y, radius, 0.0, 2.0 * kPi);
    cairo_set_source_rgba(cr, 0.28, 0.29, 0.36, 0.2);
    cairo_fill(cr);
    // The crater's far wall catches the light.
    cairo_arc(cr, x, y, radius - 0.6, 0.1 * kPi, 0.6 * kPi);
    cairo_set_source_rgba(cr, 1.0, 1.0, 0.96, 0.22);
    cairo_set_line_width(cr, 0.9);
    cairo_stroke(cr);
  }
  // The night side.
  cairo_pattern_t* night = cairo_pattern_create_linear(kMoonX - kMoonRadius, kMoonY - kMoonRadius,
                                                       kMoonX + kMoonRadius, kMoonY + kMoonRadius);
  add_stop(night, 0.0, {0.0, 0.0, 0.0}, 0.0);
  add_stop(night, 0.55, {0.01, 0.015, 0.04}, 0.0);
  add_stop(night, 1.0, {0.01, 0.015, 0.04}, 0.8);
  cairo_arc(cr, kMoonX, kMoonY, kMoonRadius, 0.0, 2.0 * kPi);
  cairo_set_source(cr, night);
  cairo_fill(cr);
  cairo_pattern_destroy(night);
  cairo_restore(cr);

  // Blue atmosphere light along the shadowed rim.
  cairo_new_path(cr);
  cairo_arc(cr, kMoonX, kMoonY, kMoonRadius - 0.5, -0.1 * kPi, 0.6 * kPi);
  cairo_set_source_rgba(cr, 0.45, 0.6, 1.0, 0.45);
  cairo_set_line_width(cr, 1.0);
  cairo_stroke(cr);
}

void draw_name(cairo_t* cr) {
  constexpr const char* kName = "LUNAFORM";
  constexpr double kCapHeight = 26.0;
  constexpr double kCentre = 424.0;
  constexpr double kTop = 20.0;
  const double width = line_font::text_width(kName, kCapHeight);
  const double left = kCentre - width / 2.0;

  line_font::add_text_path(cr, kName, left, kTop, kCapHeight);
  cairo_set_source_rgba(cr, 0.4, 0.55, 1.0, 0.14);
  stroke_round(cr, 8.0);
  line_font::add_text_path(cr, kName, left, kTop, kCapHeight);
  set_vertical_gradient(cr, kTop, kTop + kCapHeight, {0.98, 0.98, 1.0}, {0.66, 0.76, 0.96});
  stroke_round(cr, 3.0);

  // A thin line under the name, brightest in its middle.
  const double line_y = kTop + kCapHeight + 10.5;
  cairo_pattern_t* fade = cairo_pattern_create_linear(left - 20.0, 0.0, left + width + 20.0, 0.0);
  add_stop(fade, 0.0, {0.5, 0.65, 1.0}, 0.0);
  add_stop(fade, 0.5, {0.5, 0.65, 1.0}, 0.75);
  add_stop(fade, 1.0, {0.5, 0.65, 1.0}, 0.0);
  cairo_move_to(cr, left - 20.0, line_y);
  cairo_line_to(cr, left + width + 20.0, line_y);
  cairo_set_source(cr, fade);
  cairo_set_line_width(cr, 1.0);
  cairo_stroke(cr);
  cairo_pattern_destroy(fade);
}

// The product-page button inside the link area; lit while the pointer is over it.
void draw_link(cairo_t* cr, bool lit) {
  constexpr const char* kCaption = "PRODUCT PAGE";
  constexpr double kCapHeight = 8.0;
  constexpr double kArrowGap = 6.0;
  constexpr double kArrowWidth = 3.5;
  const double x = kLinkLeft + 2.5;
  const double y = kLinkTop + 5.5;
  const double width = kLinkWidth - 5.0;
  const double height = kLinkHeight - 12.0;

  if (lit) {
    add_rounded_rectangle(cr, x, y, width, height, 6.0);
    cairo_set_source_rgba(cr, 0.4, 0.62, 1.0, 0.3);
    cairo_set_line_width(cr, 4.0);
    cairo_stroke(cr);
  }
  add_rounded_rectangle(cr, x, y, width, height, 6.0);
  if (lit) {
    set_vertical_gradient(cr, y, y + height, {0.24, 0.45, 0.86}, {0.12, 0.26, 0.6});
  } else {
    set_vertical_gradient(cr, y, y + height, {0.09, 0.11, 0.17}, {0.05, 0.06, 0.1}, 0.9);
  }
  cairo_fill_preserve(cr);
  if (lit) {
    cairo_set_source_rgb(cr, 0.68, 0.84, 1.0);
  } else {
    cairo_set_source_rgb(cr, 0.3, 0.4, 0.62);
  }
  cairo_set_line_width(cr, 1.0);
  cairo_stroke(cr);

  const double caption_width = line_font::text_width(kCaption, kCapHeight);
  const double left = x + (width - caption_width - kArrowGap - kArrowWidth) / 2.0;
  const double top = y + (height - kCapHeight) / 2.0;
  line_font::add_text_path(cr, kCaption, left, top, kCapHeight);
  const double arrow_left = left + caption_width + kArrowGap;
  cairo_move_to(cr, arrow_left, top);
  cairo_line_to(cr, arrow_left + kArrowWidth, top + kCapHeight / 2.0);
  cairo_line_to(cr, arrow_left, top + kCapHeight);
  if (lit) {
    cairo_set_source_rgb(cr, 1.0, 1.0, 1.0);
  } else {
    cairo_set_source_rgb(cr, 0.68, 0.75, 0.9);
  }
  stroke_round(cr, 1.3);
}

void draw_banner(cairo_t* cr, bool link_lit) {
  cairo_save(cr);
  cairo_rectangle(cr, 0.0, 0.0, kBannerWidth, kBannerHeight);
  cairo_clip(cr);
  draw_sky(cr);
  draw_stars(cr);
  stroke_ring(cr);
  draw_moon(cr);
  cairo_save(cr);
  clip_to_near_half_of_ring(cr);
  stroke_ring(cr);
  cairo_restore(cr);
  draw_name(cr);
  draw_link(cr, link_lit);
  cairo_restore(cr);
}

}  // namespace

surface_ptr draw_checkbox() {
  surface_ptr surface = new_surface(CAIRO_FORMAT_ARGB32, kBoxSize, 2 * kBoxSize);
  const context_ptr cr = new_context(surface.get());
  draw_box(cr.get());
  cairo_translate(cr.get(), 0.0, kBoxSize);
  draw_box(cr.get());
  draw_check_mark(cr.get());
  cairo_surface_flush(surface.get());
  return surface;
}

surface_ptr draw_message_popup_icon() {
  surface_ptr surface = new_surface(CAIRO_FORMAT_ARGB32, 28, 24);
  const context_ptr cr = new_context(surface.get());
  draw_warning_sign(cr.get());
  cairo_surface_flush(surface.get());
  return surface;
}

// The lower banner is the upper one drawn again, with only the link area drawn a third time,
// lit: outside that area the two cannot differ.
surface_ptr draw_effect_banner() {
  surface_ptr surface = new_surface(CAIRO_FORMAT_RGB24, kBannerWidth, 2 * kBannerHeight);
  const context_ptr cr = new_context(surface.get());
  draw_banner(cr.get(), false);
  cairo_translate(cr.get(), 0.0, kBannerHeight);
  draw_banner(cr.get(), false);
  cairo_rectangle(cr.get(), kLinkLeft, kLinkTop, kLinkWidth, kLinkHeight);
  cairo_clip(cr.get());
  draw_banner(cr.get(), true);
  cairo_surface_flush(surface.get());
  return surface;
}

}  // namespace ui_images
