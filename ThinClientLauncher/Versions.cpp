#include "ThinClientLauncherBase.h"

#include <algorithm>
#include <charconv>
#include <optional>

std::vector<std::string> ThinClientLauncherBase::splitVersion(const std::string& version) {
  std::vector<std::string> components;
  std::size_t start = 0;
  for (auto dot = version.find('.'); dot != std::string::npos; dot = version.find('.', start)) {
    components.push_back(version.substr(start, dot - start));
    start = dot + 1;
  }
  if (start < version.size() || components.empty())
    components.push_back(version.substr(start));
  return components;
}

// Parses white space, an optional sign and digits, and ignores what follows. Independent of the
// locale.
static std::optional<std::int32_t> componentNumber(const std::string& component) {
  const char* first = component.data();
  const char* const last = first + component.size();
  first = std::find_if(first, last, [](char c) { return c != ' ' && (c < '\t' || c > '\r'); });
  if (first != last && *first == '+') {
    ++first;
    if (first != last && *first == '-')
      return std::nullopt;
  }
  std::int32_t number = 0;
  if (std::from_chars(first, last, number).ec != std::errc())
    return std::nullopt;
  return number;
}

bool ThinClientLauncherBase::isGreaterVersion(
    const std::string& a, const std::string& b, std::uint32_t count) {
  const auto componentsOfA = splitVersion(a);
  const auto componentsOfB = splitVersion(b);
  const std::size_t compared = std::min<std::size_t>(count, componentsOfA.size());
  for (std::size_t i = 0; i < compared; ++i) {
    if (i >= componentsOfB.size())
      return true;
    const auto numberOfA = componentNumber(componentsOfA[i]);
    const auto numberOfB = componentNumber(componentsOfB[i]);
    if (!numberOfA || !numberOfB)
      return false;
    if (*numberOfA != *numberOfB)
      return *numberOfA > *numberOfB;
  }
  return false;
}
