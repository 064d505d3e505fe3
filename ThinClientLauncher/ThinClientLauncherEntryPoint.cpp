#include "ThinClientLauncherEntryPoint.h"

#include "LaunchArguments.h"
#include "LauncherConstants.h"
#include "LauncherHelper.h"
#include "LogMessages.h"
#include "Logger.h"
#include "ThinClientLauncher.h"

namespace LauncherLogger {

// Opens the mode's log file, emptied. Without a Library folder there is no log: the bare file name
// would create it in the host's working folder.
static void initialize(int argc, char** argv) {
  const std::filesystem::path folder = LauncherHelper::getLogPath();
  if (folder.empty())
    return;
  Logger::open(
      folder / (isLoadMode(argc, argv) ? VDI_LAUNCH_LOGE_LOAD_MODE : VDI_LAUNCH_LOGE_LAUNCH_MODE),
      true);
}

} // namespace LauncherLogger

extern "C" int ThinClientLauncherEntryPoint(int argc, char** argv) {
  const Logger::Use loggerUse;
  LauncherLogger::initialize(argc, argv);
  Logger::log(LogMessages::ENTRY_POINT_CALLED);
  ThinClientLauncher launcher;
  const int result = launcher.launch(argc, argv);
  Logger::close();
  return result;
}
