#include "RandomHome.h"

#include "Home.h"

#include <array>

namespace fs = std::filesystem;

namespace test {

namespace {

const std::vector<std::string> NAMES{
    "45.12.0.900",
    "45.13.0.10",
    "a b",
    "line\nfeed",
    "\"quoted\"",
    "\xFF\xFE",
    ".hidden",
    "corrupt.dat",
    "back\\slash",
    "-rf",
    "*stars*",
    " (version: 1)",
    "\xC3\xBCmlaut",
    "~"};

const std::vector<std::string> VERSIONS{
    "",         "45.12.0.900", "45.12.0.901", "45.13.0.10",    "45.10.0.32950", "45.10.0.32951",
    "45.12",    "45",          "99999999999", "45.x.1",        "...",           "0.0.0.0",
    "46.1.2.3", " 45.12.1",    "-1.5",        "45.12.0.900.7", "45.12.0.900",   "45.12.0.0900",
    "44.9",     "45.12.",      "x.1",         "0.0.0.1"};

const std::vector<std::string> CLIENT_VERSIONS{
    "", "1.0.0.1", "45.12.0.1000", "45", "nonsense", "45.10.0.1", "44.0", "45.x"};

const std::vector<std::uint32_t> LAUNCH_COUNTS{0, 2, 3, 7, 1, 4294967295U, 4};

// A few moments in seconds since 1970, so that several copies were launched at the same one: never,
// in 1800, in 2026 and in 2400.
constexpr std::array<std::int64_t, 5> LAUNCH_TIMES{
    0, -5364662400, 1772892309, 1772892310, 13569465600};

template <typename List>
const auto& any(const RandomNumber& below, const List& list) {
  return list[below(list.size())];
}

void addBundle(const RandomNumber& below, const fs::path& dir, RandomEntry& entry) {
  const std::size_t kind = below(8);
  entry.hasBundle = kind != 0;
  if (kind == 1) {
    writeFile(bundleIn(dir), "a file");
  } else if (kind == 2) {
    Copy(dir, "").list("no list");
  } else if (kind > 2) {
    entry.version = any(below, VERSIONS);
    Copy(dir, entry.version);
  }
}

RandomEntry addCopy(const RandomNumber& below, const fs::path& dir) {
  RandomEntry entry;
  entry.name = dir.filename();
  fs::create_directories(dir);
  addBundle(below, dir, entry);
  entry.launches = any(below, LAUNCH_COUNTS);
  if (entry.launches != 0)
    writeFile(dir / "launchCount.dat", std::to_string(entry.launches));
  const std::size_t kind = below(4);
  entry.startedSafely = kind == 1 || kind == 2;
  if (entry.startedSafely)
    writeFile(dir / "started.dat", "");
  return entry;
}

} // namespace

RandomHome::RandomHome(const RandomNumber& below, const fs::path& home)
    : launcherDirectory(home / "Library" / "Application Support" / "VantuOrlixVDILauncher"),
      clientVersion(any(below, CLIENT_VERSIONS)), outside(home / "outside") {
  writeFile(outside / "precious" / "file", "precious");
  fs::create_directories(launcherDirectory);
  const std::size_t missing = below(16);
  if (missing == 1)
    fs::remove_all(launcherDirectory.parent_path());
  else if (missing == 2)
    fs::remove(launcherDirectory);
  else
    addEntries(below);
  chooseWorkingDirectory(below, home / "work");
}

void RandomHome::addEntries(const RandomNumber& below) {
  for (auto count = below(12); count > 0; --count) {
    const std::string& name = any(below, NAMES);
    if (!fs::exists(fs::symlink_status(launcherDirectory / name)))
      addEntry(below, name);
  }
}

void RandomHome::addEntry(const RandomNumber& below, const std::string& name) {
  const fs::path place = launcherDirectory / name;
  const std::size_t kind = below(8);
  if (kind == 0) {
    writeFile(place, "a file");
  } else if (kind == 1) {
    fs::create_symlink("nowhere", place);
  } else if (kind == 2) { // to a folder outside, which may gain records and nothing else
    const fs::path target = outside / std::to_string(entries.size());
    entries.push_back(addCopy(below, target));
    entries.back().name = name;
    fs::create_directory_symlink(target, place);
  } else {
    entries.push_back(addCopy(below, place));
    const std::size_t launchTime = below(LAUNCH_TIMES.size());
    entries.back().launchTime = static_cast<int>(launchTime);
    if (launchTime > 0) {
      writeFile(place / "launch.dat", "0");
      setModificationTime(place / "launch.dat", LAUNCH_TIMES.at(launchTime));
    }
  }
}

void RandomHome::chooseWorkingDirectory(const RandomNumber& below, const fs::path& ordinary) {
  fs::create_directory(ordinary);
  workingDirectory = ordinary;
  inWorkingDirectory.isMember = false;
  const std::size_t kind = below(8);
  if (kind == 1) {
    inWorkingDirectory = addCopy(below, ordinary);
    inWorkingDirectory.isMember = false;
  } else if (kind == 2 && fs::exists(launcherDirectory)) {
    workingDirectory = launcherDirectory;
  } else if (kind == 3 && !entries.empty()) {
    const RandomEntry& entry = any(below, entries);
    if (!fs::is_symlink(launcherDirectory / entry.name)) {
      workingDirectory = launcherDirectory / entry.name;
      inWorkingDirectory = entry;
    }
  }
}

} // namespace test
