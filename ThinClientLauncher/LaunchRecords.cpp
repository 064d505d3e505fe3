#include "LaunchRecords.h"

#include "LauncherHelper.h"
#include "LogMessages.h"
#include "Logger.h"
#include "NamedPipe.h"
#include "Platform.h"
#include "ThinClientLauncherBase.h"

#include <ctime>
#include <fstream>
#include <locale>
#include <set>
#include <sstream>

namespace fs = std::filesystem;

// The file, created or emptied; closed if that is impossible.
static std::ofstream openForWriting(const fs::path& file) {
  std::ofstream stream;
  if (!isNamedPipe(file))
    stream.open(file);
  return stream;
}

// Plain digits, also when the host's global locale groups them.
template <typename Number>
static bool writeNumber(const fs::path& file, Number number) {
  std::ofstream stream = openForWriting(file);
  if (!stream.is_open())
    return false;
  stream.imbue(std::locale::classic());
  stream << number;
  return true;
}

std::uint32_t ThinClientLauncherBase::getLaunchCount(const Path& dir) const {
  constexpr std::size_t LIMIT = 1024 * 1024;
  const Path file = dir / LAUNCHED_COUNT_FILE_NAME;
  if (!fs::exists(file))
    return 0;
  std::istringstream record(Platform::readFile(file, LIMIT).value_or(""));
  record.imbue(std::locale::classic());
  std::uint32_t count = 0;
  record >> count; // 0 for no number, the largest one for one that is too large
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
  return Platform::modificationTime(file);
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
  std::ofstream stream = openForWriting(file);
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
