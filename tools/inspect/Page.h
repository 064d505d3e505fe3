#pragma once

#include "DisplayText.h"
#include "Report.h"
#include "Terminal.h"

#include <fmt/color.h>

#include <algorithm>
#include <cstddef>
#include <string>

namespace LauncherInspect {

using Style = fmt::text_style;

inline const Style PLAIN;
inline const Style BOLD = fmt::emphasis::bold;
inline const Style DIM = fmt::emphasis::faint;
inline const Style GOOD = fmt::emphasis::bold | fmt::fg(fmt::terminal_color::green);
inline const Style WARNING = fmt::fg(fmt::terminal_color::yellow);
inline const Style BAD = fmt::fg(fmt::terminal_color::red);

constexpr std::size_t VERSION_WIDTH = 14;

// Puts lines together that fit the terminal.
class Page {
public:
  explicit Page(const Terminal& terminal);

  // The text is escaped, and may be wider than the terminal.
  void line(const std::string& text, const Style& style = PLAIN);

  // The first line begins with the prefix, the others are indented as far. The text is escaped. A
  // quoted path at its end stays whole, for pasting.
  void hanging(std::string prefix, const std::string& text, const Style& style = PLAIN);

  void heading(const std::string& text);
  // Nothing for an empty text.
  void paragraph(std::size_t indent, const std::string& text, const Style& style = PLAIN);

  // A text behind the name of what it is, or below it on a narrow terminal.
  void item(const std::string& label, const std::string& text, const Style& style = PLAIN);
  void remark(const std::string& text, const Style& style = PLAIN); // below an item's text
  void itemIfAny(const std::string& label, const Report& text);

  std::size_t width() const { return terminal.width; }
  bool isUnlimited() const { return terminal.width == UNLIMITED; }
  bool isNarrow() const;

  const std::string& text() const { return page; }

private:
  std::size_t itemIndent() const;

  const Terminal terminal;
  std::string page;
};

// --- Values of the report, for a reader ---

std::string textOf(const Report& message);

// Empty where there is nothing to do.
std::string remedyOf(const Report& message);

// The last name of a path.
std::string nameOf(const std::string& path);

// The name of a copy in the launcher folder, or the path of another one.
std::string folderOf(const Report& candidate);

// Cut to VERSION_WIDTH columns and escaped; "-" where there is none.
std::string shortVersionOf(const Report& candidate);

// A launch count, a launch time without fractions of a second and offset, or a truth value.
std::string recordOf(const Report& value);

// Whether a copy has started safely. A copy without a version, or too old to record a safe start,
// is never judged by it.
std::string safeStartOf(const Report& candidate);

Style styleOf(const Report& candidate);

// Columns that the widest of these texts takes, which are escaped.
template <typename Rows, typename Row>
std::size_t widest(const Rows& rows, std::string Row::*text) {
  std::size_t width = 0;
  for (const auto& row : rows)
    width = std::max(width, displayWidth(row.*text));
  return width;
}

std::string padded(const std::string& escapedText, std::size_t width);

} // namespace LauncherInspect
