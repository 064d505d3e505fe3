#pragma once

#include "Facts.h"
#include "Redaction.h"

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

namespace LauncherInspect {

// All that is told to the user: worded, coded and redacted, a document of plain values whose
// members docs/launcher-inspect-json.md describes. The layouts only lay it out and escape it; its
// texts may hold any byte.
using Report = nlohmann::ordered_json;

// The names are replaced by stars in every text that is not the command's own; where there is any,
// that of the home's owner too.
Report makeReport(
    const Facts& facts,
    const std::vector<std::string>& maskedNames = {},
    Paths paths = Paths::BelowTilde);

} // namespace LauncherInspect
