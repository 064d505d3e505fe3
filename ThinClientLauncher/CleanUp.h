#pragma once

// What a clean-up of the launcher folder removes and keeps. Reads the file system and reports to
// the log, if one is open; changes nothing else.

#include "ThinClientLauncherBase.h"

#include <filesystem>
#include <optional>
#include <vector>

namespace CleanUp {

struct LaunchedDirectory {
  std::filesystem::file_time_type launchTime; // the clock's minimum: unknown
  std::filesystem::path dir;
};
using LaunchedDirectories = std::vector<LaunchedDirectory>;

// The folders in the launcher folder other than launchedDir; nothing when launchedDir lies
// elsewhere, since then there is no clean-up.
std::optional<LaunchedDirectories> findOthers(const std::filesystem::path& launchedDir);

struct Plan {
  LaunchedDirectories removed; // both by launch time, earliest first
  LaunchedDirectories kept;
};

// Compares launch times only: which of several folders with equal times are removed is not defined.
Plan makePlan(LaunchedDirectories others);

} // namespace CleanUp
