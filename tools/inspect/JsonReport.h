#pragma once

#include "Report.h"

#include <string>

namespace LauncherInspect {

// The report for a program: one JSON object in ASCII, described in docs/launcher-inspect-json.md.
// Bytes that are not UTF-8 become U+FFFD.
std::string toJson(Report report);

} // namespace LauncherInspect
