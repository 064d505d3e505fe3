#pragma once

#include <filesystem>
#include <system_error>

// Opening a named pipe waits for its other end, perhaps for ever: one in the place of a record or
// of the log is treated as a file that cannot be opened.
inline bool isNamedPipe(const std::filesystem::path& file) {
  std::error_code error;
  return std::filesystem::is_fifo(file, error);
}
