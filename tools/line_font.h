#pragma once

#include <cairo.h>

#include <string_view>

// A tiny font of straight strokes for the capitals that the toolkit's images spell, so that
// their pixels never depend on the fonts a machine has installed.
//
// Letters are drawn on a grid 6 units tall (the cap height) and 3.5 to 5 units wide, with
// `kLetterGap` units between letters; a space is 3 units wide.
namespace line_font {

inline constexpr double kLetterGap = 1.8;

// The width of `text` set with capitals `cap_height` tall: from the left of its first letter's
// grid to the right of its last, not counting the width of the strokes.
double text_width(std::string_view text, double cap_height);

// Adds the centre lines of `text`'s strokes to `cr`'s path, the first letter's top-left corner
// at (left, top); stroke the path with round caps and joins to draw the text. Throws
// std::invalid_argument for a character the font does not have.
void add_text_path(cairo_t* cr, std::string_view text, double left, double top, double cap_height);

}  // namespace line_font
