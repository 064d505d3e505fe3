#pragma once

#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>

namespace LauncherInspect {

enum ExitStatus : int {
  COPY_WOULD_START = 0,
  NO_COPY_WOULD_START = 1,
  WRONG_USAGE = 2,
  CANNOT_TELL = 3
};

struct Arguments {
  std::string clientVersion; // empty: the host names none
  std::optional<std::filesystem::path> home;
  std::optional<std::filesystem::path> workingDirectory;
  std::optional<std::filesystem::path> explained; // a copy, by name or by path
  bool brief = false;
  bool check = false;
  bool json = false;
  bool mask = false;
};

// What the user has to change, in words.
class UsageError : public std::runtime_error {
public:
  using std::runtime_error::runtime_error;
};

// Nothing when the arguments ask for the help or the version, which then go to standard output.
// Raises UsageError.
std::optional<Arguments> readArguments(int argc, const char* const* argv);

} // namespace LauncherInspect
