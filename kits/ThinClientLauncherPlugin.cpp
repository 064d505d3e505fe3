#include "ThinClientLauncherPlugin.h"

#include "LaunchRecords.h"
#include "LauncherConstants.h"
#include "LauncherHelper.h"
#include "Platform.h"

#include <filesystem>
#include <fstream>
#include <vector>

namespace fs = std::filesystem;

namespace {

bool isBelow(const fs::path& folder, const fs::path& file) {
  std::error_code error;
  for (fs::path above = file.parent_path(); above.has_relative_path();
       above = above.parent_path()) {
    if (fs::equivalent(above, folder, error))
      return true;
  }
  return false;
}

// The folders in the launcher folder whose bundle holds this code, or the program as it was
// started, which may be a link out of the bundle. The system may name the code's file without
// links, and a copy or its bundle may be a link: the names do not tell, and a bundle may belong to
// several copies.
std::vector<fs::path> ownCopies() {
  const fs::path image = Platform::imagePath(reinterpret_cast<void*>(&ownCopies));
  const fs::path program = Platform::startedProgram();
  const fs::path launcherDirectory = LauncherHelper::getLauncherDirectory();
  std::vector<fs::path> copies;
  if (!fs::exists(launcherDirectory))
    return copies;
  for (const auto& entry : fs::directory_iterator(launcherDirectory)) {
    const fs::path bundle = entry.path() / VDI_MAIN_APP_NAME;
    if (isBelow(bundle, image) || isBelow(bundle, program))
      copies.push_back(entry.path());
  }
  return copies;
}

// Only presence counts, so an existing file stays as it is; opening a named pipe would wait.
bool createMark(const fs::path& copy) {
  const fs::path mark = copy / SAFE_START_FILE_NAME;
  return fs::exists(mark) || std::ofstream(mark).is_open();
}

} // namespace

extern "C" void ThinClientLauncherPluginRun(int argc, char** argv) {
  LauncherHelper::loadLauncherDll(argc, argv);
}

extern "C" ThinClientLauncherPluginStatus ThinClientLauncherPluginRecordSafeStart() try {
  const std::vector<fs::path> copies = ownCopies();
  if (copies.empty())
    return THIN_CLIENT_LAUNCHER_PLUGIN_NO_COPY;
  bool created = true;
  for (const fs::path& copy : copies)
    created = createMark(copy) && created;
  return created ? THIN_CLIENT_LAUNCHER_PLUGIN_RECORDED : THIN_CLIENT_LAUNCHER_PLUGIN_FAILED;
} catch (...) {
  return THIN_CLIENT_LAUNCHER_PLUGIN_FAILED;
}
