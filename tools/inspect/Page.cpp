#include "Page.h"

namespace LauncherInspect {

constexpr std::size_t NARROWEST_TABLE = 70;
constexpr std::size_t LABEL_WIDTH = 19;
constexpr std::size_t INDENT_BELOW_LABEL = 4;

// --- Lines ---

Page::Page(const Terminal& description) : terminal(description) {}

bool Page::isNarrow() const {
  return terminal.width < NARROWEST_TABLE;
}

void Page::line(const std::string& text, const Style& style) {
  page += terminal.colour && !text.empty() ? fmt::format(style, "{}", text) : text;
  page += '\n';
}

constexpr const char* REMEDY = "Remedy: ";

// Where the quoted path begins that ends a remedy; the length of a text without one.
static std::size_t findPath(const std::string& text) {
  const std::size_t start = text.rfind(REMEDY, 0) == 0 ? text.find(" '") : std::string::npos;
  return start == std::string::npos || text.back() != '\'' ? text.size() : start + 1;
}

void Page::hanging(std::string prefix, const std::string& text, const Style& style) {
  const std::size_t indent = prefix.size();
  const std::size_t path = isUnlimited() ? text.size() : findPath(text);
  for (const auto& part : wrap(text.substr(0, path), terminal.width - indent)) {
    line(prefix + part, style);
    prefix = std::string(indent, ' ');
  }
  if (path < text.size())
    line(prefix + text.substr(path), style);
}

void Page::heading(const std::string& text) {
  line("");
  paragraph(0, text, BOLD);
}

void Page::paragraph(std::size_t indent, const std::string& text, const Style& style) {
  if (!text.empty())
    hanging(std::string(indent, ' '), escape(text), style);
}

std::size_t Page::itemIndent() const {
  return isNarrow() ? INDENT_BELOW_LABEL : LABEL_WIDTH;
}

void Page::item(const std::string& label, const std::string& text, const Style& style) {
  if (isNarrow())
    line("  " + label, DIM);
  const std::string prefix = isNarrow() ? "" : "  " + label;
  hanging(padded(prefix, itemIndent()), escape(text), style);
}

void Page::remark(const std::string& text, const Style& style) {
  paragraph(itemIndent(), text, style);
}

void Page::itemIfAny(const std::string& label, const Report& text) {
  if (!text.is_null())
    item(label, text);
}

// --- Values ---

std::string textOf(const Report& message) {
  return message.at("text");
}

std::string remedyOf(const Report& message) {
  return message.contains("remedy") ? REMEDY + message.at("remedy").get<std::string>() : "";
}

std::string nameOf(const std::string& path) {
  return path.substr(path.find_last_of('/') + 1);
}

std::string folderOf(const Report& candidate) {
  const std::string path = candidate.at("directory");
  return candidate.at("inLauncherDirectory") ? nameOf(path) : path;
}

std::string shortVersionOf(const Report& candidate) {
  const Report& version = candidate.at("version");
  return version.is_null() ? "-" : shorten(escape(version.get<std::string>()), VERSION_WIDTH);
}

std::string recordOf(const Report& value) {
  if (value.is_null())
    return "?";
  if (value.is_boolean())
    return value ? "yes" : "no";
  if (value.is_number() || value == "never")
    return value.is_number() ? value.dump() : "never";
  const std::string time = value;
  return time.substr(0, 10) + " " + time.substr(11, 8);
}

std::string safeStartOf(const Report& candidate) {
  const Report& started = candidate.at("startedSafely");
  if (started.is_null() || started == true || candidate.at("recordsSafeStart") == true)
    return recordOf(started);
  return candidate.at("version").is_null() ? "-" : "too old";
}

Style styleOf(const Report& candidate) {
  const std::string verdict = candidate.at("verdict").at("code");
  if (verdict == "would-start")
    return GOOD;
  if (verdict == "corrupt")
    return BAD;
  return candidate.at("nearlyCorrupt") ? WARNING : PLAIN;
}

std::string padded(const std::string& escapedText, std::size_t width) {
  const std::size_t taken = displayWidth(escapedText);
  return escapedText + std::string(taken < width ? width - taken : 0, ' ');
}

} // namespace LauncherInspect
