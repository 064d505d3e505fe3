// The main library of the plug-in application: records its calls. LIBRARY_LOG names a file: it also
// records whether its process has that open. LIBRARY_MARKS names a file to create.

#include "Record.h"

#include <filesystem>

namespace fs = std::filesystem;

static const char* isOpen(const fs::path& file) {
  std::error_code gone;
  for (const auto& descriptor : fs::directory_iterator("/proc/self/fd")) {
    if (fs::read_symlink(descriptor, gone) == file)
      return "log open\n";
  }
  return "log closed\n";
}

EXPORTED int VDIEntryPoint(int number, void* pointer) {
  static int calls = 0;
  record() << "call " << ++calls << ": " << number << (pointer == nullptr ? " null" : " not null")
           << '\n';
  if (const char* log = std::getenv("LIBRARY_LOG"))
    record() << isOpen(log);
  if (const char* mark = std::getenv("LIBRARY_MARKS"))
    std::ofstream(mark).close();
  throwIfAsked();
  return number;
}
