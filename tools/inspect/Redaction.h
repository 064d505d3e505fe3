#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace LauncherInspect {

// Whether the home folder at the start of a path is shown as ~.
enum class Paths { Absolute, BelowTilde };

// The login names of this user: in USER, which the launcher masks in its log, and of the account.
std::vector<std::string> ownLoginNames();

// The login name of the user to whom a folder belongs, or the first one above it that exists; empty
// if there is none.
std::string ownerOf(std::filesystem::path folder);

// How much of the user a report shows: the home folder may become ~ and, when asked for, login
// names become stars, in every text that is not the command's own.
class Redaction {
public:
  // An empty login name masks nothing.
  Redaction(const std::filesystem::path& home, std::vector<std::string> loginNames, Paths paths);

  std::string text(std::string text) const;
  std::string path(const std::filesystem::path& path) const;

  // A path from the launcher's log, where characters of the home folder may be masked already.
  std::string loggedPath(const std::string& path) const;

private:
  std::string home;      // empty: it is "/", in which every path lies
  std::string shownHome; // what its paths begin with
  std::vector<std::string> loginNames;
};

} // namespace LauncherInspect
