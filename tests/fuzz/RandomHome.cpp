#include "RandomHome.h"

#include "Home.h"
#include "VersionOracle.h"

#include <algorithm>
#include <array>
#include <chrono>

namespace fs = std::filesystem;

namespace {

const std::string LONG_NAME(255, 'n');

const std::array<std::string, 12> NAMES{
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
    "launch.dat",
    "-rf"};

const std::array<std::string, 16> VERSIONS{
    "",
    "45.12.0.900",
    "45.12.0.901",
    "45.13.0.10",
    "45.10.0.32950",
    "45.10.0.32951",
    "45.12",
    "45",
    "99999999999",
    "45.x.1",
    "...",
    "0.0.0.0",
    "46.1.2.3",
    " 45.12.1",
    "-1.5",
    "45.12.0.900.7"};

const std::array<std::string, 6> CLIENT_VERSIONS{
    "", "1.0.0.1", "45.12.0.1000", "45", "nonsense", "45.10.0.1"};

const std::array<std::pair<std::string, std::uint32_t>, 6> LAUNCH_COUNTS{
    {{"", 0}, {"2", 2}, {"3", 3}, {" 7\n", 7}, {"x3", 0}, {"4294967295", 4294967295U}}};

void writeLaunchTime(const fs::path& file, int order) {
  test::writeFile(file, "0");
  fs::last_write_time(file, fs::file_time_type::clock::now() - std::chrono::hours(1000 - order));
}

} // namespace

RandomHome::RandomHome(Bytes& bytes, const fs::path& home)
    : launcher(home / "Library" / "Application Support" / "VantuOrlixVDILauncher"),
      work(home / "work"), outside(home / "outside") {
  client = CLIENT_VERSIONS[bytes.below(CLIENT_VERSIONS.size())];
  fs::create_directories(work);
  test::writeFile(outside / "precious" / "file", "precious");
  if (bytes.below(4) == 0)
    inWorkFolder = addCopy(bytes, work);
  if (bytes.below(16) == 1)
    return;
  fs::create_directories(launcher);
  for (int number = static_cast<int>(bytes.below(8)); number > 0; --number)
    addEntry(bytes, number);
}

void RandomHome::addEntry(Bytes& bytes, int number) {
  const std::string name = NAMES[bytes.below(NAMES.size())];
  const fs::path entry = launcher / name;
  if (fs::exists(fs::symlink_status(entry)))
    return;
  switch (bytes.below(8)) {
  case 0:
    test::writeFile(entry, "a file");
    return;
  case 1:
    fs::create_symlink(launcher / "nowhere", entry);
    return;
  case 2: {
    // A link to a folder outside is a candidate; its target may gain records and nothing else.
    const fs::path target = outside / std::to_string(number);
    RandomCopy copy = addCopy(bytes, target);
    fs::create_directory_symlink(target, entry);
    copy.name = name;
    inLauncherFolder.push_back(copy);
    return;
  }
  default: {
    RandomCopy copy = addCopy(bytes, entry);
    copy.launchTime = static_cast<int>(bytes.below(2)) * number;
    if (copy.launchTime > 0)
      writeLaunchTime(entry / "launch.dat", copy.launchTime);
    inLauncherFolder.push_back(copy);
  }
  }
}

RandomCopy RandomHome::addCopy(Bytes& bytes, const fs::path& dir) {
  RandomCopy copy;
  copy.name = dir.filename();
  fs::create_directories(dir);
  const std::size_t bundle = bytes.below(8);
  copy.hasBundle = bundle != 0;
  if (bundle == 1) {
    test::writeFile(dir / "OrlixVDIPlugin.app", "a file");
  } else if (bundle == 2) {
    test::writeFile(dir / "OrlixVDIPlugin.app" / "Contents" / "Info.plist", "no list");
  } else if (bundle > 2) {
    copy.version = VERSIONS[bytes.below(VERSIONS.size())];
    test::Copy(dir, copy.version);
  }
  const auto& [content, launches] = LAUNCH_COUNTS[bytes.below(LAUNCH_COUNTS.size())];
  if (!content.empty())
    test::writeFile(dir / "launchCount.dat", content);
  copy.launches = launches;
  const std::size_t mark = bytes.below(4);
  if (mark == 1)
    test::writeFile(dir / "started.dat", "");
  else if (mark == 2)
    fs::create_directory(dir / "started.dat");
  else if (mark == 3)
    fs::create_symlink(dir / "nowhere", dir / "started.dat");
  copy.startedSafely = mark == 1 || mark == 2;
  return copy;
}

const RandomCopy* RandomHome::find(const std::string& name) const {
  const auto found =
      std::find_if(inLauncherFolder.begin(), inLauncherFolder.end(), [&](const RandomCopy& copy) {
        return copy.name == name;
      });
  return found == inLauncherFolder.end() ? nullptr : &*found;
}

bool RandomHome::isViable(const RandomCopy& copy) const {
  const bool isJudged =
      !copy.version.empty() && VersionOracle::exceeds(copy.version, "45.10.0.32950", 4);
  return copy.hasBundle && !(isJudged && copy.launches >= 3 && !copy.startedSafely);
}

bool RandomHome::fits(const RandomCopy& copy) const {
  return client.empty() || client == "1.0.0.1" ||
         (!copy.version.empty() && !VersionOracle::exceeds(copy.version, client, 2));
}

std::optional<std::string>
RandomHome::chosenInLauncherFolder(const std::vector<std::string>& order) const {
  std::vector<const RandomCopy*> viable;
  if (inWorkFolder.hasBundle)
    viable.push_back(&inWorkFolder);
  for (const auto& name : order) {
    if (const RandomCopy* copy = find(name); copy != nullptr && isViable(*copy))
      viable.push_back(copy);
  }
  std::vector<const RandomCopy*> eligible;
  std::copy_if(viable.begin(), viable.end(), std::back_inserter(eligible), [&](const auto* copy) {
    return fits(*copy);
  });
  if (eligible.empty())
    eligible = viable;
  if (eligible.empty())
    return std::nullopt;
  const RandomCopy* best = eligible.front();
  std::string bestVersion = "0.0.0.0";
  for (const auto* copy : eligible) {
    if (!copy->version.empty() && VersionOracle::exceeds(copy->version, bestVersion, 4)) {
      best = copy;
      bestVersion = copy->version;
    }
  }
  return best == &inWorkFolder ? std::nullopt : std::optional<std::string>(best->name);
}
