#include "LaunchLog.h"

namespace LauncherInspect {

std::string systemLogCommand(const std::string& since) {
  return "journalctl" + (since.empty() ? "" : " -S '" + since + "'") +
         " -g 'launch app succeed|Failed to run'";
}

} // namespace LauncherInspect
