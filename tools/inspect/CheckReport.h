#pragma once

#include "Report.h"

#include <string>

namespace LauncherInspect {

// The exit statuses that monitoring systems expect of a check.
enum CheckStatus : int { CHECK_OK = 0, CHECK_WARNING = 1, CHECK_CRITICAL = 2, CHECK_UNKNOWN = 3 };

// How bad the worst message of a report is.
CheckStatus checkStatusOf(const Report& report);

// One line: the status, the outcome and the codes that caused the status.
std::string toCheckLine(const Report& report);

// The same, where there is no report.
std::string toUnknownLine(const std::string& reason);

} // namespace LauncherInspect
