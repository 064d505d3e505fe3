#include "LaunchLog.h"

#include "LogMessages.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <charconv>
#include <fstream>
#include <sstream>
#include <string_view>
#include <system_error>

namespace fs = std::filesystem;

namespace LauncherInspect {

// No launch writes as much; whatever does is not read into memory.
constexpr std::uintmax_t MAXIMUM_LOG_SIZE = 64 * 1024 * 1024;

constexpr std::string_view STAMP = "0000-00-00 00:00:00.000 "; // a zero stands for any digit

// --- Texts in which any character may be a star ---

static bool isMaskedCharacter(char logged, char original) {
  return logged == original || logged == '*';
}

static bool startsWith(std::string_view logged, std::string_view prefix) {
  return logged.size() >= prefix.size() &&
         std::equal(prefix.begin(), prefix.end(), logged.begin(), [](char original, char shown) {
           return isMaskedCharacter(shown, original);
         });
}

bool isMaskedFormOf(const std::string& logged, const std::string& text) {
  return logged.size() == text.size() && startsWith(logged, text);
}

static bool isStamped(std::string_view line) {
  return line.size() >= STAMP.size() &&
         std::equal(STAMP.begin(), STAMP.end(), line.begin(), [](char expected, char shown) {
           const bool isDigit = std::isdigit(static_cast<unsigned char>(shown)) != 0;
           return isMaskedCharacter(shown, expected) || (expected == '0' && isDigit);
         });
}

// --- Messages ---

namespace {

struct Entry {
  std::string time;
  std::string message;
};

} // namespace

// A message may hold line feeds of its own: what follows them has no stamp.
static std::vector<Entry> splitEntries(std::istream& log) {
  std::vector<Entry> entries;
  for (std::string line; std::getline(log, line);) {
    if (isStamped(line))
      entries.push_back({line.substr(0, STAMP.size() - 1), line.substr(STAMP.size())});
    else if (!entries.empty())
      entries.back().message += "\n" + line;
  }
  return entries;
}

static std::optional<std::string> textAfter(std::string_view prefix, const std::string& message) {
  if (!startsWith(message, prefix))
    return std::nullopt;
  return message.substr(prefix.size());
}

// The folder may itself hold what separates it from the version: the last separator counts.
static std::optional<LoggedCopy> parseChoice(const std::string& text) {
  for (auto at = text.size() + 1; at-- > 0;) {
    if (!startsWith(std::string_view(text).substr(at), LogMessages::BEST_CANDIDATE_VERSION))
      continue;
    const auto version = at + std::string_view(LogMessages::BEST_CANDIDATE_VERSION).size();
    return LoggedCopy{text.substr(0, at), text.substr(version, text.size() - version - 1)};
  }
  return std::nullopt;
}

static std::optional<std::uint32_t> parseCount(const std::string& text) {
  std::uint32_t count = 0;
  const auto result = std::from_chars(text.data(), text.data() + text.size(), count);
  return result.ec == std::errc() ? std::optional(count) : std::nullopt;
}

static void apply(const std::string& message, LastLaunch& launch) {
  if (const auto version = textAfter(LogMessages::CLIENT_VERSION_PROVIDED, message))
    launch.clientVersion = *version;
  if (const auto choice = textAfter(LogMessages::BEST_CANDIDATE, message)) {
    launch.chosen = parseChoice(*choice);
    const bool chose = launch.chosen && !launch.chosen->directory.empty();
    launch.end = chose ? LaunchEnd::AtChoice : LaunchEnd::NothingChosen;
  }
  if (const auto count = textAfter(LogMessages::LAUNCH_COUNT_UPDATED, message)) {
    launch.launchCount = parseCount(*count);
    launch.end = LaunchEnd::Recorded;
  }
  if (startsWith(message, LogMessages::NOT_CLEANED) && launch.end == LaunchEnd::AtChoice)
    launch.end = LaunchEnd::Unrecorded;
  if (const auto reason = textAfter(LogMessages::REMOVAL_FAILED, message))
    launch.removalFailures.push_back(*reason);
}

static LastLaunch parse(std::istream& log) {
  LastLaunch launch;
  const auto entries = splitEntries(log);
  if (entries.empty() || !startsWith(entries.front().message, LogMessages::ENTRY_POINT_CALLED)) {
    launch.state = LogState::NoLaunch;
    return launch;
  }
  launch.state = LogState::Read;
  launch.time = entries.front().time;
  for (const auto& entry : entries)
    apply(entry.message, launch);
  return launch;
}

// --- The file ---

static LastLaunch unreadable(const std::string& reason) {
  LastLaunch launch;
  launch.state = LogState::Unreadable;
  launch.unreadableReason = reason;
  return launch;
}

static LastLaunch readFile(const fs::path& log) {
  std::error_code error;
  const auto status = fs::status(log, error);
  if (status.type() == fs::file_type::not_found)
    return {};
  if (error)
    return unreadable(error.message());
  if (!fs::is_regular_file(status))
    return unreadable("it is no regular file");
  if (fs::file_size(log, error) > MAXIMUM_LOG_SIZE)
    return unreadable("it is larger than any launch's log");
  errno = 0;
  std::ifstream stream(log, std::ios::binary);
  if (!stream.is_open())
    return unreadable(std::generic_category().message(errno));
  return parse(stream);
}

LastLaunch readLaunchLog(const fs::path& log) {
  LastLaunch launch = readFile(log);
  launch.log = log;
  return launch;
}

} // namespace LauncherInspect
