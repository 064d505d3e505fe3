// Random homes: what the command foretells is what a real launch then does.

#include "Home.h"
#include "Process.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <chrono>
#include <iostream>
#include <iterator>
#include <random>
#include <set>

namespace fs = std::filesystem;

using nlohmann::json;
using test::Result;

namespace {

constexpr unsigned HOMES_PER_GROUP = 30;
constexpr unsigned GROUPS = 10;

const std::vector<std::string> VERSIONS = {
    "45.12.0.900",
    "45.12.0.900",
    "45.12.0.0900",
    "45.12.0.900.7",
    "45.13.0.10",
    "45.10.0.32950",
    "45.11.0.1",
    "44.9",
    "45",
    "45.12",
    "45.12.",
    "46.0.0.1",
    "45.x.0.1",
    "x.1",
    "0.0.0.0",
    "0.0.0.1",
    "",
    "45..1"};

const std::vector<std::string> CLIENT_VERSIONS = {
    "", "1.0.0.1", "45.12.0.1000", "45.12.0.1000", "45", "44.0", "1.0", "45.x", "word"};

const std::vector<std::string> NAMES = {
    "45.12.0.900",
    "old",
    "a b",
    "line\nfeed",
    "\xff\xfe",
    "*stars*",
    " (version: 1)",
    "ümlaut",
    "~"};

// A home and a working directory of random content.
class RandomHome {
public:
  RandomHome(const fs::path& top, unsigned seed) : home(top / "home"), engine(seed) {
    fs::create_directories(home);
    if (!oneIn(12))
      fs::create_directories(launcherFolder().parent_path());
    if (fs::exists(launcherFolder().parent_path()) && !oneIn(12))
      fillLauncherFolder();
    chooseWorkingDirectory(top / "work");
    clientVersion = any(CLIENT_VERSIONS);
  }

  fs::path launcherFolder() const {
    return home / "Library" / "Application Support" / "VantuOrlixVDILauncher";
  }

  fs::path home;
  fs::path workingDirectory;
  std::string clientVersion;

private:
  unsigned below(unsigned limit) {
    return std::uniform_int_distribution<unsigned>(0, limit - 1)(engine);
  }
  bool oneIn(unsigned chances) { return below(chances) == 0; }

  const std::string& any(const std::vector<std::string>& list) {
    return list[below(static_cast<unsigned>(list.size()))];
  }

  void fillLauncherFolder() {
    fs::create_directories(launcherFolder());
    for (unsigned count = below(9); count > 0; --count)
      addCopy(launcherFolder() / any(NAMES));
    if (oneIn(3))
      test::writeFile(launcherFolder() / "corrupt.dat", "1.0");
    if (oneIn(3))
      addLink();
  }

  void addCopy(const fs::path& dir) {
    fs::create_directories(dir);
    if (!oneIn(6))
      test::Copy(dir, any(VERSIONS));
    if (!oneIn(3))
      test::writeFile(
          dir / "launchCount.dat", any({"0", "1", "2", "3", "3", "4", "word", "1e9", ""}));
    if (oneIn(3))
      test::writeFile(dir / "started.dat", "");
    if (!oneIn(3))
      recordLaunch(dir);
  }

  // From few moments, so that ties are frequent.
  void recordLaunch(const fs::path& dir) {
    test::writeFile(dir / "launch.dat", "1");
    fs::last_write_time(
        dir / "launch.dat",
        fs::file_time_type::clock::now() - std::chrono::hours(24 * (1 + below(4))));
    if (oneIn(2))
      moment = fs::last_write_time(dir / "launch.dat");
    else if (moment != fs::file_time_type())
      fs::last_write_time(dir / "launch.dat", moment);
  }

  void addLink() {
    const fs::path target = oneIn(2) ? launcherFolder() / any(NAMES) : home / "elsewhere";
    if (oneIn(2))
      addCopy(home / "elsewhere");
    fs::create_directory_symlink(target, launcherFolder() / "link");
  }

  void chooseWorkingDirectory(const fs::path& ordinary) {
    fs::create_directories(ordinary);
    workingDirectory = ordinary;
    if (oneIn(4))
      test::Copy(ordinary, any(VERSIONS));
    else if (oneIn(4) && fs::exists(launcherFolder()))
      workingDirectory = launcherFolder();
    else if (oneIn(3) && fs::is_directory(launcherFolder() / "old"))
      workingDirectory = launcherFolder() / "old";
  }

  std::mt19937 engine;
  fs::file_time_type moment{};
};

std::set<std::string> folderNames(const fs::path& folder) {
  std::set<std::string> names;
  std::error_code missing;
  for (const auto& entry : fs::directory_iterator(folder, missing)) {
    if (!fs::is_regular_file(entry.symlink_status()))
      names.insert(entry.path().filename());
  }
  return names;
}

std::string fromHex(const std::string& hex) {
  std::string bytes;
  for (std::size_t i = 0; i < hex.size(); i += 2)
    bytes += static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, 16));
  return bytes;
}

// The folder that a report's entry names.
fs::path directoryOf(const json& entry, const fs::path& home) {
  const std::string shown = entry.contains("directoryBytes")
                                ? fromHex(entry["directoryBytes"])
                                : entry["directory"].get<std::string>();
  return shown.substr(0, 2) == "~/" ? home / shown.substr(2) : fs::path(shown);
}

std::set<std::string> namesIn(const json& entries, const fs::path& home) {
  std::set<std::string> names;
  for (const auto& entry : entries)
    names.insert(directoryOf(entry, home).filename());
  return names;
}

std::string textBetween(const std::string& text, const std::string& start, const std::string& end) {
  const auto from = text.find(start) + start.size();
  return text.substr(from, text.rfind(end) - from);
}

// The copy that the launcher's log names.
std::string chosenInLog(const RandomHome& random) {
  const std::string log =
      test::readFile(random.home / "Library/Logs/VantuOrlixVDI/vdi-launch-launchmode-log.txt");
  const std::string rest = log.substr(log.find("Best candidate: "));
  const std::string line = rest.substr(0, rest.find("\n20"));
  return textBetween(line, "Best candidate: ", " (version: ");
}

json foretell(const RandomHome& random) {
  const Result result = test::run(
      {{LAUNCHER_INSPECT,
        "--json",
        "--home",
        random.home,
        "--working-directory",
        random.workingDirectory,
        "--client-version",
        random.clientVersion}});
  EXPECT_LE(result.status, 1) << result.err;
  const json report = json::parse(result.out);
  EXPECT_EQ(result.status == 0, !report["chosen"].is_null());
  return report;
}

void launch(const RandomHome& random) {
  const Result result = test::run(
      {{IMPATIENT_HOST, LAUNCHER_LIBRARY, "launchermode", random.clientVersion},
       random.workingDirectory,
       {{"HOME", random.home}, {"USER", "nobody-at-all"}}});
  EXPECT_EQ(result.status, 0) << result.err;
}

std::set<std::string>
difference(const std::set<std::string>& all, const std::set<std::string>& without) {
  std::set<std::string> rest;
  std::set_difference(
      all.begin(), all.end(), without.begin(), without.end(), std::inserter(rest, rest.end()));
  return rest;
}

void expectSameChoice(const json& report, const RandomHome& random) {
  const json& chosen = report["chosen"];
  EXPECT_EQ(chosen.is_null() ? "" : directoryOf(chosen, random.home), chosenInLog(random));
  EXPECT_EQ(chosen.is_null(), report["outcome"]["code"] == "nothing-viable");
}

void expectSameRemovals(
    const json& report, const RandomHome& random, const std::set<std::string>& before) {
  const json& cleanUp = report["cleanUp"];
  const auto removed = difference(before, folderNames(random.launcherFolder()));
  const auto foretold = namesIn(cleanUp["removed"], random.home);
  const auto undefined = namesIn(cleanUp["undefined"], random.home);
  const auto removedOfUndefined = undefined.size() - cleanUp["undefinedKept"].get<std::size_t>();
  EXPECT_EQ(difference(removed, undefined), foretold);
  EXPECT_EQ(removed.size(), foretold.size() + removedOfUndefined);
}

// How often each thing that the test is about came up.
struct Coverage {
  unsigned chosen = 0;
  unsigned nothingViable = 0;
  unsigned fallback = 0;
  unsigned removals = 0;
  unsigned ties = 0;

  void count(const json& report) {
    chosen += !report["chosen"].is_null();
    nothingViable += report["outcome"]["code"] == "nothing-viable";
    for (const auto& note : report["notes"])
      fallback += note["code"] == "nothing-compatible";
    removals += !report["cleanUp"]["removed"].empty();
    ties += !report["cleanUp"]["undefined"].empty();
  }
};

class RandomHomes : public ::testing::TestWithParam<unsigned> {};

} // namespace

TEST_P(RandomHomes, AreLaunchedAsForetold) {
  Coverage coverage;
  const unsigned first = GetParam() * HOMES_PER_GROUP;
  std::cout << "seeds " << first << " to " << first + HOMES_PER_GROUP - 1 << "\n";
  for (unsigned seed = first; seed < first + HOMES_PER_GROUP; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    const test::ScopedFolder folder;
    const RandomHome random(folder.path(), seed);
    const auto before = folderNames(random.launcherFolder());
    const json report = foretell(random);
    launch(random);
    expectSameChoice(report, random);
    expectSameRemovals(report, random, before);
    coverage.count(report);
    if (HasFailure())
      FAIL() << report.dump(2, ' ', false, json::error_handler_t::replace);
  }
  EXPECT_GT(coverage.chosen, 0u);
  EXPECT_GT(coverage.nothingViable, 0u);
  EXPECT_GT(coverage.fallback, 0u);
  EXPECT_GT(coverage.removals, 0u);
  EXPECT_GT(coverage.ties, 0u);
}

INSTANTIATE_TEST_SUITE_P(Group, RandomHomes, ::testing::Range(0u, GROUPS));
