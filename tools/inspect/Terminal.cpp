#include "Terminal.h"

#include <algorithm>
#include <cstdlib>
#include <string_view>
#include <sys/ioctl.h>
#include <unistd.h>

namespace LauncherInspect {

constexpr std::size_t DEFAULT_WIDTH = 80;
constexpr std::size_t NARROWEST = 40;
constexpr std::size_t WIDEST = 1000;

static const char* variable(const char* name) {
  const char* const value = std::getenv(name);
  return value != nullptr ? value : "";
}

static std::size_t requestedWidth() {
  return static_cast<std::size_t>(std::max(0L, std::strtol(variable("COLUMNS"), nullptr, 10)));
}

static std::size_t terminalWidth() {
  winsize size{};
  return ::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 ? size.ws_col : 0;
}

Terminal describeOutput() {
  if (::isatty(STDOUT_FILENO) != 1)
    return {};
  Terminal terminal{DEFAULT_WIDTH, false};
  for (const std::size_t width : {terminalWidth(), requestedWidth()}) {
    if (width > 0)
      terminal.width = std::clamp(width, NARROWEST, WIDEST);
  }
  terminal.colour = *variable("NO_COLOR") == '\0' && std::string_view(variable("TERM")) != "dumb";
  return terminal;
}

} // namespace LauncherInspect
