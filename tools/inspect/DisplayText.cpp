#include "DisplayText.h"

#include <fmt/format.h>
#include <utf8proc.h>

#include <algorithm>

namespace LauncherInspect {

namespace {

// What is printed at one place: a character, or a byte that is not UTF-8.
struct Glyph {
  std::string_view bytes;
  bool isPrintable;
  std::size_t width;
};

} // namespace

// Invisible characters may reorder or join the text around them.
static bool isPrintable(utf8proc_int32_t character) {
  switch (utf8proc_category(character)) {
  case UTF8PROC_CATEGORY_CN:
  case UTF8PROC_CATEGORY_CC:
  case UTF8PROC_CATEGORY_CF:
  case UTF8PROC_CATEGORY_ZL:
  case UTF8PROC_CATEGORY_ZP:
    return false;
  default:
    return !utf8proc_get_property(character)->ignorable;
  }
}

static bool isPlain(char byte) {
  return byte >= ' ' && byte <= '~' && byte != '\\';
}

// The first glyph of a text that is not empty.
static Glyph firstGlyph(std::string_view text) {
  if (isPlain(text.front())) // most are: their properties need no look-up
    return {text.substr(0, 1), true, 1};
  utf8proc_int32_t character = 0;
  const auto length = utf8proc_iterate(
      reinterpret_cast<const utf8proc_uint8_t*>(text.data()),
      static_cast<utf8proc_ssize_t>(text.size()),
      &character);
  if (length <= 0)
    return {text.substr(0, 1), false, 0};
  const auto bytes = text.substr(0, static_cast<std::size_t>(length));
  if (!isPrintable(character))
    return {bytes, false, 0};
  return {bytes, true, static_cast<std::size_t>(utf8proc_charwidth(character))};
}

bool isUtf8(std::string_view text) {
  while (!text.empty()) {
    const Glyph glyph = firstGlyph(text);
    if (!glyph.isPrintable && glyph.bytes.size() == 1 && static_cast<signed char>(text.front()) < 0)
      return false;
    text.remove_prefix(glyph.bytes.size());
  }
  return true;
}

static std::string escaped(const Glyph& glyph) {
  if (glyph.bytes == "\\")
    return "\\\\";
  if (glyph.bytes == "\n")
    return "\\n";
  if (glyph.isPrintable)
    return std::string(glyph.bytes);
  std::string text;
  for (const char byte : glyph.bytes)
    text += fmt::format("\\x{:02x}", static_cast<unsigned char>(byte));
  return text;
}

std::string escape(std::string_view text) {
  if (std::all_of(text.begin(), text.end(), isPlain))
    return std::string(text);
  std::string line;
  while (!text.empty()) {
    const Glyph glyph = firstGlyph(text);
    line += escaped(glyph);
    text.remove_prefix(glyph.bytes.size());
  }
  return line;
}

// The bytes of the first glyphs that fit, and the columns that these take.
static std::pair<std::size_t, std::size_t> fitting(std::string_view text, std::size_t width) {
  std::size_t bytes = 0;
  std::size_t columns = 0;
  while (bytes < text.size()) {
    const Glyph glyph = firstGlyph(text.substr(bytes));
    if (glyph.width > width - columns)
      break;
    bytes += glyph.bytes.size();
    columns += glyph.width;
  }
  return {bytes, columns};
}

std::size_t displayWidth(std::string_view text) {
  return fitting(text, std::string_view::npos).second;
}

std::string shorten(const std::string& text, std::size_t width) {
  if (fitting(text, width).first == text.size())
    return text;
  return text.substr(0, fitting(text, width - 3).first) + "...";
}

std::string trimmed(std::string_view line) {
  return std::string(line.substr(0, line.find_last_not_of(' ') + 1));
}

// How much of a text goes to its first line: one glyph at least.
static std::size_t lineLength(std::string_view text, std::size_t width) {
  const std::size_t bytes = fitting(text, width).first;
  if (bytes == text.size())
    return bytes;
  if (bytes == 0)
    return firstGlyph(text).bytes.size();
  const auto afterBlanks = text.find_first_not_of(' ', bytes);
  if (afterBlanks != bytes)
    return std::min(afterBlanks, text.size());
  const auto gap = text.substr(0, bytes).find_last_of(" /");
  return gap == std::string_view::npos || gap == 0 ? bytes : gap + 1;
}

std::vector<std::string> wrap(std::string_view text, std::size_t width) {
  std::vector<std::string> lines;
  do {
    const std::size_t length = lineLength(text, width);
    lines.push_back(trimmed(text.substr(0, length)));
    text.remove_prefix(length);
  } while (!text.empty());
  return lines;
}

} // namespace LauncherInspect
