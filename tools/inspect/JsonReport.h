#pragma once

#include "Report.h"

#include <string>

namespace LauncherInspect {

// The report for a program: one JSON object, described in docs/launcher-inspect-json.md.
std::string toJson(const Report& report);

} // namespace LauncherInspect
