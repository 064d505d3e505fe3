#pragma once

#include <cstddef>

namespace LauncherInspect {

// What the standard output can show.
struct Terminal {
  std::size_t width = 80;
  bool colour = false;
};

// COLUMNS, if it is a positive number, takes precedence over the terminal's own width; without
// either, 80 columns. The width is kept between 40 and 1000. Colour only on a terminal, unless
// NO_COLOR is not empty or TERM is "dumb".
Terminal describeOutput();

} // namespace LauncherInspect
