// Random homes: what the command foretells is what a real launch then does.

#include "Home.h"
#include "Process.h"
#include "RandomHome.h"
#include "SampleFacts.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <iostream>
#include <iterator>
#include <random>
#include <set>

namespace fs = std::filesystem;

using nlohmann::json;
using test::Result;

namespace {

constexpr unsigned HOMES_PER_GROUP = 60;
constexpr unsigned GROUPS = 5;

// A home of random content, different for every seed.
struct Sample {
  explicit Sample(unsigned seed)
      : engine(seed), random(
                          [this](std::size_t limit) {
                            return std::uniform_int_distribution<std::size_t>(0, limit - 1)(engine);
                          },
                          home) {}

  const test::ScopedDirectory folder;
  const fs::path home = folder.path() / "home";
  std::mt19937 engine;
  const test::RandomHome random;
};

std::set<std::string> directoryNames(const fs::path& folder) {
  std::set<std::string> names;
  for (const auto& dir : test::directoriesIn(folder))
    names.insert(dir.filename());
  return names;
}

// The folder that a report's entry names.
fs::path directoryOf(const json& entry) {
  return entry.contains("directoryBytes") ? test::fromHex(entry["directoryBytes"])
                                          : entry["directory"].get<std::string>();
}

std::set<std::string> namesIn(const json& entries) {
  std::set<std::string> names;
  for (const auto& entry : entries)
    names.insert(directoryOf(entry).filename());
  return names;
}

// The copy that the launcher's log names.
std::string chosenInLog(const Sample& sample) {
  const std::string log =
      test::readFile(sample.home / "Library/Logs/VantuOrlixVDI/vdi-launch-launchmode-log.txt");
  const std::string mark = "Best candidate: ";
  const std::string rest = log.substr(log.find(mark) + mark.size());
  const std::string line = rest.substr(0, rest.find("\n20"));
  return line.substr(0, line.rfind(" (version: "));
}

json foretell(const Sample& sample) {
  const Result result = test::run(
      {{LAUNCHER_INSPECT,
        "--json",
        "--home",
        sample.home,
        "--working-directory",
        sample.random.workingDirectory,
        "--client-version",
        sample.random.clientVersion}});
  EXPECT_LE(result.status, 1) << result.err;
  const json report = json::parse(result.out);
  EXPECT_EQ(result.status == 0, !report["chosen"].is_null());
  return report;
}

void launch(const Sample& sample) {
  const Result result = test::run(
      {{HOST_PROGRAM, LAUNCHER_LIBRARY, "launchermode", sample.random.clientVersion},
       sample.random.workingDirectory,
       {{"HOME", sample.home}, {"USER", "nobody-at-all"}}});
  EXPECT_EQ(result.out, "returned 0\nstart failed\n") << result.err;
}

std::set<std::string>
difference(const std::set<std::string>& all, const std::set<std::string>& without) {
  std::set<std::string> rest;
  std::set_difference(
      all.begin(), all.end(), without.begin(), without.end(), std::inserter(rest, rest.end()));
  return rest;
}

void expectSameChoice(const json& report, const Sample& sample) {
  const json& chosen = report["chosen"];
  EXPECT_EQ(chosen.is_null() ? "" : directoryOf(chosen), chosenInLog(sample));
  EXPECT_EQ(chosen.is_null(), report["outcome"]["code"] == "nothing-viable");
}

void expectSameRemovals(
    const json& report, const Sample& sample, const std::set<std::string>& before) {
  const json& cleanUp = report["cleanUp"];
  const auto removed = difference(before, directoryNames(sample.random.launcherDirectory));
  const auto foretold = namesIn(cleanUp["removed"]);
  const auto tied = namesIn(cleanUp["tied"]);
  const auto removedOfTied = tied.size() - cleanUp["tiedKept"].get<std::size_t>();
  EXPECT_EQ(difference(removed, tied), foretold);
  EXPECT_EQ(removed.size(), foretold.size() + removedOfTied);
}

// Adds what the report is about.
void collectSubjects(const json& report, std::set<std::string>& subjects) {
  subjects.insert(report["outcome"]["code"]);
  for (const auto& note : report["notes"])
    subjects.insert(note["code"]);
  for (const char* folders : {"removed", "tied"}) {
    if (!report["cleanUp"][folders].empty())
      subjects.insert(folders);
  }
}

class RandomHomes : public ::testing::TestWithParam<unsigned> {};

} // namespace

TEST_P(RandomHomes, LaunchAsForetold) {
  std::set<std::string> subjects;
  const unsigned first = GetParam() * HOMES_PER_GROUP;
  std::cout << "seeds " << first << " to " << first + HOMES_PER_GROUP - 1 << "\n";
  for (unsigned seed = first; seed < first + HOMES_PER_GROUP; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    const Sample sample(seed);
    const auto before = directoryNames(sample.random.launcherDirectory);
    const json report = foretell(sample);
    launch(sample);
    expectSameChoice(report, sample);
    expectSameRemovals(report, sample, before);
    collectSubjects(report, subjects);
    if (HasFailure())
      FAIL() << report.dump(2, ' ', false, json::error_handler_t::replace);
  }
  EXPECT_THAT(
      subjects,
      ::testing::IsSupersetOf(
          {"would-start", "nothing-viable", "nothing-compatible", "removed", "tied"}));
}

INSTANTIATE_TEST_SUITE_P(Group, RandomHomes, ::testing::Range(0u, GROUPS));
