#include "Terminal.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <string_view>
#include <sys/ioctl.h>
#include <unistd.h>

namespace LauncherInspect {

constexpr std::size_t NARROWEST = 40;
constexpr std::size_t WIDEST = 1000;

static std::string_view variable(const char* name) {
  const char* const value = std::getenv(name);
  return value != nullptr ? value : "";
}

static std::size_t requestedWidth() {
  const auto columns = variable("COLUMNS");
  std::size_t width = 0;
  const auto result = std::from_chars(columns.data(), columns.data() + columns.size(), width);
  const bool isNumber = result.ec == std::errc() && result.ptr == columns.data() + columns.size();
  return isNumber ? width : 0;
}

static std::size_t terminalWidth() {
  winsize size{};
  return ::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 ? size.ws_col : 0;
}

Terminal describeOutput() {
  Terminal terminal;
  for (const std::size_t width : {terminalWidth(), requestedWidth()}) {
    if (width > 0)
      terminal.width = std::clamp(width, NARROWEST, WIDEST);
  }
  terminal.colour =
      ::isatty(STDOUT_FILENO) == 1 && variable("NO_COLOR").empty() && variable("TERM") != "dumb";
  return terminal;
}

} // namespace LauncherInspect
