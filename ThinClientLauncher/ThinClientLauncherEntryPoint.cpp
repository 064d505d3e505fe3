#include "ThinClientLauncherEntryPoint.h"

#include "LaunchArguments.h"
#include "LauncherConstants.h"
#include "LauncherHelper.h"
#include "LogMessages.h"
#include "Logger.h"
#include "ThinClientLauncher.h"

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

struct CloseAtUnload {
  ~CloseAtUnload() { Logger::close(); }
};

// A call that an exception or the end of its thread cuts short leaves the log open until the
// library is unloaded.
struct Call {
  ~Call() {
    if (!hasReturned)
      static const CloseAtUnload closeAtUnload;
  }
  bool hasReturned = false;
};

} // namespace

extern "C" int ThinClientLauncherEntryPoint(int argc, char** argv) {
  Call call;
  LauncherLogger::initialize(argc, argv);
  Logger::log(LogMessages::ENTRY_POINT_CALLED);
  ThinClientLauncher launcher;
  const int result = launcher.launch(argc, argv);
  Logger::close();
  call.hasReturned = true;
  return result;
}
