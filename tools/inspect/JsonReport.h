#pragma once

#include "Disclosure.h"
#include "Inspection.h"

#include <string>

namespace LauncherInspect {

// The report for a program: one JSON object, described in docs/launcher-inspect-json.md.
std::string toJson(const Inspection& inspection, const Disclosure& disclosure);

} // namespace LauncherInspect
