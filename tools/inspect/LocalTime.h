#pragma once

#include <filesystem>
#include <string>

namespace LauncherInspect {

// A file time as local date and time: "2026-11-20 16:22:24".
std::string toLocalText(std::filesystem::file_time_type time);

// The same, to the nanosecond and with the offset from UTC: "2026-11-20T16:22:24.123456789+01:00".
std::string toTimestamp(std::filesystem::file_time_type time);

} // namespace LauncherInspect
