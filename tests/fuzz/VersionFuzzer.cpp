// Splitting and comparing versions, against an independent definition of both.

#include "FuzzCheck.h"
#include "ThinClientLauncherBase.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <optional>

namespace {

std::vector<std::string> split(const std::string& version) {
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

std::optional<long> number(const std::string& component) {
  char* end = nullptr;
  errno = 0;
  const long value = std::strtol(component.c_str(), &end, 10);
  const bool isNumber =
      end != component.c_str() && errno == 0 && value >= INT_MIN && value <= INT_MAX;
  return isNumber ? std::optional(value) : std::nullopt;
}

// Whether a exceeds b in the first count components.
bool exceeds(const std::string& a, const std::string& b, std::size_t count) {
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

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0 || size > 256)
    return 0;
  const std::uint32_t count = data[0] % 7U;
  const std::string text(reinterpret_cast<const char*>(data) + 1, size - 1);
  const std::size_t middle = std::min(text.find('\n'), text.size());
  const std::string a = text.substr(0, middle);
  const std::string b = text.substr(std::min(middle + 1, text.size()));

  using Launcher = ThinClientLauncherBase;
  const auto isGreater = [count](const std::string& x, const std::string& y) {
    return withinLimit([&] { return Launcher::isGreaterVersion(x, y, count); });
  };
  FUZZ_CHECK(Launcher::splitVersion(a) == split(a));
  FUZZ_CHECK(isGreater(a, b) == exceeds(a, b, count));
  FUZZ_CHECK(isGreater(b, a) == exceeds(b, a, count));
  return 0;
}
