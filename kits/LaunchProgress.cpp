#include "LaunchProgress.h"

#include "LaunchLog.h"
#include "LaunchRecords.h"
#include "LauncherConstants.h"
#include "LauncherHelper.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <thread>

namespace fs = std::filesystem;

namespace LaunchProgress {

constexpr std::chrono::milliseconds INTERVAL{20};

// --- The logs before the launch ---

// Each launch empties the log, which changes the file's time.
class WatchedLog {
public:
  explicit WatchedLog(const char* fileName) : name(fileName) {}

  void remember() { before = time(); }
  bool isWritten() const { return time() != before; }
  fs::path path() const { return LauncherHelper::getLogPath() / name; }

private:
  std::int64_t time() const {
    std::error_code error;
    const auto written = fs::last_write_time(path(), error);
    return error ? 0 : static_cast<std::int64_t>(written.time_since_epoch().count());
  }

  const char* name;
  std::atomic<std::int64_t> before{0};
};

static WatchedLog launchLog(VDI_LAUNCH_LOGE_LAUNCH_MODE);
static WatchedLog loadLog(VDI_LAUNCH_LOGE_LOAD_MODE);
static std::atomic<bool> hasBegun{false};

void begin() {
  launchLog.remember();
  loadLog.remember();
  hasBegun = true;
}

// --- What the logs and the folder tell ---

// The log's writer has masked each login name by as many stars.
static std::string unmasked(std::string text) {
  const char* const environment = std::getenv("USER");
  const std::string user = environment != nullptr ? environment : "";
  if (user.empty())
    return text;
  const std::string stars(user.size(), '*');
  for (auto at = text.find(stars); at != std::string::npos; at = text.find(stars, at + user.size()))
    text.replace(at, user.size(), user);
  return text;
}

static std::string folderOf(const std::string& logged) {
  return fs::exists(logged) ? logged : unmasked(logged);
}

static ThinClientLauncherHostProgress reachedBy(const fs::path& folder) {
  if (!loadLog.isWritten() || !LauncherInspect::readLoadLog(loadLog.path()).isEntered)
    return THIN_CLIENT_LAUNCHER_HOST_REQUESTED;
  return fs::exists(folder / SAFE_START_FILE_NAME) ? THIN_CLIENT_LAUNCHER_HOST_STARTED_SAFELY
                                                   : THIN_CLIENT_LAUNCHER_HOST_ENTERED;
}

static Progress read() {
  if (!hasBegun || !launchLog.isWritten())
    return {};
  const auto launch = LauncherInspect::readLaunchLog(launchLog.path());
  if (!launch.isCall)
    return {};
  if (!launch.chosen)
    return {THIN_CLIENT_LAUNCHER_HOST_NOT_REQUESTED, {}, {}};
  if (launch.chosen->directory.empty())
    return {THIN_CLIENT_LAUNCHER_HOST_NOTHING_CHOSEN, {}, {}};
  const std::string folder = folderOf(launch.chosen->directory);
  return {reachedBy(folder), folder, unmasked(launch.chosen->version)};
}

// Only copies in the launcher folder record a safe start.
static bool isLast(const Progress& progress) {
  const bool isRecorded =
      fs::path(progress.folder).parent_path() == LauncherHelper::getLauncherDirectory();
  return progress.reached < THIN_CLIENT_LAUNCHER_HOST_REQUESTED ||
         progress.reached == THIN_CLIENT_LAUNCHER_HOST_STARTED_SAFELY ||
         (progress.reached == THIN_CLIENT_LAUNCHER_HOST_ENTERED && !isRecorded);
}

Progress await(std::chrono::milliseconds longest) {
  const auto end = std::chrono::steady_clock::now() + longest;
  Progress progress = read();
  while (!isLast(progress) && std::chrono::steady_clock::now() < end) {
    std::this_thread::sleep_for(INTERVAL);
    progress = read();
  }
  return progress;
}

} // namespace LaunchProgress
