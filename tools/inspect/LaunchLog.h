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

// A log as the launcher writes one at each call.
struct Log {
  std::filesystem::path log;
  bool exists = false;
  bool isEmpty = false;
  std::string unreadableReason; // empty: it could be read
  bool isCall = false;          // it begins as a launcher's log does
  std::string time;             // local, to the millisecond
};

// What the log of the last launch tells.
struct LastLaunch : Log {
  std::optional<std::string> clientVersion;
  std::optional<LoggedCopy> chosen;
  bool isRecorded = false;                  // in the launch count of a copy in the launcher folder
  std::optional<std::uint32_t> launchCount; // after this launch
  bool isUncleaned = false;                 // the copy lies elsewhere, where no records are kept
  std::vector<std::string> removalFailures; // the first ones
  std::size_t furtherRemovalFailures = 0;
};

// What the log of the application that was started last tells.
struct LoadMode : Log {
  bool isEntered = false;
  std::optional<std::string> failure; // to load the main library; names it
};

// These raise nothing of the file system.
LastLaunch readLaunchLog(const std::filesystem::path& log);
LoadMode readLoadLog(const std::filesystem::path& log);

// Whether the application that wrote the second log was started before the launch of the first.
// Unknown where characters of a time are masked.
bool isEarlier(const LoadMode& loadMode, const LastLaunch& launch);

// When the launch began, to the second; empty if that is unknown.
std::string startOf(const LastLaunch& launch);

// Whether a text of the log is this one, except for characters that are masked by stars.
bool isMaskedFormOf(const std::string& logged, const std::string& text);

} // namespace LauncherInspect
