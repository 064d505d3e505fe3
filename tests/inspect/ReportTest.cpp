#include "Report.h"

#include "JsonReport.h"
#include "SampleFacts.h"

#include <gmock/gmock.h>

using namespace LauncherInspect;
using namespace testing;
using nlohmann::json;
using test::codes;
using test::sampleFacts;

namespace {

json report(const Facts& facts, const std::vector<std::string>& names = {}) {
  return json(makeReport(facts, names));
}

} // namespace

TEST(Report, HoldsEveryFact) {
  const test::ScopedEnvironment zone{"TZ", "Asia/Kolkata"};
  tzset();
  EXPECT_EQ(toJson(makeReport(sampleFacts())), test::expectedPage("report.json"));
}

TEST(Report, HoldsNullForNothing) {
  const json empty = report(Facts());
  EXPECT_TRUE(empty["chosen"].is_null());
  EXPECT_EQ(empty["candidates"], json::array());
  EXPECT_EQ(empty["cleanUp"]["kept"], json::array());
  EXPECT_FALSE(empty.contains("explained"));
  for (const char* member : {"time", "clientVersion", "chosen", "launches"})
    EXPECT_TRUE(empty["lastLaunch"][member].is_null()) << member;
}

TEST(Report, ShowsTimesOfAllCenturies) {
  const test::ScopedEnvironment zone{"TZ", "America/New_York"};
  tzset();
  const std::tuple<std::int64_t, long, const char*> rows[] = {
      {-1, 999999999, "1969-12-31T18:59:59.999999999-05:00"},
      {-2, 250000000, "1969-12-31T18:59:58.250000000-05:00"},
      {-2208945600, 0, "1900-01-01T07:00:00.000000000-05:00"},
      {10413792000, 0, "2299-12-31T19:00:00.000000000-05:00"},
      {15000000000, 0, "2445-04-30T22:40:00.000000000-04:00"}};
  for (const auto& [seconds, nanoseconds, text] : rows) {
    Facts facts = sampleFacts();
    facts.decisions.candidates[4].records->lastLaunch = test::fileTime(seconds, nanoseconds);
    EXPECT_EQ(report(facts)["candidates"][4]["lastLaunch"], text);
  }
}

TEST(Report, NotesOnlyFailedRemovals) {
  Facts facts = sampleFacts();
  for (const auto& [reason, remedy] :
       {std::pair("Input/output error", "the disk."), {"Operation not permitted", "lsattr"}}) {
    facts.lastLaunch.removalFailures = {reason};
    EXPECT_THAT(report(facts)["lastLaunch"]["notes"][0]["remedy"].dump(), HasSubstr(remedy));
  }
  facts.lastLaunch.removalFailures.clear();
  EXPECT_EQ(report(facts)["lastLaunch"]["notes"], json::array());
}

// --- Redaction ---

TEST(Report, ShowsTheHomeAsTilde) {
  Facts facts;
  const auto shown = [&facts](const Path& home, const Path& path) {
    facts.places.home = home;
    facts.places.workingDirectory = path;
    return report(facts)["workingDirectory"];
  };
  EXPECT_EQ(shown("/home/alice", "/home/alice"), "~");
  EXPECT_EQ(shown("/home/alice", "/home/alice/a"), "~/a");
  EXPECT_EQ(shown("/home/alice", "/home/alice2"), "/home/alice2");
  EXPECT_EQ(shown("/home/alice", "/srv/home/alice"), "/srv/home/alice");
  EXPECT_EQ(shown("/", "/a"), "/a");
  EXPECT_EQ(shown("/", "/"), "/");
}

TEST(Report, ShowsAMaskedHomeAsTilde) {
  Facts facts = sampleFacts();
  facts.lastLaunch.chosen->directory = "/home/*****/a";
  EXPECT_EQ(report(facts)["lastLaunch"]["chosen"]["directory"], "~/a");
}

TEST(Report, ShowsPathsInFull) {
  Facts facts = sampleFacts();
  facts.lastLaunch.chosen->directory = "/home/*****/a";
  const json full(makeReport(facts, {}, Paths::Absolute));
  EXPECT_EQ(full["workingDirectory"], "/home/alice/work");
  EXPECT_EQ(full["lastLaunch"]["chosen"]["directory"], "/home/alice/a");
  EXPECT_THAT(full.dump(), Not(HasSubstr("~")));
}

TEST(Report, MasksEveryText) {
  const Facts stopped = test::everyFact();
  Facts failedLater = stopped;
  failedLater.failure.reset();
  Facts launched = failedLater;
  launched.decisions.fellBack = true;
  launched.places.launcherDirectoryFailure.reset();
  launched.cleanUp.failure.reset();
  launched.lastLaunch.unreadableReason.clear();
  launched.loadMode.unreadableReason.clear();
  for (const Facts& facts : {stopped, failedLater, launched}) {
    EXPECT_THAT(report(facts).dump(), HasSubstr("alice"));
    EXPECT_THAT(report(facts, {"alice"}).dump(), Not(HasSubstr("alice")));
  }
  EXPECT_EQ(report(launched, {"alice"})["home"], "/home/*****");
  EXPECT_EQ(report(launched, {"alice"})["candidates"][5]["directory"], "/srv/*****/again");
}

TEST(Report, MasksTheOwner) {
  Facts facts = sampleFacts();
  facts.places.homeOwner = "alice";
  EXPECT_THAT(
      report(facts, {"al"}).dump(), AllOf(HasSubstr("user (*****)"), Not(HasSubstr("*ice"))));
  EXPECT_THAT(report(facts).dump(), HasSubstr("user (alice)"));
}

// --- Explanation ---

namespace {

// The codes of what each rule said about a candidate of the sample.
std::vector<std::string> explain(Facts facts, std::size_t candidate) {
  facts.explained = candidate;
  return codes(report(facts)["explained"]["rules"]);
}

} // namespace

TEST(Report, ExplainsEveryRule) {
  Facts facts = sampleFacts();
  facts.decisions.candidates[2].decision.corruptCheck = {true, 1, false, false};
  const std::pair<std::size_t, std::vector<std::string>> rows[] = {
      {0, {"bundle-passed", "corrupt-exempt", "client-passed", "choice-failed"}},
      {1, {"bundle-failed"}},
      {2, {"bundle-passed", "corrupt-passed", "client-failed"}},
      {3, {"bundle-passed", "corrupt-failed"}},
      {4, {"bundle-passed", "corrupt-exempt", "client-passed", "choice-passed"}},
      {6, {"bundle-passed", "corrupt-exempt", "client-failed"}}};
  for (const auto& [candidate, rules] : rows)
    EXPECT_EQ(explain(facts, candidate), rules);
}

TEST(Report, ExplainsTheFallback) {
  Facts facts = sampleFacts();
  facts.decisions.fellBack = true;
  EXPECT_THAT(
      explain(facts, 0),
      ElementsAre(
          "bundle-passed", "corrupt-exempt", "client-failed", "client-overruled", "choice-failed"));
  EXPECT_THAT(explain(facts, 1), ElementsAre("bundle-failed"));
  EXPECT_THAT(explain(facts, 3), ElementsAre("bundle-passed", "corrupt-failed"));
}

TEST(Report, ExplainsTheStop) {
  Facts facts = sampleFacts();
  facts.decisions.chosen.reset();
  facts.decisions.candidates[4].isChosen = false;
  facts.decisions.candidates[0].failure = Failure{"/home/alice/L", "bad"};
  EXPECT_THAT(explain(facts, 0), ElementsAre("stopped"));
  EXPECT_EQ(explain(facts, 4).back(), "choice-prevented");
}

// --- Messages that the sample does not have ---

TEST(Report, PutsFactsInWords) {
  const char* const STATE = "/launcherDirectoryState";
  const char* const CORRUPT = "/explained/rules/1";
  const char* const COMPAT = "/explained/rules/2";
  static const Failure DENIED{"/a", "bad"};
  static constexpr Selection::CorruptCheck SAFE{true, 1, true}, NEW{true, 1, false};
  const struct {
    const char* member;
    void (*change)(Facts& facts, CandidateFacts& explained);
    const char* message; // a part of "CODE TEXT"
  } rows[] = {
      {"/outcome", [](auto& f, auto&) { f.failure = DENIED; }, "failed Nothing"},
      {"/outcome", [](auto& f, auto&) { f.decisions.chosen.reset(); }, "nothing-viable Nothing"},
      {"/outcome", [](auto&, auto& c) { c.decision.version = ""; }, "would-start Would start a c"},
      {"/outcome", [](auto&, auto& c) { c.decision.version.assign(50, '4'); }, "444444..."},
      {"/client", [](auto& f, auto&) { f.clientVersion = ""; }, "none none"},
      {"/client", [](auto& f, auto&) { f.clientVersion = "1.0.0.1"; }, "any 1.0.0.1"},
      {STATE, [](auto& f, auto&) { f.places.launcherDirectory = ""; }, "no-application-support"},
      {STATE, [](auto& f, auto&) { f.places.launcherDirectoryExists = false; }, "missing ~/"},
      {STATE, [](auto& f, auto&) { f.places.launcherDirectoryFailure = DENIED; }, "unknown unk"},
      {"/cleanUp", [](auto& f, auto&) { f.decisions.chosen.reset(); }, "nothing-started"},
      {"/cleanUp", [](auto& f, auto&) { f.cleanUp.failure = DENIED; }, "failed the launcher"},
      {"/cleanUp", [](auto& f, auto&) { f.cleanUp.happens = false; }, "not-in-launcher-directory"},
      {CORRUPT, [](auto&, auto& c) { c.records.reset(); }, "exempt never corrupt: the folder"},
      {CORRUPT, [](auto&, auto& c) { c.decision.version = ""; }, "exempt never corrupt: there"},
      {CORRUPT, [](auto&, auto&) {}, "corrupt-exempt never corrupt: version 45.12.0.900"},
      {CORRUPT, [](auto&, auto& c) { c.decision.corruptCheck = SAFE; }, "passed not corrupt: s"},
      {CORRUPT, [](auto&, auto& c) { c.decision.corruptCheck = NEW; }, "passed not corrupt: laun"},
      {COMPAT, [](auto& f, auto&) { f.clientVersion = ""; }, "client-exempt compatible: the host"},
      {COMPAT, [](auto& f, auto&) { f.clientVersion = "1.0.0.1"; }, "client-exempt compatible: cl"},
      {COMPAT, [](auto& f, auto&) { f.decisions.fellBack = true; }, "failed not compatible: new"},
      {COMPAT,
       [](auto& f, auto& c) {
         f.decisions.fellBack = true;
         c.decision.version = "";
       },
       "failed not compatible: no readable"}};
  for (const auto& [member, change, expected] : rows) {
    Facts facts = sampleFacts();
    facts.explained = 4;
    change(facts, facts.decisions.candidates[4]);
    const json message = report(facts)[json::json_pointer(member)];
    const std::string code = message["code"];
    EXPECT_THAT(code + " " + message["text"].get<std::string>(), HasSubstr(expected));
  }
}
