#include "JsonReport.h"

#include "DisplayText.h"

#include <fmt/format.h>

#include <utility>
#include <vector>

namespace LauncherInspect {

static std::string toHex(const std::string& bytes) {
  std::string hex;
  for (const char byte : bytes)
    hex += fmt::format("{:02x}", static_cast<unsigned char>(byte));
  return hex;
}

static bool isBroken(const Report& value) {
  return value.is_string() && !isUtf8(value.get_ref<const std::string&>());
}

// Adds to every object the bytes of its texts that are not UTF-8.
static void addBytes(Report& value) {
  if (!value.is_structured())
    return;
  std::vector<std::pair<std::string, std::string>> broken;
  for (auto member = value.begin(); member != value.end(); ++member) {
    addBytes(*member);
    if (value.is_object() && isBroken(*member))
      broken.emplace_back(member.key() + "Bytes", toHex(*member));
  }
  for (const auto& [name, hex] : broken)
    value[name] = hex;
}

std::string toJson(Report report) {
  addBytes(report);
  return report.dump(2, ' ', true, Report::error_handler_t::replace) + "\n";
}

} // namespace LauncherInspect
