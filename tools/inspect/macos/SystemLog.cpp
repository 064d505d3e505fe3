#include "LaunchLog.h"

namespace LauncherInspect {

std::string systemLogCommand(const std::string& since) {
  return "log show" + (since.empty() ? "" : " --start '" + since + "'") +
         " --predicate 'eventMessage BEGINSWITH \"launch app succeed\" OR "
         "eventMessage BEGINSWITH \"Failed to run the app\"'";
}

} // namespace LauncherInspect
