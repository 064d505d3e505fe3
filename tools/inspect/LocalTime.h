#pragma once

#include <filesystem>
#include <string>

namespace LauncherInspect {

// A file time as local time to the nanosecond, with the offset from UTC:
// "2026-11-20T16:22:24.123456789+01:00".
std::string toTimestamp(std::filesystem::file_time_type time);

} // namespace LauncherInspect
