#pragma once

#include "Report.h"
#include "Terminal.h"

#include <string>

namespace LauncherInspect {

// The report for a reader. No line is wider than the terminal.
std::string toText(const Report& report, const Terminal& terminal);

// One line per candidate: the chosen one first, the others from the highest version to the lowest.
std::string toBriefText(const Report& report, const Terminal& terminal);

// The explained candidate alone, with every rule that it passed or failed.
std::string toExplanation(const Report& report, const Terminal& terminal);

} // namespace LauncherInspect
