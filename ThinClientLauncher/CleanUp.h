#pragma once

// What a clean-up of the launcher folder removes and keeps. Reads the file system and reports to
// the log, if one is open; changes nothing else.

#include "ThinClientLauncherBase.h"

#include <filesystem>
#include <vector>

namespace CleanUp {

struct LaunchedDirectory {
  std::filesystem::file_time_type launchTime; // the clock's minimum: never, as far as known
  std::filesystem::path dir;
};
using LaunchedDirectories = std::vector<LaunchedDirectory>;

// Whether a launch of launchedDir is followed by a clean-up at all, and if so, the other folders in
// the launcher folder.
struct Scope {
  bool cleans = false;
  LaunchedDirectories others;
};

Scope findScope(const ThinClientLauncherBase& launcher, const std::filesystem::path& launchedDir);

struct Plan {
  LaunchedDirectories removed; // both by launch time, earliest first
  LaunchedDirectories kept;
};

// By launch time alone: which of several never launched folders are removed is not defined.
Plan plan(LaunchedDirectories others);

} // namespace CleanUp
