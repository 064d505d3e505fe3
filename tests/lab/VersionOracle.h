#pragma once

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <optional>
#include <string>
#include <vector>

// Splitting and comparing versions, defined a second time.
namespace test::VersionOracle {

inline std::vector<std::string> split(const std::string& version) {
  std::vector<std::string> components{""};
  for (const char c : version) {
    if (c == '.')
      components.emplace_back();
    else
      components.back() += c;
  }
  if (components.size() > 1 && components.back().empty())
    components.pop_back();
  return components;
}

inline std::optional<long> number(const std::string& component) {
  char* end = nullptr;
  errno = 0;
  const long value = std::strtol(component.c_str(), &end, 10);
  const bool isNumber =
      end != component.c_str() && errno == 0 && value >= INT_MIN && value <= INT_MAX;
  return isNumber ? std::optional(value) : std::nullopt;
}

// Whether a exceeds b in the first count components.
inline bool exceeds(const std::string& a, const std::string& b, std::size_t count) {
  const auto left = split(a), right = split(b);
  for (std::size_t i = 0; i < std::min(count, left.size()); ++i) {
    if (i >= right.size())
      return true;
    const auto l = number(left[i]), r = number(right[i]);
    if (!l || !r || l != r)
      return l && r && *l > *r;
  }
  return false;
}

} // namespace test::VersionOracle
