#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

// UTF-8 text for a terminal. Every function takes time in proportion to the text.
namespace LauncherInspect {

bool isUtf8(std::string_view text);

// One printable line: line feeds, control characters, invisible characters that steer the layout,
// unassigned ones and bytes that are not UTF-8 become \n or \xNN, a backslash becomes two.
std::string escape(std::string_view text);

// Columns that an escaped text takes.
std::size_t displayWidth(std::string_view text);

// Without the blanks at its end.
std::string trimmed(std::string_view line);

// Cut to a number of columns with "..." at its end.
std::string shorten(const std::string& text, std::size_t width);

// Escaped text in lines of at most this width, broken after a blank or a slash where there is one.
// A character that is wider stands alone.
std::vector<std::string> wrap(std::string_view text, std::size_t width);

} // namespace LauncherInspect
