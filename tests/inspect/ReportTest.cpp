#include "Report.h"

#include "SampleFacts.h"

#include <gmock/gmock.h>

#include <regex>

using namespace LauncherInspect;
using nlohmann::json;
using test::sampleFacts;
using ::testing::AllOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

namespace {

json report(const Facts& facts, const std::string& loginName = "") {
  return json(makeReport(facts, loginName));
}

const std::string SAMPLE = R"report({
  "schemaVersion": 3,
  "outcome": {"code": "would-start", "text": "Would start 45.12.0.900"},
  "chosen": {"directory": "FOLDER/45.12.0.900", "version": "45.12.0.900"},
  "notes": [],
  "warnings": [{"code": "nearly-corrupt", "text": "45.12.0.900 has used 2 of its 3 launches without a safe start; after one more it counts as corrupt. It lies in FOLDER/again", "remedy": "Look into the system log for why it does not come up; it records a safe start itself, as started.dat in its folder."}],
  "clientVersion": "45.12.0.1000",
  "client": {"code": "given", "text": "45.12.0.1000"},
  "home": "/home/alice",
  "workingDirectory": "~/work",
  "launcherDirectory": "FOLDER",
  "launcherDirectoryState": {"code": "exists", "text": "FOLDER"},
  "candidates": [
    {"directory": "/Applications", "version": "45.11.0.5", "inLauncherDirectory": false,
     "launches": null, "lastLaunch": null, "startedSafely": null, "recordsSafeStart": null, "nearlyCorrupt": false,
     "verdict": {"code": "older", "text": "viable, older than the chosen copy (45.11.0.5 < 45.12.0.900)"
}
},
    {"directory": "~/work", "version": null, "inLauncherDirectory": false,
     "launches": null, "lastLaunch": null, "startedSafely": null, "recordsSafeStart": null, "nearlyCorrupt": false,
     "verdict": {"code": "no-bundle", "text": "no application bundle (no OrlixVDIPlugin.app)"}},
    {"directory": "FOLDER/newer", "version": "45.13.0.10", "inLauncherDirectory": true,
     "launches": 0, "lastLaunch": "never", "startedSafely": false, "recordsSafeStart": true, "nearlyCorrupt": false,
     "verdict": {"code": "newer-than-client", "text": "newer than the client (45.13 > 45.12)"}},
    {"directory": "FOLDER/corrupt", "version": "45.12.0.950", "inLauncherDirectory": true,
     "launches": 3, "lastLaunch": "MOMENT", "startedSafely": false, "recordsSafeStart": true, "nearlyCorrupt": false,
     "verdict": {"code": "corrupt", "text": "corrupt (launched 3 times, never started safely)", "remedy": "Look into the system log for why it did not come up. To let it be chosen again, remove FOLDER/corrupt/launchCount.dat"}},
    {"directory": "FOLDER/45.12.0.900", "version": "45.12.0.900", "inLauncherDirectory": true,
     "launches": 12, "lastLaunch": "MOMENT", "startedSafely": true, "recordsSafeStart": false, "nearlyCorrupt": false,
     "verdict": {"code": "would-start", "text": "would start: the highest version of 3 compatible copies"}},
    {"directory": "FOLDER/again", "version": "45.12.0.900", "inLauncherDirectory": true,
     "launches": 2, "lastLaunch": "MOMENT", "startedSafely": false, "recordsSafeStart": true, "nearlyCorrupt": true,
     "verdict": {"code": "same-version", "text": "same version, comes later (45.12.0.900)"}},
    {"directory": "FOLDER/broken", "version": null, "inLauncherDirectory": true,
     "launches": null, "lastLaunch": null, "startedSafely": null, "recordsSafeStart": false, "nearlyCorrupt": false,
     "verdict": {"code": "no-readable-version", "text": "no readable version: Info.plist is empty", "remedy": "Check that the disk has space, and install this copy again."}}],
  "cleanUp": {
    "code": "happens",
    "text": "keeps the started copy and the two others that were launched last",
    "notes": [{"code": "tied", "text": "equal launch times: the launcher keeps 1 of these 2; which ones is not defined"}],
    "removed": [{"directory": "FOLDER/broken", "lastLaunch": "never"}],
    "tied": [{"directory": "FOLDER/newer", "lastLaunch": "never"}, {"directory": "FOLDER/again", "lastLaunch": "never"}],
    "tiedKept": 1,
    "kept": [{"directory": "FOLDER/corrupt", "lastLaunch": "MOMENT"}, {"directory": "FOLDER/45.12.0.900", "lastLaunch": "MOMENT"}]},
  "lastLaunch": {
    "log": "~/Library/Logs/VantuOrlixVDI/vdi-launch-launchmode-log.txt",
    "time": "2026-03-07 14:05:06.001",
    "clientVersion": "45.12.0.1000",
    "chosen": {"directory": "FOLDER/45.12.0.900", "version": "45.12.0.900"},
    "launches": 12,
    "removalFailures": ["Permission denied"],
    "furtherRemovalFailures": 0,
    "notes": [{"code": "not-removed", "text": "Old folders could not be removed; the log does not name them.", "remedy": "Make the folders in the launcher folder, and all they hold, writable for this user."}],
    "end": {
      "code": "recorded",
      "text": "start requested and recorded as launch 12; the system log tells whether the application started"},
    "systemLogCommand": "journalctl -S '2026-03-07 14:05:06' -g 'launch app succeed|Failed to run'"},
  "loadMode": {
    "log": "~/Library/Logs/VantuOrlixVDI/vdi-launch-loadmode-log.txt",
    "time": "2026-03-07 14:05:07.250",
    "end": {
      "code": "entered",
      "text": "entered load mode at 2026-03-07 14:05:07.250; no failure to load the main library is logged"}}
})report";

} // namespace

TEST(Report, HoldsEveryFact) {
  const test::ScopedEnvironment zone{"TZ", "Asia/Kolkata"};
  tzset();
  const std::string folder = "~/Library/Application Support/VantuOrlixVDILauncher";
  std::string expected = std::regex_replace(SAMPLE, std::regex("FOLDER"), folder);
  expected =
      std::regex_replace(expected, std::regex("MOMENT"), "2026-03-07T19:35:09.007000000+05:30");
  EXPECT_EQ(report(sampleFacts()), json::parse(expected));
}

TEST(Report, HoldsNullForNothing) {
  const json empty = report(Facts());
  EXPECT_TRUE(empty["chosen"].is_null());
  EXPECT_EQ(empty["candidates"], json::array());
  EXPECT_EQ(empty["cleanUp"]["kept"], json::array());
  for (const char* member : {"time", "clientVersion", "chosen", "launches"})
    EXPECT_TRUE(empty["lastLaunch"][member].is_null()) << member;
}

TEST(Report, ShowsTimesBefore1970) {
  const test::ScopedEnvironment zone{"TZ", "America/New_York"};
  tzset();
  Facts facts = sampleFacts();
  facts.candidates[4].records->lastLaunch = test::fileTime(-2, 250000000);
  EXPECT_EQ(report(facts)["candidates"][4]["lastLaunch"], "1969-12-31T18:59:58.250000000-05:00");
}

TEST(Report, ShowsTimesOfAllCenturies) {
  const test::ScopedEnvironment zone{"TZ", "UTC"};
  tzset();
  const std::pair<std::int64_t, const char*> rows[] = {
      {-2208988800, "1900-01-01"}, {10413792000, "2300-01-01"}, {15000000000, "2445-05-01"}};
  for (const auto& [seconds, date] : rows) {
    Facts facts = sampleFacts();
    facts.candidates[4].records->lastLaunch = test::fileTime(seconds);
    EXPECT_THAT(report(facts)["candidates"][4]["lastLaunch"].dump(), HasSubstr(date));
  }
}

TEST(Report, NotesOnlyFailedRemovals) {
  Facts facts = sampleFacts();
  facts.lastLaunch.removalFailures.clear();
  EXPECT_EQ(report(facts)["lastLaunch"]["notes"], json::array());
}

TEST(Report, WarnsOnceOfAFolder) {
  Facts facts = sampleFacts();
  facts.candidates.push_back(facts.candidates[5]);
  EXPECT_EQ(report(facts)["warnings"].size(), 1u);
}

// --- Redaction ---

TEST(Report, ShowsTheHomeAsTilde) {
  Facts facts;
  const auto shown = [&facts](const Path& home, const Path& path) {
    facts.home = home;
    facts.workingDirectory = path;
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
  const json full(makeReport(facts, "", Paths::Absolute));
  EXPECT_EQ(full["workingDirectory"], "/home/alice/work");
  EXPECT_EQ(full["lastLaunch"]["chosen"]["directory"], "/home/alice/a");
  EXPECT_THAT(full.dump(), Not(HasSubstr("~")));
}

namespace {

// Facts with the login name "alice" in every text that is not the command's own.
Facts personalFacts() {
  Facts facts = sampleFacts();
  const Path outside = "/srv/alice";
  facts.clientVersion = "45.alice";
  facts.clientVersionIsOdd = facts.fellBack = true;
  facts.workingDirectory = facts.launcherDirectory = facts.lastLaunch.log = outside;
  for (auto& candidate : facts.candidates) {
    candidate.decision.dir = outside / "alice" / candidate.decision.dir.filename();
    candidate.decision.version = "45.alice";
  }
  for (auto* folders : {&facts.cleanUp.removed, &facts.cleanUp.tied, &facts.cleanUp.kept})
    folders->front().dir = outside / "alice";
  facts.lastLaunch.clientVersion = "45.alice";
  facts.lastLaunch.chosen = LoggedCopy{"/srv/alice", "45.alice"};
  facts.lastLaunch.removalFailures = {"alice"};
  facts.homeOwner = "alice";
  facts.startCheck = {outside, outside, false, true, false, false};
  facts.unwritableRecord = facts.loadMode.log = outside;
  facts.loadMode.failure = "/srv/alice is denied";
  facts.candidates[5].twin = 1;
  facts.candidates[6].failure = Failure{"/srv/alice", "alice is denied"};
  return facts;
}

} // namespace

TEST(Report, MasksEveryText) {
  Facts chosen = personalFacts();
  Facts failed = personalFacts();
  failed.chosen.reset();
  failed.failure = Failure{"/srv/alice", "alice is denied"};
  Facts failedLater = personalFacts();
  failedLater.cleanUp.failure = Failure{"/srv/alice", "alice is denied"};
  failedLater.lastLaunch.unreadableReason = "alice is denied";
  failedLater.loadMode.unreadableReason = "alice is denied";
  failedLater.launcherDirectoryFailure = failedLater.cleanUp.failure;
  for (const Facts& facts : {chosen, failed, failedLater}) {
    EXPECT_THAT(report(facts).dump(), HasSubstr("alice"));
    EXPECT_THAT(report(facts, "alice").dump(), Not(HasSubstr("alice")));
  }
  EXPECT_EQ(report(chosen, "alice")["home"], "/home/*****");
  EXPECT_EQ(report(chosen, "alice")["candidates"][5]["directory"], "/srv/*****/*****/again");
}

TEST(Report, MasksTheOwner) {
  Facts facts = sampleFacts();
  facts.homeOwner = "alice";
  EXPECT_THAT(report(facts, "al").dump(), AllOf(HasSubstr("user (*****)"), Not(HasSubstr("*ice"))));
  EXPECT_THAT(report(facts).dump(), HasSubstr("user (alice)"));
}

// --- Explanation ---

namespace {

// What each rule said about a candidate of the sample, as "code: text" without the rule's name.
std::vector<std::string> explain(Facts facts, std::size_t candidate) {
  facts.explained = candidate;
  std::vector<std::string> list;
  const json document = report(facts);
  for (const auto& rule : document["explained"]["rules"]) {
    const std::string text = rule["text"];
    list.push_back(rule["code"].get<std::string>() + text.substr(text.find_first_of(",;")));
  }
  return list;
}

} // namespace

TEST(Report, ExplainsOnlyWhenAsked) {
  EXPECT_FALSE(report(sampleFacts()).contains("explained"));
}

TEST(Report, ExplainsEveryRule) {
  const std::string bundle = "bundle-passed, the folder holds OrlixVDIPlugin.app";
  const std::string outside = "corrupt-exempt, since the folder is not in the launcher folder";
  const std::string client = "client-passed, 45.12 does not exceed 45.12";
  Facts facts = sampleFacts();
  for (const std::size_t i : {2u, 4u})
    facts.candidates[i].decision.corruptCheck = {true, 1, i == 4, false};
  const std::pair<std::size_t, std::vector<std::string>> rows[] = {
      {0,
       {bundle,
        outside,
        "client-passed, 45.11 does not exceed 45.12",
        "choice-failed; viable, older than the chosen copy (45.11.0.5 < 45.12.0.900)"}},
      {1, {"bundle-failed, the folder does not hold OrlixVDIPlugin.app"}},
      {2,
       {bundle,
        "corrupt-passed, launch count 1 is below 3, and there was no safe start",
        "client-failed, newer than the client (45.13 > 45.12)"}},
      {3, {bundle, "corrupt-failed, launch count 3 is not below 3, and there was no safe start"}},
      {4,
       {bundle,
        "corrupt-passed, there was a safe start (launch count 1)",
        client,
        "choice-passed; would start: the highest version of 3 compatible copies"}},
      {6,
       {bundle,
        "corrupt-exempt, since there is no readable version",
        "client-failed, no readable version to compare with 45.12.0.1000"}}};
  for (const auto& [candidate, rules] : rows)
    EXPECT_EQ(explain(facts, candidate), rules);
}

TEST(Report, ExplainsExemptions) {
  Facts facts = sampleFacts();
  facts.candidates[5].decision.corruptCheck = {};
  EXPECT_EQ(
      explain(facts, 5)[1],
      "corrupt-exempt, since version 45.12.0.900 does not exceed 45.10.0.32950");
  facts.clientVersion = "";
  EXPECT_EQ(explain(facts, 5)[2], "client-exempt, since the host names no version");
  facts.clientVersion = "1.0.0.1";
  EXPECT_EQ(explain(facts, 5)[2], "client-exempt, since client version 1.0.0.1 stands for any");
}

TEST(Report, ExplainsTheFallback) {
  Facts facts = sampleFacts();
  facts.fellBack = true;
  const std::string overruled = "client-overruled, since every viable copy fails it";
  EXPECT_THAT(explain(facts, 0), Contains(overruled));
  EXPECT_THAT(explain(facts, 1), ElementsAre(StartsWith("bundle-failed")));
}

TEST(Report, ExplainsTheStop) {
  Facts facts = sampleFacts();
  facts.chosen.reset();
  facts.candidates[4].isChosen = false;
  facts.candidates[3].failure = Failure{"/home/alice/L", "bad"};
  facts.failure = facts.candidates[3].failure;
  facts.explained = 3;
  const json rules = report(facts)["explained"]["rules"];
  EXPECT_EQ(rules, (json{{{"code", "stopped"}, {"text", "stopped: ~/L: bad"}}}));
  EXPECT_THAT(explain(facts, 4).back(), StartsWith("choice-prevented; viable, but the launcher"));
}

TEST(Report, ExplainsFallback) {
  Facts facts = sampleFacts();
  facts.clientVersion = "44";
  facts.fellBack = true;
  const auto rules = explain(facts, 0);
  ASSERT_EQ(rules.size(), 5u);
  EXPECT_EQ(rules[2], "client-failed, newer than the client (45.11 > 44)");
  EXPECT_EQ(rules[3], "client-overruled, since every viable copy fails it");
}

// --- Messages that the sample does not have ---

namespace {

std::string& version(Facts& facts) {
  return facts.candidates[4].decision.version;
}

} // namespace

TEST(Report, PutsFactsInWords) {
  const char* const STATE = "/launcherDirectoryState";
  const struct {
    const char* member;
    void (*change)(Facts& facts);
    const char* message; // a part of "CODE TEXT"
  } rows[] = {
      {"/outcome",
       [](Facts& f) {
         f.failure = Failure{"/a", "bad"};
       },
       "failed Nothing"},
      {"/outcome",
       [](Facts& f) {
         f.failure = Failure{"/home/alice/L", "bad"};
       },
       " ~/L: bad"},
      {"/outcome", [](Facts& f) { f.chosen.reset(); }, "nothing-viable Nothing would start"},
      {"/outcome", [](Facts& f) { version(f) = ""; }, "would-start Would start a copy without"},
      {"/outcome",
       [](Facts& f) { version(f).assign(50, '4'); },
       " start 44444444444444444444444444"},
      {"/notes/0", [](Facts& f) { f.fellBack = true; }, "nothing-compatible No copy"},
      {"/notes/0", [](Facts& f) { f.fellBack = true; }, "falls back to all viable copies (3)."},
      {"/notes/0", [](Facts& f) { f.clientVersionIsOdd = true; }, "Client version 45.12.0.1000 "},
      {"/notes/0",
       [](Facts& f) { f.clientVersionIsOdd = true; },
       " a comparison that gets that far keeps the copy."},
      {"/client", [](Facts& f) { f.clientVersion = ""; }, "none none, so every copy is compatible"},
      {STATE, [](Facts& f) { f.launcherDirectory = ""; }, "no-application-support none,"},
      {STATE, [](Facts& f) { f.launcherDirectory = "/a"; }, "exists /a"},
      {STATE, [](Facts& f) { f.launcherDirectoryExists = false; }, "Launcher (missing)"},
      {"/cleanUp", [](Facts& f) { f.chosen.reset(); }, "nothing-started removes nothing"},
      {"/cleanUp",
       [](Facts& f) {
         f.cleanUp.failure = Failure{"", "bad"};
       },
       "the start: bad"},
      {"/cleanUp", [](Facts& f) { f.cleanUp.happens = false; }, "not-in-launcher-directory remo"}};
  for (const auto& [member, change, expected] : rows) {
    Facts facts = sampleFacts();
    change(facts);
    const json message = report(facts)[json::json_pointer(member)];
    const std::string code = message["code"];
    EXPECT_THAT(code + " " + message["text"].get<std::string>(), HasSubstr(expected));
  }
}
