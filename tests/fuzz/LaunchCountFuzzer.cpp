// Reading any content of launchCount.dat and counting one launch on top of it.

#include "FuzzCheck.h"
#include "Home.h"
#include "ThinClientLauncherBase.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <string>

namespace {

// Blanks, a sign, digits; whatever follows does not count. What does not fit is the maximum.
std::uint32_t leadingNumber(const std::string& content) {
  const auto isBlank = [](char c) { return c == ' ' || (c >= '\t' && c <= '\r'); };
  std::string text(std::find_if_not(content.begin(), content.end(), isBlank), content.end());
  const std::size_t sign = text.compare(0, 1, "-") == 0 || text.compare(0, 1, "+") == 0 ? 1 : 0;
  text.erase(std::min(text.find_first_not_of("0123456789", sign), text.size()));
  if (text.size() == sign)
    return 0;
  errno = 0;
  const unsigned long long magnitude = std::strtoull(text.c_str() + sign, nullptr, 10);
  if (errno == ERANGE || magnitude > UINT32_MAX)
    return UINT32_MAX;
  const auto number = static_cast<std::uint32_t>(magnitude);
  return text[0] == '-' ? 0U - number : number;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const test::ScopedHome home;
  static const auto copy = home.launcherDirectory() / "45.12.0.1";
  const std::string content(reinterpret_cast<const char*>(data), size);
  test::writeFile(copy / "launchCount.dat", content);

  const ThinClientLauncherBase launcher;
  const std::uint32_t count = leadingNumber(content);
  FUZZ_CHECK(withinLimit([&] { return launcher.getLaunchCount(copy); }) == count);
  launcher.incrementLaunchCount(copy);
  FUZZ_CHECK(test::readFile(copy / "launchCount.dat") == std::to_string(count + 1));
  return 0;
}
