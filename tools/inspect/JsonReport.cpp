#include "JsonReport.h"

#include <fmt/format.h>

namespace LauncherInspect {

// Bytes that are not UTF-8 become U+FFFD.
static std::string dump(const Report& value, int indent) {
  return value.dump(indent, ' ', false, Report::error_handler_t::replace);
}

static std::string toHex(const std::string& bytes) {
  std::string hex;
  for (const char byte : bytes)
    hex += fmt::format("{:02x}", static_cast<unsigned char>(byte));
  return hex;
}

// A text that is not UTF-8 is followed by a member with its bytes.
static Report withBytes(const Report& value) {
  if (!value.is_structured())
    return value;
  Report copy = value.is_array() ? Report::array() : Report::object();
  for (const auto& [member, content] : value.items()) {
    if (value.is_array()) {
      copy.push_back(withBytes(content));
      continue;
    }
    copy[member] = withBytes(content);
    if (content.is_string() && Report::parse(dump(content, -1)) != content)
      copy[member + "Bytes"] = toHex(content);
  }
  return copy;
}

std::string toJson(const Report& report) {
  return dump(withBytes(report), 2) + "\n";
}

} // namespace LauncherInspect
