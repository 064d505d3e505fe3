#include "LocalTime.h"

#include "FileClock.h"

#include <fmt/chrono.h>

#include <chrono>
#include <ctime>

namespace LauncherInspect {

using FileTime = std::filesystem::file_time_type;
using namespace std::chrono;

std::string toTimestamp(FileTime time) {
  static const seconds offset = fileClockOffset();
  // In whole seconds, since the difference of the epochs may not fit into the file clock's count.
  const FileTime::duration sinceEpoch = time.time_since_epoch();
  const bool isBetweenSeconds = sinceEpoch % seconds(1) < nanoseconds(0);
  const auto wholeSeconds = seconds(sinceEpoch / seconds(1)) - seconds(isBetweenSeconds);
  const nanoseconds fraction = sinceEpoch % seconds(1) + seconds(isBetweenSeconds);
  const auto calendarTime = static_cast<std::time_t>((wholeSeconds - offset).count());
  std::tm local{};
  localtime_r(&calendarTime, &local);
  std::string text = fmt::format("{:%FT%T}.{:09}{:%z}", local, fraction.count(), local);
  return text.insert(text.size() - 2, ":");
}

} // namespace LauncherInspect
