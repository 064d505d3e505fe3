#include "Redaction.h"

#include "LaunchLog.h"
#include "Logger.h"

#include <utility>

namespace LauncherInspect {

Redaction::Redaction(
    const std::filesystem::path& homeDirectory, std::string maskedName, Paths paths)
    : home(homeDirectory == "/" ? "" : homeDirectory.string()),
      shownHome(paths == Paths::BelowTilde ? "~" : home), loginName(std::move(maskedName)) {}

std::string Redaction::text(std::string text) const {
  if (!loginName.empty()) // an empty one is replaced without end
    Logger::replaceAll(text, loginName);
  return text;
}

std::string Redaction::path(const std::filesystem::path& path) const {
  return loggedPath(path.string());
}

std::string Redaction::loggedPath(const std::string& path) const {
  const bool isInHome = !home.empty() && isMaskedFormOf(path.substr(0, home.size()), home) &&
                        (path.size() == home.size() || path[home.size()] == '/');
  return text(isInHome ? shownHome + path.substr(home.size()) : path);
}

} // namespace LauncherInspect
