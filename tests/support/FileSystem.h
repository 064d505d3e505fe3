#pragma once

// A scoped home folder and what tests put into it and read back.

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace test {

// A fresh folder, removed with all its content at the end of the scope.
class ScopedFolder {
public:
  ScopedFolder();
  ~ScopedFolder();
  ScopedFolder(const ScopedFolder&) = delete;
  ScopedFolder& operator=(const ScopedFolder&) = delete;

  const std::filesystem::path& path() const { return folder; }

private:
  std::filesystem::path folder;
};

// Sets (or, with nothing, unsets) an environment variable for the length of the scope.
class ScopedEnvironment {
public:
  ScopedEnvironment(std::string name, const std::optional<std::string>& value);
  ~ScopedEnvironment();
  ScopedEnvironment(const ScopedEnvironment&) = delete;
  ScopedEnvironment& operator=(const ScopedEnvironment&) = delete;

private:
  std::string name;
  std::optional<std::string> before;
};

// A home folder of its own, named by HOME for the length of the scope. Application Support exists,
// the launcher folder does not.
class ScopedHome {
public:
  ScopedHome();

  const std::filesystem::path& path() const { return folder.path(); }
  std::filesystem::path applicationSupport() const;
  std::filesystem::path launcherFolder() const;
  std::filesystem::path logFolder() const;

private:
  ScopedFolder folder;
  ScopedEnvironment home;
  ScopedEnvironment foundationHome; // what a Mac goes by
};

// Creates or rewrites a file, with the folders above it.
void writeFile(const std::filesystem::path& file, const std::string& content);

// The whole content; empty for a file that cannot be read.
std::string readFile(const std::filesystem::path& file);

std::vector<std::string> readLines(const std::filesystem::path& file);

// An XML property list with the given keys and text values.
std::string propertyList(const std::vector<std::pair<std::string, std::string>>& entries);

// Lays out OrlixVDIPlugin.app in dir (both created) with a property list that gives this version.
// Returns the bundle's path.
std::filesystem::path makeBundle(const std::filesystem::path& dir, const std::string& version);

} // namespace test
