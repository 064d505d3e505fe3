#pragma once

// A home folder of random content.

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace test {

// A number from 0 to below the limit.
using RandomNumber = std::function<std::size_t(std::size_t limit)>;

// A folder in the launcher folder, a link to one, or the working folder.
struct RandomEntry {
  std::string name;
  bool isMember = true; // of the launcher folder
  bool hasBundle = false;
  std::string version; // empty when there is none to read
  std::uint32_t launches = 0;
  bool startedSafely = false;
  int launchTime = 0; // increases with the time; 0 for never
};

class RandomHome {
public:
  // Lays the home out in this folder.
  RandomHome(const RandomNumber& below, const std::filesystem::path& home);

  std::filesystem::path launcherDirectory;
  std::filesystem::path workingDirectory; // one with or without a copy, or in the launcher folder
  std::string clientVersion;
  std::vector<RandomEntry> entries;
  RandomEntry inWorkingDirectory;

private:
  void addEntries(const RandomNumber& below);
  void addEntry(const RandomNumber& below, const std::string& name);
  void chooseWorkingDirectory(const RandomNumber& below, const std::filesystem::path& ordinary);

  std::filesystem::path outside;
};

} // namespace test
