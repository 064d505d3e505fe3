// Lays out a home for the fault tests. Beside the launcher's folders it holds files that must not
// change. Usage: lay_out_home plain|corrupt|cleaning|first HOME APPLICATION

#include "Home.h"

#include <string>

namespace fs = std::filesystem;

struct Folder {
  const char* layouts; // those that have it
  const char* version;
  const char* launches; // null: no record
  int hoursAgo;         // of the last launch; 0: no record
  bool safe;            // started safely
};

constexpr Folder FOLDERS[] = {
    {"plain corrupt cleaning", "45.12.0.900", "2", 3, true},
    {"plain corrupt cleaning", "45.11.0.1", "5", 30, true},
    {"corrupt", "45.12.0.901", "3", 1, false},
    {"cleaning", "45.10.0.0", nullptr, 40, true},
    {"cleaning", "45.10.0.1", nullptr, 20, true},
    {"cleaning", "45.10.0.2", nullptr, 50, true},
    {"cleaning", "45.10.0.3", nullptr, 10, true},
    {"cleaning", "45.10.0.4", nullptr, 0, true}};

static void addFolder(const fs::path& launcher, const Folder& folder, const fs::path& application) {
  test::Copy copy(launcher / folder.version, folder.version);
  copy.executable(application);
  if (folder.launches != nullptr)
    copy.launches(folder.launches);
  if (folder.hoursAgo != 0)
    copy.launched(std::chrono::hours(folder.hoursAgo));
  if (folder.safe)
    copy.startedSafely();
}

int main(int argc, char** argv) {
  if (argc != 4)
    return 2;
  const std::string layout = argv[1];
  const fs::path home = argv[2];
  const fs::path support = home / "Library" / "Application Support";
  const fs::path launcher = support / "VantuOrlixVDILauncher";
  for (const auto& folder : {home / "precious", home / "Library" / "Other", support / "Other"})
    test::writeFile(folder / "file", "precious");
  fs::create_directory(home / "work");
  for (const Folder& folder : FOLDERS) {
    if (std::string(folder.layouts).find(layout) != std::string::npos)
      addFolder(launcher, folder, argv[3]);
  }
  if (layout == "cleaning")
    fs::create_directory_symlink(home / "precious", launcher / "45.10.0.2" / "link");
  if (layout == "first") // no launcher folder yet
    test::Copy(home / "work", "45.12.0.900").executable(argv[3]).startedSafely();
}
