#include "Redaction.h"

#include "LaunchLog.h"
#include "Logger.h"

#include <algorithm>
#include <cstdlib>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace LauncherInspect {

static std::string loginNameOf(uid_t user) {
  const passwd* const entry = ::getpwuid(user);
  return entry != nullptr ? entry->pw_name : "";
}

std::vector<std::string> ownLoginNames() {
  const char* const user = std::getenv("USER");
  std::vector<std::string> names{user != nullptr ? user : "", loginNameOf(::geteuid())};
  names.erase(std::remove(names.begin(), names.end(), ""), names.end());
  return names;
}

std::string ownerOf(std::filesystem::path folder) {
  struct stat status {};
  while (::stat(folder.c_str(), &status) != 0) {
    if (!folder.has_relative_path())
      return {};
    folder = folder.parent_path();
  }
  return loginNameOf(status.st_uid);
}

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
