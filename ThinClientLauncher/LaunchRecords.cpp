#include "ThinClientLauncherBase.h"

#include "LauncherConstants.h"
#include "LauncherHelper.h"
#include "LogMessages.h"
#include "Logger.h"
#include "NamedPipe.h"
#include "Platform.h"

#include <cstdio>
#include <ctime>
#include <fstream>
#include <limits>
#include <locale>
#include <set>
#include <streambuf>

namespace fs = std::filesystem;

constexpr const char* LAUNCH_DAT_FILE_NAME = "launch.dat";
constexpr const char* LAUNCHED_COUNT_FILE_NAME = "launchCount.dat";
constexpr const char* CORRUPT_DAT_FILE_NAME = "corrupt.dat";

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

static bool isBlank(int character) {
  return character == ' ' || (character >= '\t' && character <= '\r');
}

// As formatted input reads it: blanks and zeros may come first, a number that is too large is the
// largest, a negative one wraps. Of a record that does not end, no more than the limit is read.
static std::uint32_t leadingNumber(std::streambuf& record) {
  constexpr int LIMIT = 1024 * 1024;
  constexpr std::uint32_t LARGEST = std::numeric_limits<std::uint32_t>::max();
  int length = 0;
  const auto next = [&] { return length++ < LIMIT ? record.sbumpc() : EOF; };

  int character = next();
  while (isBlank(character))
    character = next();
  const bool isNegative = character == '-';
  if (isNegative || character == '+')
    character = next();
  std::uint64_t number = 0;
  for (; character >= '0' && character <= '9' && number <= LARGEST; character = next())
    number = 10 * number + static_cast<std::uint64_t>(character - '0');
  const auto magnitude = static_cast<std::uint32_t>(number);
  return number > LARGEST ? LARGEST : isNegative ? 0U - magnitude : magnitude;
}

std::uint32_t ThinClientLauncherBase::getLaunchCount(const Path& dir) const {
  const Path file = dir / LAUNCHED_COUNT_FILE_NAME;
  const fs::file_status status = fs::status(file);
  if (!fs::exists(status) || fs::is_fifo(status))
    return 0;
  std::filebuf record;
  record.open(file, std::ios::in);
  try {
    return leadingNumber(record);
  } catch (const std::ios::failure&) { // a folder, or a disk that fails
    return 0;
  }
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
