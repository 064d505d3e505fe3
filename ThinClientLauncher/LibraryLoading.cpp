#include "LauncherHelper.h"

#include "LaunchArguments.h"
#include "LauncherConstants.h"
#include "LogMessages.h"
#include "Logger.h"
#include "Platform.h"

#include <iomanip>
#include <sstream>

namespace fs = std::filesystem;

namespace LauncherHelper {

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

} // namespace LauncherHelper
