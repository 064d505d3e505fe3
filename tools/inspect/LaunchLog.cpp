#include "LaunchLog.h"

#include "LogMessages.h"
#include "Platform.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <charconv>
#include <sstream>
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

// The texts before and after a separator. A folder's name may contain it: the last one counts.
static std::optional<std::pair<std::string, std::string>>
splitAt(std::string_view separator, const std::string& text) {
  for (auto at = text.size(); at-- > 0;) {
    if (startsWith(std::string_view(text).substr(at), separator))
      return std::pair(text.substr(0, at), text.substr(at + separator.size()));
  }
  return std::nullopt;
}

static std::optional<LoggedCopy> parseChoice(const std::string& text) {
  auto parts = splitAt(LogMessages::BEST_CANDIDATE_VERSION, text);
  if (!parts)
    return std::nullopt;
  auto& [directory, version] = *parts;
  return LoggedCopy{directory, version.substr(0, version.size() - 1)}; // without the parenthesis
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

static void readMessage(const std::string& message, LastLaunch& launch) {
  if (const auto version = textAfter(LogMessages::CLIENT_VERSION_PROVIDED, message))
    launch.clientVersion = *version;
  if (const auto choice = textAfter(LogMessages::BEST_CANDIDATE, message))
    launch.chosen = parseChoice(*choice);
  if (const auto count = textAfter(LogMessages::LAUNCH_COUNT_UPDATED, message)) {
    launch.isRecorded = true;
    if (launch.chosen && !launch.chosen->directory.empty())
      launch.launchCount = parseCount(*count);
  }
  if (startsWith(message, LogMessages::NOT_CLEANED))
    launch.isUncleaned = true;
  if (const auto reason = textAfter(LogMessages::REMOVAL_FAILED, message))
    addRemovalFailure(*reason, launch);
}

static void readMessage(const std::string& message, LoadMode& loadMode) {
  if (isMaskedFormOf(message, LogMessages::LOAD_MODE))
    loadMode.isEntered = true;
  if (const auto parts = splitAt(LogMessages::LOAD_FAILED, message))
    loadMode.failure = parts->second;
}

// A message may hold line feeds of its own. Takes the message that begins with this stamped line,
// and leaves the next stamped line in its place.
static std::string takeMessage(std::istream& log, std::string& line) {
  std::string message = line.substr(STAMP.size());
  while (std::getline(log, line) && !isStamped(line))
    message += "\n" + line;
  return message;
}

template <typename Content>
static void parse(std::istream& log, Content& content) {
  std::string line;
  while (std::getline(log, line) && !isStamped(line)) {
  }
  if (!log)
    return;
  const std::string time = line.substr(0, STAMP.size() - 1);
  if (!startsWith(takeMessage(log, line), LogMessages::ENTRY_POINT_CALLED))
    return;
  content.isCall = true;
  content.time = time;
  while (log)
    readMessage(takeMessage(log, line), content);
}

bool isEarlier(const LoadMode& loadMode, const LastLaunch& launch) {
  const bool isMasked = (loadMode.time + launch.time).find('*') != std::string::npos;
  return !isMasked && loadMode.time < launch.time;
}

std::string startOf(const LastLaunch& launch) {
  const bool isKnown = launch.isCall && launch.time.find('*') == std::string::npos;
  return isKnown ? launch.time.substr(0, launch.time.find('.')) : "";
}

// --- The file ---

static std::string reasonNotToRead(const fs::path& log) {
  if (!fs::is_regular_file(log))
    return "it is not a regular file";
  return fs::file_size(log) > MAXIMUM_LOG_SIZE ? "it is larger than any launch's log" : "";
}

template <typename Content>
static void readFile(const fs::path& log, Content& content) {
  content.exists = fs::exists(log);
  if (!content.exists)
    return;
  content.unreadableReason = reasonNotToRead(log);
  if (!content.unreadableReason.empty())
    return;
  content.isEmpty = fs::is_empty(log);
  const auto text = Platform::readFile(log, MAXIMUM_LOG_SIZE);
  if (!text)
    throw std::system_error(errno, std::generic_category());
  std::istringstream stream(*text);
  parse(stream, content);
}

template <typename Content>
static Content readLog(const fs::path& log) {
  Content content;
  content.log = log;
  try {
    readFile(log, content);
  } catch (const std::system_error& error) {
    content.exists = true;
    content.unreadableReason = error.code().message();
  }
  return content;
}

LastLaunch readLaunchLog(const fs::path& log) {
  return readLog<LastLaunch>(log);
}

LoadMode readLoadLog(const fs::path& log) {
  return readLog<LoadMode>(log);
}

} // namespace LauncherInspect
