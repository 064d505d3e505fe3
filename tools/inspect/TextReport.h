#pragma once

#include "Report.h"
#include "Terminal.h"

#include <string>

namespace LauncherInspect {

// The report for a reader. No line is wider than the terminal, unless that has fewer columns than
// the table of candidates needs (about 70).
std::string toText(const Report& report, const Terminal& terminal);

} // namespace LauncherInspect
