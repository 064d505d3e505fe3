#pragma once

#include <filesystem>
#include <string>

namespace LauncherInspect {

// How much the output shows of the user it was made for: the home folder as ~ and, when asked for,
// the login name as stars, wherever it stands in a text that is not the command's own.
class Disclosure {
public:
  // An empty name masks nothing.
  Disclosure(std::filesystem::path home, std::string loginName);

  std::string path(const std::filesystem::path& path) const;

  // A path from the launcher's log, where characters of the home folder may be masked already.
  std::string loggedPath(const std::string& path) const;

  std::string text(std::string text) const;

private:
  std::string home;
  std::string loginName;
};

// The name that the launcher masks in its log, or that of the user who runs this process; empty
// when there is none.
std::string findLoginName();

} // namespace LauncherInspect
