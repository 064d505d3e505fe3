#include "DisplayText.h"

#include <fmt/format.h>

#include <algorithm>
#include <clocale>
#include <cwchar>
#include <locale.h>
#include <string_view>
#if __has_include(<xlocale.h>)
#include <xlocale.h>
#endif

namespace LauncherInspect {

namespace {

// What is printed at one place: a character, or a byte that is none.
struct Glyph {
  std::string_view bytes;
  int width; // below 0: not printable
};

// Characters count as UTF-8 whatever the locale of the user.
class Utf8 {
public:
  Utf8() : utf8(newLocale()), before(::uselocale(utf8)) {}
  ~Utf8() {
    ::uselocale(before);
    if (utf8 != static_cast<locale_t>(nullptr))
      ::freelocale(utf8);
  }
  Utf8(const Utf8&) = delete;
  Utf8& operator=(const Utf8&) = delete;

private:
  static locale_t newLocale() {
    const locale_t named = ::newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    return named != nullptr ? named : ::newlocale(LC_CTYPE_MASK, "UTF-8", nullptr);
  }

  locale_t utf8;
  locale_t before;
};

} // namespace

// Invisible characters that reorder or join the text around them.
static bool steersLayout(wchar_t character) {
  return (character >= 0x200B && character <= 0x200F) ||
         (character >= 0x2028 && character <= 0x202E) ||
         (character >= 0x2060 && character <= 0x206F) || character == 0xFEFF;
}

static std::vector<Glyph> glyphsOf(std::string_view text) {
  const Utf8 utf8;
  std::vector<Glyph> glyphs;
  while (!text.empty()) {
    wchar_t character = 0;
    std::mbstate_t state{};
    const std::size_t length = std::mbrtowc(&character, text.data(), text.size(), &state);
    const bool isCharacter = length > 0 && length <= text.size();
    const std::size_t size = isCharacter ? length : 1;
    const int width = isCharacter && !steersLayout(character) ? ::wcwidth(character) : -1;
    glyphs.push_back({text.substr(0, size), width});
    text.remove_prefix(size);
  }
  return glyphs;
}

static std::string escaped(const Glyph& glyph) {
  if (glyph.bytes == "\\")
    return "\\\\";
  if (glyph.bytes == "\n")
    return "\\n";
  if (glyph.width >= 0)
    return std::string(glyph.bytes);
  std::string text;
  for (const char byte : glyph.bytes)
    text += fmt::format("\\x{:02x}", static_cast<unsigned char>(byte));
  return text;
}

std::string escape(const std::string& text) {
  std::string line;
  for (const auto& glyph : glyphsOf(text))
    line += escaped(glyph);
  return line;
}

static std::size_t widthOf(const Glyph& glyph) {
  return static_cast<std::size_t>(std::max(0, glyph.width));
}

std::size_t displayWidth(const std::string& text) {
  std::size_t width = 0;
  for (const auto& glyph : glyphsOf(text))
    width += widthOf(glyph);
  return width;
}

// The bytes of the first glyphs that fit.
static std::size_t fittingBytes(const std::vector<Glyph>& glyphs, std::size_t width) {
  std::size_t bytes = 0;
  for (const auto& glyph : glyphs) {
    if (widthOf(glyph) > width)
      break;
    width -= widthOf(glyph);
    bytes += glyph.bytes.size();
  }
  return bytes;
}

std::string shorten(const std::string& text, std::size_t width) {
  if (displayWidth(text) <= width)
    return text;
  return text.substr(0, fittingBytes(glyphsOf(text), width - 3)) + "...";
}

static std::string withoutTrailingBlanks(std::string_view line) {
  return std::string(line.substr(0, line.find_last_not_of(' ') + 1));
}

std::vector<std::string> wrap(const std::string& text, std::size_t width) {
  std::vector<std::string> lines;
  std::string_view rest = text;
  while (displayWidth(std::string(rest)) > width) {
    const std::size_t fitting = std::max<std::size_t>(1, fittingBytes(glyphsOf(rest), width));
    const auto gap = rest.find_last_of(" /", rest[fitting] == ' ' ? fitting : fitting - 1);
    const bool hasGap = gap != std::string_view::npos && gap > 0;
    const std::size_t length = hasGap ? gap + 1 : fitting;
    lines.push_back(withoutTrailingBlanks(rest.substr(0, length)));
    rest.remove_prefix(length);
  }
  lines.push_back(withoutTrailingBlanks(rest));
  return lines;
}

} // namespace LauncherInspect
