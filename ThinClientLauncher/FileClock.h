#pragma once

#include <chrono>
#include <filesystem>

// What a file time counts beyond the same moment of the system clock. The file clock's epoch is the
// standard library's own, but always whole seconds away from the system clock's.
inline std::chrono::seconds fileClockOffset() {
  return std::chrono::round<std::chrono::seconds>(
      std::filesystem::file_time_type::clock::now().time_since_epoch() -
      std::chrono::system_clock::now().time_since_epoch());
}
