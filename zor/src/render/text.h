// Texts for people who look at a terminal.
#ifndef ZOR_RENDER_TEXT_H
#define ZOR_RENDER_TEXT_H

#include <string>
#include <string_view>
#include <vector>

#include "environment.h"

namespace zor {

// What standard output leads to.
struct Screen {
  bool is_terminal = false;
  bool has_colour = false;  // a terminal that TERM names, but not as dumb, and no NO_COLOR
  std::size_t width = 80;   // in columns

  static Screen of_output(const Environment& environment);
};

// The text with all that steers a terminal, or is no character in the locale, as \xNN. Line ends
// stay if asked for.
std::string without_controls(std::string_view text, bool keep_lines = true);

// How many columns a text without controls takes: two for a wide character, none for one that
// combines with the one before it.
std::size_t columns_of(std::string_view text);

// Small letters in place of capital ones, for comparisons that don't care.
std::string folded(std::string_view text);

// The words in as many columns as fit into the width, sorted downwards, as lines with their ends.
// Words that hold controls are to be made safe before.
std::string in_columns(const std::vector<std::string>& words, std::size_t width);

}  // namespace zor

#endif
