#pragma once

#include "Page.h"

namespace LauncherInspect {

// Every candidate with its records and its verdict: a row each, or a block each on a narrow
// terminal.
void addCandidates(Page& page, const Report& candidates);

} // namespace LauncherInspect
