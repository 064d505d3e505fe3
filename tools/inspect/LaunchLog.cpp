#include "LaunchLog.h"

#include "LogMessages.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <charconv>
#include <fstream>
#include <string_view>
#include <system_error>

namespace fs = std::filesystem;

namespace LauncherInspect {

// No launch writes as much. A larger file is not read into memory.
constexpr std::uintmax_t MAXIMUM_LOG_SIZE = 64 * 1024 * 1024;

constexpr std::size_t MOST_REMOVAL_FAILURES = 20; // that are reported one by one

constexpr std::string_view STAMP = "0000-00-00 00:00:00.000 "; // a zero stands for any digit

// --- Texts in which any character may be masked by a star ---

static bool startsWith(std::string_view logged, std::string_view prefix) {
  return logged.size() >= prefix.size() &&
         std::equal(prefix.begin(), prefix.end(), logged.begin(), [](char original, char shown) {
           return shown == original || shown == '*';
         });
}

bool isMaskedFormOf(const std::string& logged, const std::string& text) {
  return logged.size() == text.size() && startsWith(logged, text);
}

static bool isStamped(const std::string& line) {
  std::string start = line.substr(0, STAMP.size());
  std::replace_if(
      start.begin(), start.end(), [](unsigned char c) { return std::isdigit(c) != 0; }, '0');
  return startsWith(start, STAMP);
}

static std::optional<std::string> textAfter(std::string_view prefix, const std::string& message) {
  if (!startsWith(message, prefix))
    return std::nullopt;
  return message.substr(prefix.size());
}

// --- Messages ---

// The folder's name may contain the text that separates it from the version: the last one counts.
static std::optional<LoggedCopy> parseChoice(const std::string& text) {
  constexpr std::string_view SEPARATOR = LogMessages::BEST_CANDIDATE_VERSION;
  for (auto at = text.size(); at-- > 0;) {
    const auto version = at + SEPARATOR.size();
    if (startsWith(std::string_view(text).substr(at), SEPARATOR))
      return LoggedCopy{text.substr(0, at), text.substr(version, text.size() - version - 1)};
  }
  return std::nullopt;
}

static std::optional<std::uint32_t> parseCount(const std::string& text) {
  std::uint32_t count = 0;
  const auto result = std::from_chars(text.data(), text.data() + text.size(), count);
  return result.ec == std::errc() ? std::optional(count) : std::nullopt;
}

static void addRemovalFailure(const std::string& reason, LastLaunch& launch) {
  if (launch.removalFailures.size() < MOST_REMOVAL_FAILURES)
    launch.removalFailures.push_back(reason);
  else
    ++launch.furtherRemovalFailures;
}

static void read(const std::string& message, LastLaunch& launch) {
  if (const auto version = textAfter(LogMessages::CLIENT_VERSION_PROVIDED, message))
    launch.clientVersion = *version;
  if (const auto choice = textAfter(LogMessages::BEST_CANDIDATE, message))
    launch.chosen = parseChoice(*choice);
  if (const auto count = textAfter(LogMessages::LAUNCH_COUNT_UPDATED, message)) {
    launch.isRecorded = true;
    launch.launchCount = parseCount(*count);
  }
  if (startsWith(message, LogMessages::NOT_CLEANED))
    launch.isUncleaned = true;
  if (const auto reason = textAfter(LogMessages::REMOVAL_FAILED, message))
    addRemovalFailure(*reason, launch);
}

// A message may hold line feeds of its own. Takes the message that begins with this stamped line,
// and leaves the next stamped line in its place.
static std::string takeMessage(std::istream& log, std::string& line) {
  std::string message = line.substr(STAMP.size());
  while (std::getline(log, line) && !isStamped(line))
    message += "\n" + line;
  return message;
}

static void parse(std::istream& log, LastLaunch& launch) {
  std::string line;
  while (std::getline(log, line) && !isStamped(line)) {
  }
  if (!log)
    return;
  const std::string time = line.substr(0, STAMP.size() - 1);
  if (!startsWith(takeMessage(log, line), LogMessages::ENTRY_POINT_CALLED))
    return;
  launch.isLaunch = true;
  launch.time = time;
  while (log)
    read(takeMessage(log, line), launch);
}

// --- The file ---

static std::string reasonNotToRead(const fs::path& log) {
  if (!fs::is_regular_file(log))
    return "it is not a regular file";
  return fs::file_size(log) > MAXIMUM_LOG_SIZE ? "it is larger than any launch's log" : "";
}

static void readFile(const fs::path& log, LastLaunch& launch) {
  launch.exists = fs::exists(log);
  if (!launch.exists)
    return;
  launch.unreadableReason = reasonNotToRead(log);
  if (!launch.unreadableReason.empty())
    return;
  errno = 0;
  std::ifstream stream(log, std::ios::binary);
  if (!stream.is_open())
    throw std::system_error(errno, std::generic_category());
  parse(stream, launch);
}

LastLaunch readLaunchLog(const fs::path& log) {
  LastLaunch launch;
  launch.log = log;
  try {
    readFile(log, launch);
  } catch (const std::system_error& error) {
    launch.exists = true;
    launch.unreadableReason = error.code().message();
  }
  return launch;
}

} // namespace LauncherInspect
