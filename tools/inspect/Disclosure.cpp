#include "Disclosure.h"

#include "LaunchLog.h"
#include "Logger.h"

#include <cstdlib>
#include <pwd.h>
#include <unistd.h>
#include <utility>

namespace LauncherInspect {

Disclosure::Disclosure(std::filesystem::path homeFolder, std::string maskedName)
    : home(homeFolder == "/" ? "" : homeFolder.string()), loginName(std::move(maskedName)) {}

std::string Disclosure::path(const std::filesystem::path& path) const {
  return loggedPath(path.string());
}

std::string Disclosure::loggedPath(const std::string& path) const {
  const bool isInHome = !home.empty() && isMaskedFormOf(path.substr(0, home.size()), home) &&
                        (path.size() == home.size() || path[home.size()] == '/');
  return text(isInHome ? "~" + path.substr(home.size()) : path);
}

std::string Disclosure::text(std::string text) const {
  if (!loginName.empty()) // which never ends otherwise
    Logger::replaceAll(text, loginName);
  return text;
}

std::string findLoginName() {
  if (const char* const user = std::getenv("USER"); user != nullptr && *user != '\0')
    return user;
  const passwd* const entry = ::getpwuid(::geteuid());
  return entry != nullptr ? entry->pw_name : "";
}

} // namespace LauncherInspect
