#include "Redaction.h"

#include "LaunchLog.h"
#include "Logger.h"

#include <algorithm>
#include <utility>

namespace LauncherInspect {

// A name may be part of another one: the longer one goes first.
Redaction::Redaction(
    const std::filesystem::path& homeDirectory, std::vector<std::string> maskedNames, Paths paths)
    : home(homeDirectory == "/" ? "" : homeDirectory.string()),
      shownHome(paths == Paths::BelowTilde ? "~" : home), loginNames(std::move(maskedNames)) {
  std::sort(loginNames.begin(), loginNames.end(), [](const auto& a, const auto& b) {
    return a.size() > b.size();
  });
}

std::string Redaction::text(std::string text) const {
  for (const auto& name : loginNames) {
    if (!name.empty()) // an empty one is replaced without end
      Logger::replaceAll(text, name);
  }
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
