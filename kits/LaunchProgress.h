#pragma once

#include "ThinClientLauncherHost.h"

#include <chrono>
#include <string>

// What the launcher's logs and the chosen folder tell of the last launch of this process.
namespace LaunchProgress {

struct Progress {
  ThinClientLauncherHostProgress reached = THIN_CLIENT_LAUNCHER_HOST_UNKNOWN;
  std::string folder;
  std::string version;
};

// Remembers how the logs are before a launch.
void begin();

// Returns once nothing further is to come, or when the time is over. Raises
// std::filesystem::filesystem_error when a folder cannot be examined.
Progress await(std::chrono::milliseconds longest);

} // namespace LaunchProgress
