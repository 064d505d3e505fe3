#include "ThinClientLauncherEntryPoint.h"

#include "LaunchArguments.h"
#include "LauncherConstants.h"
#include "LauncherHelper.h"
#include "LogMessages.h"
#include "Logger.h"
#include "ThinClientLauncher.h"

#include <exception>

namespace LauncherLogger {

// Opens the mode's log file, emptied. Without a Library folder the path is empty, which opens no
// log: the bare file name would be one in the host's working folder.
static void initialize(int argc, char** argv) {
  std::filesystem::path file = LauncherHelper::getLogPath();
  if (!file.empty())
    file /= isLoadMode(argc, argv) ? VDI_LAUNCH_LOGE_LOAD_MODE : VDI_LAUNCH_LOGE_LAUNCH_MODE;
  Logger::open(file, true);
}

} // namespace LauncherLogger

namespace {

// Exists once an exception has left a call: it closes the log that this call has left open.
struct CloseAtUnload {
  ~CloseAtUnload() { Logger::close(); }
};

struct Call {
  ~Call() {
    if (std::uncaught_exceptions() > 0)
      static const CloseAtUnload closeAtUnload;
  }
};

} // namespace

extern "C" int ThinClientLauncherEntryPoint(int argc, char** argv) {
  const Call call;
  LauncherLogger::initialize(argc, argv);
  Logger::log(LogMessages::ENTRY_POINT_CALLED);
  ThinClientLauncher launcher;
  const int result = launcher.launch(argc, argv);
  Logger::close();
  return result;
}
