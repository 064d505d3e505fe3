// Lays out a home for the fault tests. Beside the launcher's folders it holds files that must not
// change. Usage: lay_out_home plain|corrupt|cleaning|first|bare HOME

#include "Home.h"

#include <string>

namespace fs = std::filesystem;

using namespace std::chrono_literals;

// Its program leaves one byte per start in its user's home.
static test::Copy addCopy(const fs::path& dir, const std::string& version) {
  const test::Copy copy(dir, version);
  const fs::path program = test::executableIn(copy);
  test::writeFile(program, "#!/bin/sh\nprintf 1 >>\"$HOME/starts\"\n");
  fs::permissions(program, fs::perms(0755));
  return copy;
}

int main(int argc, char** argv) {
  if (argc != 3)
    return 2;
  const std::string layout = argv[1];
  const fs::path home = argv[2];
  const fs::path support = home / "Library" / "Application Support";
  const fs::path launcher = support / "VantuOrlixVDILauncher";
  for (const auto& folder : {home / "precious", home / "Library" / "Other", support / "Other"})
    test::writeFile(folder / "file", "precious");
  fs::create_directory(home / "work");
  if (layout == "bare") { // no Application Support, and nothing to start
    fs::remove_all(support);
    return 0;
  }
  const auto add = [&](const std::string& version) { return addCopy(launcher / version, version); };
  if (layout != "first") { // which has no launcher folder yet
    add("45.12.0.900").launches("2").launched(3h).startedSafely();
    add("45.11.0.1").launches("5").launched(30h).startedSafely();
  }
  if (layout == "corrupt")
    add("45.12.0.901").launches("3").launched(1h);
  if (layout == "cleaning") {
    add("45.10.0.0").launched(40h).startedSafely();
    add("45.10.0.1").launched(20h).startedSafely();
    add("45.10.0.2").launched(50h).startedSafely();
    add("45.10.0.3").launched(10h).startedSafely();
    add("45.10.0.4").startedSafely();
    fs::create_directory_symlink(home / "precious", launcher / "45.10.0.2" / "link");
  }
  if (layout == "first")
    addCopy(home / "work", "45.12.0.900").startedSafely();
}
