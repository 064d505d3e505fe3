#pragma once

// A home folder of the test's own, copies of the plug-in, and files.

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace test {

// A fresh folder, removed with all its content at the end of the scope.
class ScopedDirectory {
public:
  ScopedDirectory();
  ~ScopedDirectory();
  ScopedDirectory(const ScopedDirectory&) = delete;
  ScopedDirectory& operator=(const ScopedDirectory&) = delete;

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

// A copy of the plug-in that is laid out in a folder, for which it can stand as a path.
class Copy {
public:
  // Creates the folder with the bundle in it.
  explicit Copy(std::filesystem::path dir, const std::string& version = "45.12.0.900");

  // Replaces the bundle's property list.
  Copy& list(const std::string& content);

  // Gives the bundle all that it needs to come up, but nothing that does anything.
  Copy& complete();

  // Gives the bundle a copy of this program as its executable.
  Copy& executable(const std::filesystem::path& program);

  // Writes launchCount.dat.
  Copy& launches(const std::string& count);

  // Writes launch.dat, last modified so long ago.
  Copy& launched(std::chrono::hours ago);

  // Writes started.dat.
  Copy& startedSafely();

  const std::filesystem::path& dir() const { return folder; }
  std::string name() const { return folder.string(); }
  operator const std::filesystem::path&() const { return folder; }

private:
  std::filesystem::path folder;
};

// Where a bundle's property list lies in it. GNUstep looks elsewhere, so its tests change this.
inline std::filesystem::path propertyListPlace = "Contents/Info.plist";

// The bundle, its property list, its executable and its libraries in the folder of a copy.
std::filesystem::path bundleIn(const std::filesystem::path& dir);
std::filesystem::path propertyListIn(const std::filesystem::path& dir);
std::filesystem::path executableIn(const std::filesystem::path& dir);
std::filesystem::path frameworksIn(const std::filesystem::path& dir);

// A home folder of its own, named by HOME for the length of the scope. Application Support exists,
// the launcher folder does not.
class ScopedHome {
public:
  ScopedHome();

  const std::filesystem::path& path() const { return folder.path(); }
  std::filesystem::path applicationSupport() const;
  std::filesystem::path launcherDirectory() const;
  std::filesystem::path logDirectory() const;
  std::filesystem::path launchLog() const;
  std::filesystem::path loadLog() const;

  // A copy in a folder of this name in the launcher folder.
  Copy copy(const std::string& name, const std::string& version = "45.12.0.900") const;

private:
  ScopedDirectory folder;
  ScopedEnvironment home;
  ScopedEnvironment foundationHome; // what a Mac goes by
};

// Creates or rewrites a file, with the folders above it.
void writeFile(const std::filesystem::path& file, const std::string& content);

// In seconds since 1970. Raises an error if the file system refuses it.
void setModificationTime(
    const std::filesystem::path& file, std::int64_t seconds, long nanoseconds = 0);

// The whole content; empty for a file that cannot be read.
std::string readFile(const std::filesystem::path& file);

// The lines of a text, without their line feeds.
std::vector<std::string> splitLines(const std::string& text);

std::vector<std::string> readLines(const std::filesystem::path& file);

// "2026-03-07 14:05:09.007 "
constexpr std::size_t TIME_STAMP_LENGTH = 24;

// The lines of a launcher's log file without their time stamps.
std::vector<std::string> readMessages(const std::filesystem::path& log);

// The folders in a folder, links to folders included, in the order of the file system. Nothing for
// a folder that does not exist.
std::vector<std::filesystem::path> directoriesIn(const std::filesystem::path& dir);

// An XML property list with the given keys and text values.
std::string propertyList(const std::vector<std::pair<std::string, std::string>>& entries);

} // namespace test
