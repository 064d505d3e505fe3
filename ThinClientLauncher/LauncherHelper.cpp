#include "LauncherHelper.h"

#include "LaunchArguments.h"
#include "LauncherConstants.h"
#include "LogMessages.h"
#include "Logger.h"
#include "Platform.h"

#include <chrono>
#include <iomanip>
#include <sstream>
#include <thread>

namespace fs = std::filesystem;

namespace LauncherHelper {

// Gives the application time to come up before its records are written.
constexpr std::chrono::milliseconds PAUSE_AFTER_START{3000};

// --- Layout ---

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

fs::path getLogPath() {
  const fs::path library = Platform::libraryDirectory();
  return library.empty() ? fs::path() : library / VDI_LOGE_FOLDER_NAME;
}

std::string toStdString(const fs::path& path) {
  return path.u8string();
}

// --- Libraries ---

using MainEntryPoint = int (*)(int, void*);
using LauncherEntryPoint = int (*)(int, char**);

static void logFailedLoad(const std::string& shownPath) {
  const std::string reason = Platform::loaderError();
  Logger::log(shownPath + LogMessages::LOAD_FAILED + reason);
}

void loadMainDllFromCurrentDirectory() {
  const std::string path = Platform::frameworksPrefix() + VDI_MAIN_LIBRARY_NAME;
  void* const library = Platform::loadLibrary(path);
  if (library == nullptr) {
    logFailedLoad(path);
    return;
  }
  // A missing entry function is not reported.
  if (void* const entry = Platform::findSymbol(library, VDI_MAIN_LIBRARY_EntryPoint))
    reinterpret_cast<MainEntryPoint>(entry)(1, nullptr);
}

static std::string quoted(const std::string& path) {
  std::ostringstream text;
  text << std::quoted(path);
  return text.str();
}

// Logs which library is loaded and returns its path. In load mode an application uses its own copy.
static std::string chooseLauncherLibrary(int argc, char** argv) {
  const fs::path shared = getLauncherDirectory() / VDI_LAUNCHER_LIBRARY_NAME;
  if (!isLoadMode(argc, argv) && fs::exists(shared)) {
    Logger::log("load launcherDLL from launcher folder");
    return toStdString(shared);
  }
  Logger::log("load launcherDLL from current executable folder");
  return Platform::frameworksPrefix() + VDI_LAUNCHER_LIBRARY_NAME;
}

void loadLauncherDll(int argc, char** argv) {
  const std::string path = chooseLauncherLibrary(argc, argv);
  void* const library = Platform::loadLibrary(path);
  if (library == nullptr) {
    logFailedLoad(quoted(path));
    return;
  }
  void* const entry = Platform::findSymbol(library, VDI_LAUNCHER_LIBRARY_EntryPoint);
  if (entry == nullptr) {
    Logger::log("dlsym dlerror: " + Platform::loaderError());
    return;
  }
  reinterpret_cast<LauncherEntryPoint>(entry)(argc, argv);
}

// --- Applications ---

void launchFromDirectory(const fs::path& dir, const std::string& argument) {
  Platform::startApplication(dir / VDI_MAIN_APP_NAME, argument);
  std::this_thread::sleep_for(PAUSE_AFTER_START);
}

} // namespace LauncherHelper
