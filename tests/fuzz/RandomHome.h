#pragma once

// A home folder described by random bytes, and what a launch must make of it.

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

// Hands out the bytes of an input; zeros when they are used up.
class Bytes {
public:
  Bytes(const std::uint8_t* data, std::size_t size) : next(data), left(size) {}

  std::size_t below(std::size_t limit) {
    if (left == 0)
      return 0;
    --left;
    return *next++ % limit;
  }

private:
  const std::uint8_t* next;
  std::size_t left;
};

// A candidate folder.
struct RandomCopy {
  std::string name;
  bool hasBundle = false;
  std::string version; // empty when there is none to read
  std::uint32_t launches = 0;
  bool startedSafely = false;
  int launchTime = 0; // the order of the launches; 0 for never
};

// What the launcher folder and the working folder of a home hold.
class RandomHome {
public:
  RandomHome(Bytes& bytes, const std::filesystem::path& home);

  const std::string& clientVersion() const { return client; }
  std::filesystem::path workFolder() const { return work; }

  // The copy that has to be started, as one of the folders below launcher or the working folder;
  // empty when nothing viable is there. The order is that in which the folder is listed.
  std::optional<std::string> chosenInLauncherFolder(const std::vector<std::string>& order) const;

  const RandomCopy* find(const std::string& name) const;
  const std::vector<RandomCopy>& copies() const { return inLauncherFolder; }

private:
  void addEntry(Bytes& bytes, int number);
  RandomCopy addCopy(Bytes& bytes, const std::filesystem::path& dir);
  bool isViable(const RandomCopy& copy) const;
  bool fits(const RandomCopy& copy) const;

  std::filesystem::path launcher;
  std::filesystem::path work;
  std::filesystem::path outside;
  std::string client;
  std::vector<RandomCopy> inLauncherFolder; // folders and links to folders
  RandomCopy inWorkFolder;
};
