#pragma once

#include <cstddef>
#include <string>
#include <vector>

// Text for a terminal.
namespace LauncherInspect {

// One printable line: line feeds, control characters, characters that steer the layout and bytes
// that are not UTF-8 become \n or \xNN, a backslash becomes two.
std::string escape(const std::string& text);

// Columns that an escaped text takes.
std::size_t displayWidth(const std::string& text);

// Escaped text, cut to a number of columns with "..." at its end.
std::string shorten(const std::string& text, std::size_t width);

// Lines of at most this width, broken after a blank or a slash where there is one.
std::vector<std::string> wrap(const std::string& text, std::size_t width);

} // namespace LauncherInspect
