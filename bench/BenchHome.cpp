#include "BenchHome.h"

#include <regex>

namespace fs = std::filesystem;

static void addCopy(const fs::path& dir, const std::string& version) {
  static const std::string list = test::readFile(BENCH_INFO_PLIST);
  static const std::regex placeholder("@VERSION@");
  const fs::path contents = dir / "OrlixVDIPlugin.app" / "Contents";
  test::writeFile(contents / "Info.plist", std::regex_replace(list, placeholder, version));
  fs::create_directory(contents / "MacOS");
  fs::copy_file(BENCH_APPLICATION, contents / "MacOS" / "OrlixVDIPlugin");
}

BenchHome::BenchHome(int copies) {
  const fs::path library = path() / "Library";
  const fs::path launcher = library / "Application Support" / "VantuOrlixVDILauncher";
  fs::create_directories(library / "Logs" / "VantuOrlixVDI");
  fs::create_directories(launcher);
  addCopy(workFolder(), "45.12.0.900");
  for (int number = 1; number < copies; ++number) {
    const std::string version = "45.11.0." + std::to_string(number);
    addCopy(launcher / version, version);
    test::writeFile(launcher / version / "launchCount.dat", "1");
    test::writeFile(launcher / version / "launch.dat", "1700000000");
    test::writeFile(launcher / version / "started.dat", "");
  }
}
