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

class RandomHome {
public:
  // Lays the home out in this folder, which is created.
  RandomHome(RandomNumber number, const std::filesystem::path& home);

  const std::string& clientVersion() const { return client; }

  // Often a folder with or without a copy; also the launcher folder or a copy in it.
  const std::filesystem::path& workingFolder() const { return work; }

  const std::filesystem::path& launcherFolder() const { return launcher; }

  // A folder in the launcher folder, or a link to one.
  struct Entry {
    std::string name;
    bool hasBundle = false;
    std::string version; // empty when there is none to read
    std::uint32_t launches = 0;
    bool startedSafely = false;
    int launchTime = 0; // increases with the time; 0 for never
  };

  // The copy in the launcher folder that has to be started; nothing when it lies elsewhere or there
  // is none. The order is that in which the launcher folder is listed.
  std::optional<std::string>
  chosenInLauncherFolder(const std::vector<std::filesystem::path>& order) const;

  // Which must be there.
  const Entry& find(const std::string& name) const;

  const std::vector<Entry>& entries() const { return inLauncherFolder; }

private:
  template <typename List>
  const auto& any(const List& list) {
    return list[below(list.size())];
  }

  void fillLauncherFolder();
  void addEntry(const std::string& name);
  void addLinkToFolder(const std::string& name);
  Entry addCopy(const std::filesystem::path& dir);
  void addBundle(const std::filesystem::path& dir, Entry& entry);
  void addSafeStart(const std::filesystem::path& dir, Entry& entry);
  void chooseWorkingFolder(const std::filesystem::path& ordinary);
  bool isViable(const Entry& entry) const;
  bool isCompatible(const Entry& entry) const;

  RandomNumber below;
  std::filesystem::path launcher;
  std::filesystem::path outside;
  std::filesystem::path work;
  std::string client;
  std::vector<Entry> inLauncherFolder;
  Entry inWorkingFolder;
};

} // namespace test
