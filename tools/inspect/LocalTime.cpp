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
  const auto sinceEpoch = time.time_since_epoch() - offset;
  const auto wholeSeconds = floor<seconds>(sinceEpoch);
  const nanoseconds fraction = sinceEpoch - wholeSeconds;
  const auto calendarTime = static_cast<std::time_t>(wholeSeconds.count());
  std::tm local{};
  localtime_r(&calendarTime, &local);
  std::string text = fmt::format("{:%FT%T}.{:09}{:%z}", local, fraction.count(), local);
  return text.insert(text.size() - 2, ":");
}

} // namespace LauncherInspect
