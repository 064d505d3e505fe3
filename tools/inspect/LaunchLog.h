#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace LauncherInspect {

// The texts are as the log has them: the login name of its writer is masked in them.
struct LoggedCopy {
  std::string directory; // empty: nothing was chosen
  std::string version;
};

// What the log of the last launch tells.
struct LastLaunch {
  std::filesystem::path log;
  bool exists = false;
  std::string unreadableReason; // empty: it could be read

  bool isLaunch = false; // it begins as a launcher's log does
  std::string time;      // local, to the millisecond
  std::optional<std::string> clientVersion;
  std::optional<LoggedCopy> chosen;
  bool isRecorded = false;                  // in the launch count of a copy in the launcher folder
  std::optional<std::uint32_t> launchCount; // after this launch
  bool isUncleaned = false;                 // the copy lies elsewhere, where no records are kept
  std::vector<std::string> removalFailures; // the first ones
  std::size_t furtherRemovalFailures = 0;
};

// Raises nothing of the file system.
LastLaunch readLaunchLog(const std::filesystem::path& log);

// Whether a text of the log is this one, except for characters that are masked by stars.
bool isMaskedFormOf(const std::string& logged, const std::string& text);

} // namespace LauncherInspect
