#pragma once

// A home folder of random content, and what a launch must make of it.

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace test {

// A number from 0 to below the limit.
using RandomNumber = std::function<std::size_t(std::size_t limit)>;

// A folder in the launcher folder, or a link to one.
struct RandomEntry {
  std::string name;
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

  // The copy in the launcher folder that has to be started; nothing when it lies elsewhere or there
  // is none. The order is that in which the launcher folder is listed.
  std::optional<std::string>
  chosenInLauncherFolder(const std::vector<std::filesystem::path>& order) const;

  const RandomEntry& find(const std::string& name) const; // which must be there

  std::filesystem::path launcherFolder;
  std::filesystem::path workingFolder; // one with or without a copy, or in the launcher folder
  std::string clientVersion;
  std::vector<RandomEntry> entries;

private:
  void addEntry(const RandomNumber& below, const std::string& name);
  void chooseWorkingFolder(const RandomNumber& below, const std::filesystem::path& ordinary);
  bool isViable(const RandomEntry& entry) const;
  bool isCompatible(const RandomEntry& entry) const;

  std::filesystem::path outside;
  RandomEntry inWorkingFolder;
};

} // namespace test
