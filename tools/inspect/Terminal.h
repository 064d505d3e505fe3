#pragma once

#include <cstddef>
#include <limits>

namespace LauncherInspect {

constexpr std::size_t UNLIMITED = std::numeric_limits<std::size_t>::max();

// What the standard output can show. A file or a pipe takes lines of any width.
struct Terminal {
  std::size_t width = UNLIMITED;
  bool colour = false;
};

// On a terminal, COLUMNS, if it is a positive number, takes precedence over the terminal's own
// width; without either, 80 columns. The width is kept between 40 and 1000. Colour unless NO_COLOR
// is not empty or TERM is "dumb". Anything else is unlimited and without colour.
Terminal describeOutput();

} // namespace LauncherInspect
