#include "VersionOracle.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <regex>

namespace test::VersionOracle {

std::vector<std::string> split(const std::string& version) {
  static const std::regex dot("\\.");
  return {std::sregex_token_iterator(version.begin(), version.end(), dot, -1), {}};
}

static bool isNumber(const std::string& text, long& number) {
  char* end = nullptr;
  errno = 0;
  number = std::strtol(text.c_str(), &end, 10);
  return end != text.c_str() && errno == 0 && number >= INT_MIN && number <= INT_MAX;
}

using Components = std::vector<std::string>;

static bool
exceedsFrom(std::size_t index, const Components& a, const Components& b, std::size_t count) {
  long left = 0;
  long right = 0;
  if (index >= count || index >= a.size())
    return false;
  if (index >= b.size())
    return true;
  if (!isNumber(a[index], left) || !isNumber(b[index], right))
    return false;
  return left == right ? exceedsFrom(index + 1, a, b, count) : left > right;
}

bool exceeds(const std::string& a, const std::string& b, std::size_t count) {
  return exceedsFrom(0, split(a), split(b), count);
}

} // namespace test::VersionOracle
