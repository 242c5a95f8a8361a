#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "ui/geometry.h"
#include "ui/non_copyable.h"

typedef struct _cairo cairo_t;
typedef struct _cairo_surface cairo_surface_t;
typedef struct _cairo_pattern cairo_pattern_t;
typedef struct _PangoLayout PangoLayout;

namespace hxsdk::ui {

class image;

// A window's drawing: a cairo image surface of the client area's pixel size (premultiplied
// 32-bit pixels, B, G, R, A in memory), scaled so that callers draw in DIPs, with Pango for
// text. Failures throw hx_exception with the messages the toolkit has always used.
class drawing_surface : non_copyable_non_moveable {
 public:
  // `pixels_per_dip_x/y` = DPI / 96.
  drawing_surface(int pixel_width, int pixel_height, float pixels_per_dip_x,
                  float pixels_per_dip_y);
  ~drawing_surface();

  void resize(int pixel_width, int pixel_height);
  int pixel_width() const { return pixel_width_; }
  int pixel_height() const { return pixel_height_; }
  // The pixels, for presenting them in the window (and for tests).
  const std::uint8_t* pixels() const;
  int stride() const;

  // Painting one widget: clips to `update` (DIPs, client area) and to the widget's own
  // rectangle at `origin` of `size`, and moves the origin there. Nested calls stack; the
  // outermost begin starts a paint and its end finishes it.
  void begin_widget(const rect& update, point origin, size widget_size);
  void end_widget();

  void set_font(std::string_view family, float size_dips, int weight_code, int style_code,
                bool underline);
  // Horizontal 0 left, 1 centre, 2 right, other centre; vertical 0 centre, 1 top, 2 bottom.
  void set_alignment(int horizontal_code, int vertical_code);
  // The size of `text` laid out with the current font, wrapped at `layout_width`; an empty text
  // measures (0, 0).
  sizef measure_text(std::string_view text, float layout_width, float layout_height);
  void draw_text(std::string_view text, const rectf& box, const color& c);

  void fill_rect(const rectf& area, const color& c);
  // Outlines lie inside `area`, so a widget's border never reaches past its clip.
  void stroke_rect(const rectf& area, const color& c, float width);
  void stroke_dotted_rect(const rectf& area, const color& c, float width);
  // A soft shadow under `bounds`, moved by `offset` and `spread` DIPs wide.
  void draw_shadow(const rectf& bounds, float offset, float spread);
  // Draws frame `frame` of `picture` (frames stacked vertically) into `destination`.
  void draw_image(image& picture, const rectf& destination, int frame, float opacity);

  // The 21 stops of the shadow gradient: (offset, alpha) of black.
  static std::vector<std::pair<float, float>> shadow_stops();

 private:
  void create_target(int pixel_width, int pixel_height);
  void release();
  void apply_font();
  void layout_text(std::string_view text, float width, float height);
  void set_color(cairo_pattern_t* brush, const color& c);

  int pixel_width_ = 0;
  int pixel_height_ = 0;
  float scale_x_ = 1.0f;
  float scale_y_ = 1.0f;
  cairo_surface_t* target_ = nullptr;
  cairo_t* cr_ = nullptr;
  std::vector<cairo_pattern_t*> brushes_;
  std::vector<double> dots_;
  cairo_pattern_t* shadow_corner_ = nullptr;
  cairo_pattern_t* shadow_edge_ = nullptr;
  PangoLayout* layout_ = nullptr;
  std::string font_family_ = "Verdana";
  float font_size_ = 12.0f;
  int font_weight_ = 400;
  bool font_italic_ = false;
  bool font_underline_ = false;
  int align_horizontal_ = 0;
  int align_vertical_ = 1;
  int depth_ = 0;
};

}  // namespace hxsdk::ui
