#include "LauncherHelper.h"

#include "LauncherConstants.h"
#include "Platform.h"

#include <chrono>
#include <thread>

namespace fs = std::filesystem;

namespace LauncherHelper {

// Gives the application time to come up before its records are written.
constexpr std::chrono::milliseconds PAUSE_AFTER_START{3000};

// --- Copies ---

bool isVDIPluginDirectory(const fs::path& dir) {
  return fs::exists(dir / VDI_MAIN_APP_NAME);
}

bool isSetupEngineDirectory(const fs::path&) {
  return false;
}

std::string getDirectoryVersion(const fs::path& dir) {
  return Platform::bundleVersion(dir / VDI_MAIN_APP_NAME);
}

std::string getVDIExeVersion(const fs::path&) {
  return {};
}

// --- Applications ---

void launchFromDirectory(const fs::path& dir, const std::string& argument) {
  Platform::startApplication(dir / VDI_MAIN_APP_NAME, argument);
  std::this_thread::sleep_for(PAUSE_AFTER_START);
}

} // namespace LauncherHelper
