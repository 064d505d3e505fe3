// Splitting and comparing versions, against an independent definition of both.

#include "FuzzCheck.h"
#include "ThinClientLauncherBase.h"
#include "VersionOracle.h"

#include <algorithm>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0 || size > 256)
    return 0;
  const std::uint32_t count = data[0] % 7U;
  const std::string text(reinterpret_cast<const char*>(data) + 1, size - 1);
  const std::size_t middle = std::min(text.find('\n'), text.size());
  const std::string a = text.substr(0, middle);
  const std::string b = text.substr(std::min(middle + 1, text.size()));

  using Launcher = ThinClientLauncherBase;
  FUZZ_CHECK(Launcher::splitVersion(a) == test::VersionOracle::split(a));
  FUZZ_CHECK(Launcher::isGreaterVersion(a, b, count) == test::VersionOracle::exceeds(a, b, count));
  FUZZ_CHECK(Launcher::isGreaterVersion(b, a, count) == test::VersionOracle::exceeds(b, a, count));
  return 0;
}
