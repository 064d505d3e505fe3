#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace LauncherInspect {

enum class LogState {
  None, // no launch has ever written it
  Unreadable,
  NoLaunch, // empty, or not a launcher's log
  Read
};

// Where the log of a launch ends.
enum class LaunchEnd {
  BeforeChoice,
  NothingChosen,
  AtChoice,  // the copy's launch is not recorded, or not yet
  Recorded,  // in the launch count of a copy in the launcher folder
  Unrecorded // the copy lies elsewhere, where no records are kept
};

// The texts are as the log has them: its writer's login name is masked in them.
struct LoggedCopy {
  std::string directory;
  std::string version;
};

struct LastLaunch {
  std::filesystem::path log;
  LogState state = LogState::None;
  std::string unreadableReason;

  std::string time; // local, to the millisecond
  std::optional<std::string> clientVersion;
  std::optional<LoggedCopy> chosen;
  std::optional<std::uint32_t> launchCount; // after this launch
  std::vector<std::string> removalFailures;
  LaunchEnd end = LaunchEnd::BeforeChoice;
};

// What the log of the last launch tells. Raises nothing.
LastLaunch readLaunchLog(const std::filesystem::path& log);

// Whether a text of the log is this one, but for characters that are masked by stars.
bool isMaskedFormOf(const std::string& logged, const std::string& text);

} // namespace LauncherInspect
