#include "Record.h"

#include <filesystem>
#include <stdexcept>

static int calls = 0;

static bool isOpen(const std::filesystem::path& file) {
  for (const auto& descriptor : std::filesystem::directory_iterator("/proc/self/fd")) {
    std::error_code goneMeanwhile;
    if (std::filesystem::read_symlink(descriptor, goneMeanwhile) == file)
      return true;
  }
  return false;
}

EXPORTED int VDIEntryPoint(int first, void* second) {
  record() << "call " << ++calls << ": " << first
           << (second == nullptr ? " null\n" : " not null\n");
  if (const char* log = std::getenv("LIBRARY_LOG"))
    record() << (isOpen(log) ? "log open\n" : "log closed\n");
  if (std::getenv("LIBRARY_THROWS") != nullptr)
    throw std::runtime_error("thrown by the library");
  return 7;
}
