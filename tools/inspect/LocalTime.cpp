#include "LocalTime.h"

#include <fmt/format.h>

#include <array>
#include <chrono>
#include <ctime>

namespace LauncherInspect {

using FileTime = std::filesystem::file_time_type;
using std::chrono::floor;
using std::chrono::round;
using std::chrono::seconds;

// The file clock's epoch is the library's own, but always whole seconds away from the system's.
static seconds epochDifference() {
  const auto system = std::chrono::system_clock::now().time_since_epoch();
  const auto file = FileTime::clock::now().time_since_epoch();
  return round<seconds>(file) - round<seconds>(system);
}

static std::time_t toCalendarTime(FileTime time) {
  static const seconds difference = epochDifference();
  return static_cast<std::time_t>((floor<seconds>(time.time_since_epoch()) - difference).count());
}

static std::string format(FileTime time, const char* pattern) {
  const std::time_t calendarTime = toCalendarTime(time);
  std::tm local{};
  if (localtime_r(&calendarTime, &local) == nullptr)
    return fmt::format("{} s after 1970", calendarTime);
  std::array<char, 64> text{};
  return {text.data(), std::strftime(text.data(), text.size(), pattern, &local)};
}

std::string toLocalText(FileTime time) {
  return format(time, "%Y-%m-%d %H:%M:%S");
}

std::string toTimestamp(FileTime time) {
  const auto sinceEpoch = time.time_since_epoch();
  const auto fraction = sinceEpoch - floor<seconds>(sinceEpoch);
  const auto nanoseconds = std::chrono::duration_cast<std::chrono::nanoseconds>(fraction).count();
  std::string offset = format(time, "%z");
  if (offset.size() == 5)
    offset.insert(3, ":");
  return fmt::format(
      "{}.{:09}{}", format(time, "%Y-%m-%dT%H:%M:%S"), static_cast<long long>(nanoseconds), offset);
}

} // namespace LauncherInspect
