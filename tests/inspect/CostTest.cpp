// The cost of a report grows no faster than what it tells. Compared are two sizes in one run, so
// the speed of the machine does not count.

#include "Home.h"
#include "JsonReport.h"
#include "LaunchLog.h"
#include "Process.h"
#include "PropertyLists.h"
#include "SampleFacts.h"
#include "TextReport.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <ctime>
#include <functional>
#include <limits>

using namespace LauncherInspect;

namespace {

constexpr std::size_t FACTOR = 8;
constexpr double MOST_GROWTH = 2.5 * FACTOR; // quadratic work grows by FACTOR * FACTOR
constexpr int RUNS = 3;

using Work = std::function<void(std::size_t size)>;

// The least processor time of some runs: what else the machine does adds to the others.
double timeOf(const Work& work, std::size_t size) {
  std::clock_t least = std::numeric_limits<std::clock_t>::max();
  for (int i = 0; i < RUNS; ++i) {
    const std::clock_t start = std::clock();
    work(size);
    least = std::min(least, std::clock() - start);
  }
  return static_cast<double>(least);
}

double growth(const Work& work, std::size_t size) {
  return timeOf(work, FACTOR * size) / timeOf(work, size);
}

std::string filledWith(const std::string& text, std::size_t length) {
  return test::repeated(text, length / text.size());
}

void writeReports(const Facts& facts) {
  const Report report = makeReport(facts, {"alice"});
  toText(report, {40, true});
  toText(report, {});
  toBriefText(report, {80, false});
  toJson(makeReport(facts, {"alice"}, Paths::Absolute));
}

// Without a place to break at, with many, of many components, of no width, and to be escaped.
const char* const TEXTS[] = {"4", "4 ", "/", "4.", "\u0301", "\xff"};
constexpr std::size_t LENGTH = 16'000;

} // namespace

TEST(Cost, GrowsWithCopies) {
  const Facts sample = test::sampleFacts();
  const auto report = [&sample](std::size_t copies) {
    Facts facts = sample;
    auto& candidates = facts.decisions.candidates;
    while (candidates.size() < copies) {
      candidates.push_back(sample.decisions.candidates[5]); // which is about to be corrupt
      candidates.back().decision.dir += std::to_string(candidates.size());
      facts.cleanUp.removed.push_back(sample.cleanUp.removed[0]);
    }
    writeReports(facts);
  };
  EXPECT_LT(growth(report, 1000), MOST_GROWTH);
}

TEST(Cost, GrowsWithVersion) {
  for (const std::string text : TEXTS) {
    const auto report = [&text](std::size_t length) {
      Facts facts = test::sampleFacts();
      facts.clientVersion = filledWith(text, length);
      for (const std::size_t i : {3u, 4u})
        facts.decisions.candidates[i].decision.version = facts.clientVersion;
      writeReports(facts);
    };
    EXPECT_LT(growth(report, LENGTH), MOST_GROWTH) << text;
  }
}

TEST(Cost, GrowsWithLogLine) {
  const test::ScopedDirectory folder;
  const auto log = folder.path() / "log.txt";
  const std::string stamp = "2026-03-07 14:05:09.007 ";
  const std::string entered = stamp + "ThinClientLauncher DLL entry point called\n" + stamp;
  for (const std::string line :
       {"Best candidate: /a (version: ",
        "hvd Client Version provided: ",
        "remove directory failed: ",
        ""}) {
    for (const std::string text : TEXTS) {
      const auto report = [&](std::size_t length) {
        test::writeFile(log, entered + line + filledWith(text, length) + ")\n");
        Facts facts = test::sampleFacts();
        facts.lastLaunch = readLaunchLog(log);
        writeReports(facts);
      };
      EXPECT_LT(growth(report, LENGTH), MOST_GROWTH) << line << text;
    }
  }
}

// --- What is asked of the system ---

namespace {

// The system calls that a command makes for each copy beyond the first, which is the newest and
// lies in the working folder.
double callsPerCopy(const std::vector<std::string>& command) {
  constexpr std::size_t COPIES = 20;
  const test::ScopedHome home;
  const test::Copy newest(home.path() / "work", "45.12.0.900");
  const auto calls = [&] { return test::systemCalls({command, newest}).size(); };
  const std::size_t before = calls();
  for (std::size_t i = 0; i < COPIES; ++i)
    home.copy(std::to_string(i), "45.11")
        .launches("1")
        .launched(std::chrono::hours(0))
        .startedSafely();
  return static_cast<double>(calls() - before) / COPIES;
}

} // namespace

TEST(Cost, AsksLittleMoreThanLaunch) {
  const double launch = callsPerCopy({HOST_PROGRAM, LAUNCHER_LIBRARY, "launchermode", "45.12"});
  EXPECT_GT(launch, 20);
  for (const char* form : {"--brief", "--json", "--mask"})
    EXPECT_LT(callsPerCopy({LAUNCHER_INSPECT, form, "--client-version", "45.12"}), 1.2 * launch);
}
