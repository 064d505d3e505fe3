#pragma once

#include <cstddef>

namespace LauncherInspect {

// What the standard output can show.
struct Terminal {
  std::size_t width = 80;
  bool colour = false;
};

// COLUMNS, if it is a number, goes before the terminal's own width; without either, 80 columns.
// Colour only on a terminal, and not when NO_COLOR is set.
Terminal describeOutput();

} // namespace LauncherInspect
