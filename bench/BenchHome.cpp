#include "BenchHome.h"

#include <regex>

namespace fs = std::filesystem;

// The executable is the same file in all copies.
static test::Copy
addCopy(const fs::path& dir, const std::string& version, const fs::path& executable) {
  static const std::string list = test::readFile(BENCH_INFO_PLIST);
  static const std::regex placeholder("@VERSION@");
  test::Copy copy(dir);
  copy.list(std::regex_replace(list, placeholder, version));
  fs::create_directory(test::executableIn(dir).parent_path());
  fs::create_hard_link(executable, test::executableIn(dir));
  return copy;
}

BenchHome::BenchHome(int copies) {
  const fs::path library = path() / "Library";
  const fs::path launcher = library / "Application Support" / "VantuOrlixVDILauncher";
  fs::create_directories(library / "Logs" / "VantuOrlixVDI");
  fs::create_directories(launcher);
  const fs::path executable = path() / "application";
  fs::copy_file("/bin/true", executable); // no time of its own is measured
  addCopy(workFolder(), "45.12.0.900", executable);
  for (int number = 1; number < copies; ++number) {
    const std::string version = "45.11.0." + std::to_string(number);
    addCopy(launcher / version, version, executable)
        .launches("1")
        .launched(std::chrono::hours(0))
        .startedSafely();
  }
}
