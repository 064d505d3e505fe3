#include "LauncherHelper.h"

#include "LauncherConstants.h"
#include "Platform.h"

namespace fs = std::filesystem;

namespace LauncherHelper {

fs::path getOriginalInstallationDirectory() {
  return ORIGINAL_INSTALLATION_DIR;
}

fs::path getLauncherDirectory() {
  const fs::path applicationSupport = Platform::applicationSupportDirectory();
  return fs::exists(applicationSupport) ? applicationSupport / LAUNCHER_FOLDER_NAME : fs::path();
}

fs::path getCurrentPackageDirectory() {
  return {};
}

fs::path getLogPath() {
  const fs::path library = Platform::libraryDirectory();
  return library.empty() ? fs::path() : library / VDI_LOGE_FOLDER_NAME;
}

std::string toStdString(const fs::path& path) {
  return path.u8string();
}

} // namespace LauncherHelper
