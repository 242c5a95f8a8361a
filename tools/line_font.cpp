#include "tools/line_font.h"

#include <map>
#include <stdexcept>
#include <string>
#include <vector>

namespace line_font {
namespace {

constexpr double kGridHeight = 6.0;
constexpr double kSpaceWidth = 3.0;

struct grid_point {
  double x;
  double y;
};

// One letter: its width in grid units and its strokes, each a polyline; a stroke that ends
// where it starts is closed.
struct glyph {
  double width;
  std::vector<std::vector<grid_point>> strokes;
};

const std::map<char, glyph>& glyphs() {
  static const std::map<char, glyph> table = {
      {' ', {kSpaceWidth, {}}},
      {'A', {4.0, {{{0, 6}, {2, 0}, {4, 6}}, {{0.7, 4}, {3.3, 4}}}}},
      {'C', {4.0, {{{4, 1}, {3, 0}, {1, 0}, {0, 1}, {0, 5}, {1, 6}, {3, 6}, {4, 5}}}}},
      {'D', {4.0, {{{0, 0}, {2.5, 0}, {4, 1.5}, {4, 4.5}, {2.5, 6}, {0, 6}, {0, 0}}}}},
      {'E', {3.5, {{{3.5, 0}, {0, 0}, {0, 6}, {3.5, 6}}, {{0, 3}, {3, 3}}}}},
      {'F', {3.5, {{{3.5, 0}, {0, 0}, {0, 6}}, {{0, 3}, {3, 3}}}}},
      {'G',
       {4.0,
        {{{4, 1}, {3, 0}, {1, 0}, {0, 1}, {0, 5}, {1, 6}, {3, 6}, {4, 5}, {4, 3.5}, {2.2, 3.5}}}}},
      {'L', {3.5, {{{0, 0}, {0, 6}, {3.5, 6}}}}},
      {'M', {5.0, {{{0, 6}, {0, 0}, {2.5, 4}, {5, 0}, {5, 6}}}}},
      {'N', {4.0, {{{0, 6}, {0, 0}, {4, 6}, {4, 0}}}}},
      {'O', {4.0, {{{1, 0}, {3, 0}, {4, 1}, {4, 5}, {3, 6}, {1, 6}, {0, 5}, {0, 1}, {1, 0}}}}},
      {'P', {4.0, {{{0, 6}, {0, 0}, {3, 0}, {4, 1}, {4, 2}, {3, 3}, {0, 3}}}}},
      {'R', {4.0, {{{0, 6}, {0, 0}, {3, 0}, {4, 1}, {4, 2}, {3, 3}, {0, 3}}, {{2.2, 3}, {4, 6}}}}},
      {'T', {4.0, {{{0, 0}, {4, 0}}, {{2, 0}, {2, 6}}}}},
      {'U', {4.0, {{{0, 0}, {0, 5}, {1, 6}, {3, 6}, {4, 5}, {4, 0}}}}},
  };
  return table;
}

const glyph& find_glyph(char letter) {
  const auto found = glyphs().find(letter);
  if (found == glyphs().end()) {
    throw std::invalid_argument(std::string("the line font has no letter '") + letter + "'");
  }
  return found->second;
}

}  // namespace

double text_width(std::string_view text, double cap_height) {
  double units = 0.0;
  for (const char letter : text) {
    units += find_glyph(letter).width + kLetterGap;
  }
  return text.empty() ? 0.0 : (units - kLetterGap) * cap_height / kGridHeight;
}

void add_text_path(cairo_t* cr, std::string_view text, double left, double top, double cap_height) {
  const double unit = cap_height / kGridHeight;
  double pen = left;
  for (const char letter : text) {
    const glyph& shape = find_glyph(letter);
    for (const std::vector<grid_point>& stroke : shape.strokes) {
      cairo_move_to(cr, pen + stroke.front().x * unit, top + stroke.front().y * unit);
      for (std::size_t i = 1; i < stroke.size(); ++i) {
        cairo_line_to(cr, pen + stroke[i].x * unit, top + stroke[i].y * unit);
      }
      const grid_point& last = stroke.back();
      if (stroke.size() > 2 && last.x == stroke.front().x && last.y == stroke.front().y) {
        cairo_close_path(cr);
      }
    }
    pen += (shape.width + kLetterGap) * unit;
  }
}

}  // namespace line_font
