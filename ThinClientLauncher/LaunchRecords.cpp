#include "ThinClientLauncherBase.h"

#include "LauncherHelper.h"
#include "LogMessages.h"
#include "Logger.h"

#include <ctime>
#include <fstream>
#include <locale>
#include <set>

namespace fs = std::filesystem;

constexpr const char* LAUNCH_DAT_FILE_NAME = "launch.dat";
constexpr const char* LAUNCHED_COUNT_FILE_NAME = "launchCount.dat";
constexpr const char* SAFE_START_FILE_NAME = "started.dat";
constexpr const char* CORRUPT_DAT_FILE_NAME = "corrupt.dat";

// Plain digits, also when the host's global locale groups them.
template <typename Number>
static bool writeNumber(const fs::path& file, Number number) {
  std::ofstream stream(file);
  if (!stream.is_open())
    return false;
  stream.imbue(std::locale::classic());
  stream << number;
  return true;
}

std::uint32_t ThinClientLauncherBase::getLaunchCount(const Path& dir) const {
  const Path file = dir / LAUNCHED_COUNT_FILE_NAME;
  if (!fs::exists(file))
    return 0;
  std::uint32_t count = 0;
  std::ifstream stream(file);
  stream.imbue(std::locale::classic());
  stream >> count;
  return count;
}

void ThinClientLauncherBase::incrementLaunchCount(const Path& dir) const {
  if (!isBelongLaunchDirectory(dir))
    return;
  const std::uint32_t count = getLaunchCount(dir) + 1;
  if (!writeNumber(dir / LAUNCHED_COUNT_FILE_NAME, count))
    return;
  Logger::log(
      LogMessages::LAUNCH_COUNT_UPDATED + std::to_string(count) +
      " for directory: " + LauncherHelper::toStdString(dir));
}

void ThinClientLauncherBase::updateLaunchTime(const Path& dir) const {
  if (isBelongLaunchDirectory(dir))
    writeNumber(dir / LAUNCH_DAT_FILE_NAME, static_cast<std::int64_t>(std::time(nullptr)));
}

fs::file_time_type ThinClientLauncherBase::getLastLaunchTime(const Path& dir) const {
  const Path file = dir / LAUNCH_DAT_FILE_NAME;
  if (!isBelongLaunchDirectory(dir) || !fs::exists(file))
    return fs::file_time_type::min();
  return fs::last_write_time(file);
}

void ThinClientLauncherBase::updateLaunchInfo(const Path& dir) const {
  incrementLaunchCount(dir);
  updateLaunchTime(dir);
}

bool ThinClientLauncherBase::hasStartedSafely(const Path& dir) const {
  return fs::exists(dir / SAFE_START_FILE_NAME);
}

void ThinClientLauncherBase::writeCorruptVersions(const std::vector<std::string>& versions) const {
  if (versions.empty())
    return;
  const Path file = LauncherHelper::getLauncherDirectory() / CORRUPT_DAT_FILE_NAME;
  const std::set<std::string> distinct(versions.begin(), versions.end());
  std::ofstream stream(file);
  if (!stream.is_open()) {
    Logger::log("VDI Failed to write corrupt versions to " + LauncherHelper::toStdString(file));
    return;
  }
  const char* separator = "";
  for (const auto& version : distinct) {
    stream << separator << version;
    separator = "|";
  }
  stream.close();
  Logger::log(
      "VDI Wrote " + std::to_string(distinct.size()) + " corrupt versions to " +
      LauncherHelper::toStdString(file));
}
