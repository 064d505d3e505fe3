#include "RandomHome.h"

#include "Home.h"
#include "VersionOracle.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <utility>

namespace fs = std::filesystem;

namespace test {

namespace {

const std::string LONG_NAME(255, 'n');

const std::array<std::string, 15> NAMES{
    "45.12.0.900",
    "45.13.0.10",
    "a b",
    "line\nfeed",
    "\"quoted\"",
    "\xFF\xFE",
    LONG_NAME,
    ".hidden",
    "corrupt.dat",
    "back\\slash",
    "-rf",
    "*stars*",
    " (version: 1)",
    "\xC3\xBCmlaut",
    "~"};

const std::array<std::string, 22> VERSIONS{
    "",         "45.12.0.900", "45.12.0.901", "45.13.0.10",    "45.10.0.32950", "45.10.0.32951",
    "45.12",    "45",          "99999999999", "45.x.1",        "...",           "0.0.0.0",
    "46.1.2.3", " 45.12.1",    "-1.5",        "45.12.0.900.7", "45.12.0.900",   "45.12.0.0900",
    "44.9",     "45.12.",      "x.1",         "0.0.0.1"};

const std::array<std::string, 8> CLIENT_VERSIONS{
    "", "1.0.0.1", "45.12.0.1000", "45", "nonsense", "45.10.0.1", "44.0", "45.x"};

const std::array<std::pair<std::string, std::uint32_t>, 8> LAUNCH_COUNTS{
    {{"", 0},
     {"2", 2},
     {"3", 3},
     {" 7\n", 7},
     {"x3", 0},
     {"4294967295", 4294967295U},
     {"1e9", 1},
     {"4", 4}}};

// A few moments, so that several copies were launched at the same one.
constexpr int LAUNCH_TIMES = 3;

void writeLaunchTime(const fs::path& dir, int order) {
  static const auto now = fs::file_time_type::clock::now();
  writeFile(dir / "launch.dat", "0");
  fs::last_write_time(dir / "launch.dat", now - std::chrono::hours(LAUNCH_TIMES - order));
}

} // namespace

RandomHome::RandomHome(RandomNumber number, const fs::path& home)
    : below(std::move(number)),
      launcher(home / "Library" / "Application Support" / "VantuOrlixVDILauncher"),
      outside(home / "outside"), client(any(CLIENT_VERSIONS)) {
  writeFile(outside / "precious" / "file", "precious");
  fs::create_directories(launcher.parent_path());
  const std::size_t missing = below(16);
  if (missing == 1)
    fs::remove(launcher.parent_path());
  else if (missing != 2)
    fillLauncherFolder();
  chooseWorkingFolder(home / "work");
}

void RandomHome::fillLauncherFolder() {
  fs::create_directory(launcher);
  for (auto count = below(12); count > 0; --count) {
    const std::string& name = any(NAMES);
    if (!fs::exists(fs::symlink_status(launcher / name)))
      addEntry(name);
  }
}

void RandomHome::addEntry(const std::string& name) {
  const std::size_t kind = below(8);
  if (kind == 0) {
    writeFile(launcher / name, "a file");
  } else if (kind == 1) {
    fs::create_symlink(launcher / "nowhere", launcher / name);
  } else if (kind == 2) {
    addLinkToFolder(name);
  } else {
    Entry entry = addCopy(launcher / name);
    entry.launchTime = static_cast<int>(below(LAUNCH_TIMES));
    if (entry.launchTime > 0)
      writeLaunchTime(launcher / name, entry.launchTime);
    inLauncherFolder.push_back(entry);
  }
}

// To a folder outside, which may gain records and nothing else.
void RandomHome::addLinkToFolder(const std::string& name) {
  const fs::path target = outside / std::to_string(inLauncherFolder.size());
  Entry entry = addCopy(target);
  fs::create_directory_symlink(target, launcher / name);
  entry.name = name;
  inLauncherFolder.push_back(entry);
}

RandomHome::Entry RandomHome::addCopy(const fs::path& dir) {
  Entry entry;
  entry.name = dir.filename();
  fs::create_directories(dir);
  addBundle(dir, entry);
  const auto& [content, launches] = any(LAUNCH_COUNTS);
  if (!content.empty())
    writeFile(dir / "launchCount.dat", content);
  entry.launches = launches;
  addSafeStart(dir, entry);
  return entry;
}

void RandomHome::addBundle(const fs::path& dir, Entry& entry) {
  const std::size_t kind = below(8);
  entry.hasBundle = kind != 0;
  if (kind == 1) {
    writeFile(bundleIn(dir), "a file");
  } else if (kind == 2) {
    Copy(dir, "").list("no list");
  } else if (kind > 2) {
    entry.version = any(VERSIONS);
    Copy(dir, entry.version);
  }
}

void RandomHome::addSafeStart(const fs::path& dir, Entry& entry) {
  const std::size_t kind = below(4);
  if (kind == 1)
    writeFile(dir / "started.dat", "");
  else if (kind == 2)
    fs::create_directory(dir / "started.dat");
  else if (kind == 3)
    fs::create_symlink(dir / "nowhere", dir / "started.dat");
  entry.startedSafely = kind == 1 || kind == 2;
}

void RandomHome::chooseWorkingFolder(const fs::path& ordinary) {
  fs::create_directory(ordinary);
  work = ordinary;
  const std::size_t kind = below(8);
  if (kind == 1) {
    inWorkingFolder = addCopy(ordinary);
  } else if (kind == 2 && fs::exists(launcher)) {
    work = launcher;
  } else if (kind == 3 && !inLauncherFolder.empty()) {
    const Entry& entry = any(inLauncherFolder);
    if (!fs::is_symlink(launcher / entry.name)) {
      work = launcher / entry.name;
      inWorkingFolder = entry;
    }
  }
}

const RandomHome::Entry& RandomHome::find(const std::string& name) const {
  return *std::find_if(inLauncherFolder.begin(), inLauncherFolder.end(), [&](const Entry& entry) {
    return entry.name == name;
  });
}

bool RandomHome::isViable(const Entry& entry) const {
  const bool isJudged = (&entry != &inWorkingFolder || work.parent_path() == launcher) &&
                        !entry.version.empty() &&
                        VersionOracle::exceeds(entry.version, "45.10.0.32950", 4);
  return entry.hasBundle && !(isJudged && entry.launches >= 3 && !entry.startedSafely);
}

bool RandomHome::isCompatible(const Entry& entry) const {
  return client.empty() || client == "1.0.0.1" ||
         (!entry.version.empty() && !VersionOracle::exceeds(entry.version, client, 2));
}

std::optional<std::string>
RandomHome::chosenInLauncherFolder(const std::vector<fs::path>& order) const {
  std::vector<const Entry*> viable{&inWorkingFolder};
  for (const auto& dir : order)
    viable.push_back(&find(dir.filename()));
  const auto removeUnless = [](std::vector<const Entry*>& list, const auto& condition) {
    list.erase(std::remove_if(list.begin(), list.end(), std::not_fn(condition)), list.end());
  };
  removeUnless(viable, [&](const Entry* entry) { return isViable(*entry); });
  std::vector<const Entry*> eligible = viable;
  removeUnless(eligible, [&](const Entry* entry) { return isCompatible(*entry); });
  if (eligible.empty())
    eligible = viable;
  if (eligible.empty())
    return std::nullopt;
  const Entry* best = eligible.front();
  std::string bestVersion = "0.0.0.0";
  for (const Entry* entry : eligible) {
    if (!entry->version.empty() && VersionOracle::exceeds(entry->version, bestVersion, 4)) {
      best = entry;
      bestVersion = entry->version;
    }
  }
  if (best == &inWorkingFolder && work.parent_path() != launcher)
    return std::nullopt;
  return best->name;
}

} // namespace test
