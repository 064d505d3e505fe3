#include "DisplayText.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <iterator>
#include <utility>

namespace LauncherInspect {

namespace {

// What is printed at one place: a character, or a byte that is not UTF-8.
struct Glyph {
  std::string_view bytes;
  bool isPrintable;
  std::size_t width;
};

// The columns of a character that is not printed: unassigned, or invisible, which may reorder or
// join the text around it.
constexpr int HIDDEN = -1;

struct Range {
  char32_t first;
  int columns;
};

#include "Characters.inc" // RANGES

} // namespace

static int columnsOf(char32_t character) {
  const auto isBefore = [](char32_t sought, const Range& range) { return sought < range.first; };
  return std::prev(std::upper_bound(RANGES.begin(), RANGES.end(), character, isBefore))->columns;
}

static std::size_t lengthAfter(unsigned char lead) {
  if (lead < 0x80)
    return 1;
  if (lead < 0xC0 || lead >= 0xF8)
    return 0;
  return lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
}

static bool isCharacter(char32_t value, std::size_t length) {
  constexpr std::array<char32_t, 5> SMALLEST{0, 0, 0x80, 0x800, 0x10000};
  const bool isSurrogate = value >= 0xD800 && value <= 0xDFFF;
  return length > 0 && value >= SMALLEST[length] && value <= 0x10FFFF && !isSurrogate;
}

// The first character of a text and its number of bytes; 0 bytes if they are not UTF-8.
static std::pair<char32_t, std::size_t> decode(std::string_view text) {
  const auto lead = static_cast<unsigned char>(text.front());
  const std::size_t length = lengthAfter(lead);
  if (length > text.size())
    return {0, 0};
  char32_t value = length == 1 ? lead : lead & (0x7Fu >> length);
  for (std::size_t i = 1; i < length; ++i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    if ((byte & 0xC0) != 0x80)
      return {0, 0};
    value = value << 6 | (byte & 0x3F);
  }
  return {value, isCharacter(value, length) ? length : 0};
}

static bool isPlain(char byte) {
  return byte >= ' ' && byte <= '~' && byte != '\\';
}

// The first glyph of a text that is not empty.
static Glyph firstGlyph(std::string_view text) {
  if (isPlain(text.front())) // most are: their properties need no look-up
    return {text.substr(0, 1), true, 1};
  const auto [character, length] = decode(text);
  if (length == 0)
    return {text.substr(0, 1), false, 0};
  const auto bytes = text.substr(0, length);
  const int columns = columnsOf(character);
  if (columns == HIDDEN)
    return {bytes, false, 0};
  return {bytes, true, static_cast<std::size_t>(columns)};
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
