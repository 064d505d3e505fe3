#include "TextReport.h"

#include "DisplayText.h"
#include "SampleFacts.h"

#include <gmock/gmock.h>

using namespace LauncherInspect;
using test::sampleFacts;
using ::testing::AllOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

namespace {

class TextReport : public ::testing::Test {
protected:
  TextReport() { tzset(); }

  static std::string render(const Facts& facts, std::size_t width = 80, bool colour = false) {
    return toText(makeReport(facts, ""), {width, colour});
  }

private:
  const test::ScopedEnvironment zone{"TZ", "UTC"};
};

// A command is never broken, so that it can be pasted.
bool isCommand(const std::string& line) {
  return line.rfind("  journalctl ", 0) == 0;
}

// What precedes a text in its line.
std::string beforeText(const std::string& page, const std::string& text) {
  for (const auto& line : test::splitLines(page)) {
    if (line.find(text) != std::string::npos)
      return line.substr(0, line.find(text));
  }
  return "missing";
}

// Names that no layout expects.
Facts oddFacts() {
  Facts facts = sampleFacts();
  const Path odd = facts.launcherDirectory / "line\nfeed \\ \xff \x1b[31m";
  facts.candidates[4].decision.dir = odd;
  facts.candidates[4].decision.version = std::string(300, '4') + "\n";
  facts.candidates[1].decision.dir = Path("/") / std::string(200, 'x') / "y z";
  facts.workingDirectory = facts.candidates[1].decision.dir;
  facts.clientVersion = "45.12\n.0";
  facts.lastLaunch.chosen->directory = odd.string();
  facts.cleanUp.kept[0].dir = odd;
  return facts;
}

} // namespace

TEST_F(TextReport, FillsEightyColumns) {
  EXPECT_EQ(render(sampleFacts()), R"(Would start 45.12.0.900
  ~/Library/Application Support/VantuOrlixVDILauncher/45.12.0.900

Asked for
  client version   45.12.0.1000
  home ~           /home/alice
  working folder   ~/work
  launcher folder  ~/Library/Application Support/VantuOrlixVDILauncher

Warnings
  45.12.0.900 has used 2 of its 3 launches without a safe start; after one more
  it counts as corrupt. It lies in ~/Library/Application Support/
  VantuOrlixVDILauncher/again
    Remedy: Look into the system log for why it does not come up; it records a
    safe start itself, as started.dat in its folder.

Candidates, in scan order
    FOLDER         VERSION         LAUNCHES  LAST LAUNCH          SAFE START
    /Applications  45.11.0.5              -  -                    -
      viable, older than the chosen copy (45.11.0.5 < 45.12.0.900)
    ~/work         -                      -  -                    -
      no application bundle (no OrlixVDIPlugin.app)
  In the launcher folder:
    newer          45.13.0.10             0  never                no
      newer than the client (45.13 > 45.12)
    corrupt        45.12.0.950            3  2026-03-07 14:05:09  no
      corrupt (launched 3 times, never started safely)
      Remedy: Look into the system log for why it did not come up. To let it be
      chosen again, remove ~/Library/Application Support/VantuOrlixVDILauncher/
      corrupt/launchCount.dat
  > 45.12.0.900    45.12.0.900           12  2026-03-07 14:05:09  yes
      would start: the highest version of 3 compatible copies
    again          45.12.0.900            2  2026-03-07 14:05:09  no
      same version, comes later (45.12.0.900)
    broken         -                      ?  ?                    ?
      no readable version: Info.plist is empty
      Remedy: Check that the disk has space, and install this copy again.

Clean-up after this launch
  keeps the started copy and the two others that were launched last
  removes          never                broken
  tied             never                newer
  tied             never                again
                   ^ equal launch times: the launcher keeps 1 of these 2; which
                   ones is not defined
  keeps            2026-03-07 14:05:09  corrupt
  keeps            by this launch       45.12.0.900

Last launch, as its log tells
  log              ~/Library/Logs/VantuOrlixVDI/vdi-launch-launchmode-log.txt
  time             2026-03-07 14:05:06.001
  client version   45.12.0.1000
  chosen version   45.12.0.900
  chosen folder    ~/Library/Application Support/VantuOrlixVDILauncher/
                   45.12.0.900
  ended            start requested and recorded as launch 12; the system log
                   tells whether the application started
  not removed      Permission denied
  Old folders could not be removed; the log does not name them.
    Remedy: Make the folders in the launcher folder, and all they hold, writable
    for this user.
  system log       shows whether it started:
  journalctl -S '2026-03-07 14:05:06' -g 'launch app succeed|Failed to run'

In the started application
  log              ~/Library/Logs/VantuOrlixVDI/vdi-launch-loadmode-log.txt
  load mode        entered load mode at 2026-03-07 14:05:07.250; no failure to
                   load the main library is logged
)");
}

TEST_F(TextReport, KnowsWhoRecordsSafeStart) {
  Facts facts = sampleFacts();
  facts.candidates[4].decision.corruptCheck.applies = false; // too old, but has started safely
  facts.candidates[2].decision.corruptCheck.applies = false;
  facts.candidates[6].records->startedSafely = false;
  const std::string text = render(facts);
  EXPECT_THAT(
      text, HasSubstr("newer          45.13.0.10             0  never                too old\n"));
  EXPECT_THAT(text, HasSubstr("12  2026-03-07 14:05:09  yes\n"));
  EXPECT_THAT(text, HasSubstr("broken         -                      ?  ?                    -\n"));
}

TEST_F(TextReport, PutsVerdictsBeside) {
  EXPECT_THAT(
      render(sampleFacts(), 160),
      HasSubstr("  > 45.12.0.900    45.12.0.900           12  2026-03-07 14:05:09  yes         "
                "would start: the highest version of 3 compatible copies\n"));
}

TEST_F(TextReport, StacksBelowSeventyColumns) {
  const std::string text = render(sampleFacts(), 40);
  EXPECT_THAT(text, HasSubstr(R"(
  home ~
    /home/alice
)"));
  EXPECT_THAT(text, HasSubstr(R"(
    ~/work
      no application bundle (no
      OrlixVDIPlugin.app)
  In the launcher folder:
    newer
      version      45.13.0.10
      launches     0
      last launch  never
      safe start   no
      newer than the client (45.13 >
      45.12)
    corrupt
)"));
  EXPECT_THAT(text, HasSubstr(R"(
  > 45.12.0.900
      version      45.12.0.900
      launches     12
      last launch  2026-03-07 14:05:09
      safe start   yes
)"));
  EXPECT_THAT(text, HasSubstr(R"(
  tied
    never                again
    ^ equal launch times: the launcher
    keeps 1 of these 2; which ones is
    not defined
  keeps
    2026-03-07 14:05:09  corrupt
)"));
  EXPECT_THAT(render(sampleFacts(), 69), Not(HasSubstr("LAST LAUNCH")));
  EXPECT_THAT(render(sampleFacts(), 70), HasSubstr("LAST LAUNCH"));
}

TEST_F(TextReport, KeepsWithinTheWidth) {
  for (const std::size_t width : {40u, 69u, 70u, 80u, 100u, 132u, 200u}) {
    for (Facts facts : {sampleFacts(), oddFacts()}) {
      for (facts.explained = 0; facts.explained < facts.candidates.size(); ++*facts.explained) {
        for (const auto layout : {toText, toBriefText, toExplanation}) {
          for (const auto& line : test::splitLines(layout(makeReport(facts, ""), {width, false})))
            EXPECT_TRUE(displayWidth(line) <= width || isCommand(line)) << line;
        }
      }
    }
  }
}

// The verdicts stand beside the folders as soon as the widest line of the table fits.
TEST_F(TextReport, UsesTheWholeWidth) {
  const auto columns = [](std::size_t width) {
    const std::string table = render(sampleFacts(), width);
    const std::size_t start = table.find("FOLDER"), end = table.find("\n\n", start);
    std::size_t widest = 0;
    for (const auto& line : test::splitLines("    " + table.substr(start, end - start)))
      widest = std::max(widest, displayWidth(line));
    return table.find("VERDICT") != std::string::npos ? widest : 0;
  };
  std::size_t width = 80;
  while (columns(width) == 0 && width < 200)
    ++width;
  EXPECT_EQ(columns(width), width);
}

TEST_F(TextReport, NeverWrapsUnlimited) {
  Facts facts = oddFacts();
  facts.candidates[6].decision.dir = facts.launcherDirectory / std::string(255, 'z');
  const auto lines = test::splitLines(render(facts, UNLIMITED));
  const auto verdictOf = [&lines](const std::string& folder) {
    for (const auto& line : lines) {
      if (line.find(folder) == 4)
        return line.substr(line.find("  ", 4 + folder.size()));
    }
    return std::string("missing");
  };
  EXPECT_THAT(verdictOf("/" + std::string(200, 'x') + "/y z"), HasSubstr("no application bundle"));
  EXPECT_THAT(verdictOf(std::string(255, 'z')), HasSubstr("no readable version"));
  const std::string folder = "~/Library/Application Support/VantuOrlixVDILauncher/";
  EXPECT_THAT(lines, Contains("  chosen folder    " + folder + R"(line\nfeed \\ \xff \x1b[31m)"));
}

TEST_F(TextReport, AlignsColumnsUnlimited) {
  const std::string text = render(sampleFacts(), UNLIMITED);
  const std::size_t column = beforeText(text, "VERSION").size();
  EXPECT_EQ(beforeText(text, "45.11.0.5 ").size(), column);
  EXPECT_EQ(beforeText(text, "45.13.0.10 ").size(), column);
}

TEST_F(TextReport, CountsFurtherRemovals) {
  Facts facts = sampleFacts();
  EXPECT_THAT(render(facts), Not(HasSubstr("not removed      and")));
  facts.lastLaunch.furtherRemovalFailures = 999'980;
  EXPECT_THAT(render(facts), HasSubstr("  not removed      and 999980 more\n"));
}

// --- One line per copy ---

TEST_F(TextReport, BriefSortsByVersion) {
  EXPECT_EQ(
      toBriefText(makeReport(sampleFacts(), ""), {80, false}),
      R"(> 45.12.0.900  would-start          45.12.0.900
  45.13.0.10   newer-than-client    newer
  45.12.0.950  corrupt              corrupt
  45.12.0.900  same-version         again
  45.11.0.5    older                /Applications
  -            no-bundle            ~/work
  -            no-readable-version  broken
)");
}

TEST_F(TextReport, BriefComparesNumbers) {
  Facts facts = sampleFacts();
  const char* const versions[] = {"45.9", "45.10.0.2", "45.10.0.10", "", "word", "45.10", "100"};
  for (std::size_t i = 0; i < facts.candidates.size(); ++i)
    facts.candidates[i].decision.version = versions[i];
  std::vector<std::string> order;
  for (const auto& line : test::splitLines(toBriefText(makeReport(facts, ""), {})))
    order.push_back(line.substr(2, line.find(' ', 2) - 2));
  EXPECT_THAT(order, ElementsAre("word", "100", "45.10.0.10", "45.10.0.2", "45.10", "45.9", "-"));
}

TEST_F(TextReport, BriefSaysIfNothingStarts) {
  Facts facts = sampleFacts();
  facts.chosen.reset();
  facts.candidates[4].isChosen = false;
  const auto lines = test::splitLines(toBriefText(makeReport(facts, ""), {80, false}));
  EXPECT_EQ(lines.front(), "Nothing would start: no candidate is viable");
  EXPECT_EQ(lines.size(), 8u);
}

TEST_F(TextReport, BriefCutsAtTheTerminal) {
  const Report report = makeReport(oddFacts(), "");
  EXPECT_THAT(toBriefText(report, {80, false}), HasSubstr("/" + std::string(20, 'x')));
  EXPECT_THAT(toBriefText(report, {80, false}), HasSubstr("x...\n"));
  EXPECT_THAT(toBriefText(report, {}), HasSubstr("x/y z\n"));
}

// --- One copy ---

TEST_F(TextReport, ExplainsOneCopy) {
  Facts facts = sampleFacts();
  facts.explained = 3;
  EXPECT_EQ(
      toExplanation(makeReport(facts, ""), {80, false}),
      R"(~/Library/Application Support/VantuOrlixVDILauncher/corrupt
  corrupt (launched 3 times, never started safely)
    Remedy: Look into the system log for why it did not come up. To let it be
    chosen again, remove ~/Library/Application Support/VantuOrlixVDILauncher/
    corrupt/launchCount.dat

  version          45.12.0.950
  launches         3
  last launch      2026-03-07 14:05:09
  safe start       no

Rules, in the launcher's order
  bundle: passed, the folder holds OrlixVDIPlugin.app
  corrupt: failed, launch count 3 is not below 3, and there was no safe start

Would start 45.12.0.900
)");
}

TEST_F(TextReport, ExplainsWithoutRecords) {
  Facts facts = sampleFacts();
  facts.explained = 1;
  EXPECT_THAT(toExplanation(makeReport(facts, ""), {80, false}), Not(HasSubstr("launches")));
}

TEST_F(TextReport, EscapesOddNames) {
  const std::string text = render(oddFacts());
  EXPECT_THAT(text, HasSubstr("  > line\\nfeed \\\\ \\xff \\x1b[31m\n"));
  EXPECT_THAT(text, HasSubstr("keeps            by this launch       line\\nfeed"));
  for (const auto& line : test::splitLines(text)) {
    for (const char byte : line)
      EXPECT_GE(static_cast<unsigned char>(byte), ' ') << line;
  }
}

TEST_F(TextReport, ColoursOnlyWhenAsked) {
  EXPECT_THAT(render(sampleFacts()), Not(HasSubstr("\x1b")));
  const std::string text = render(sampleFacts(), 80, true);
  const std::string green = "\x1b[1m\x1b[32m";
  EXPECT_EQ(beforeText(text, "Would start 45"), green);
  EXPECT_EQ(beforeText(text, "would start: the"), green + "      ");
  EXPECT_EQ(beforeText(text, "corrupt (launched"), "\x1b[31m      ");
  EXPECT_EQ(beforeText(text, "same version"), "\x1b[33m      ");
  EXPECT_EQ(beforeText(text, "newer than"), "      ");
}

TEST_F(TextReport, ColoursRulesByResult) {
  Facts facts = sampleFacts();
  facts.explained = 0;
  const std::string text = toExplanation(makeReport(facts, ""), {80, true});
  EXPECT_EQ(beforeText(text, "bundle: passed"), "  ");
  EXPECT_EQ(beforeText(text, "corrupt: not asked"), "\x1b[2m  ");
  EXPECT_EQ(beforeText(text, "choice: failed"), "\x1b[31m  ");
}

TEST_F(TextReport, StopsAtAFailure) {
  Facts facts;
  facts.failure = Failure{"/Library", "Permission denied"};
  const std::string text = render(facts);
  EXPECT_THAT(text, StartsWith("Nothing would start: the launcher would stop at an error."));
  EXPECT_THAT(text, AllOf(Not(HasSubstr("Candidates")), Not(HasSubstr("Clean-up"))));
  facts.candidates = {sampleFacts().candidates[0]};
  EXPECT_THAT(render(facts), AllOf(HasSubstr("Candidates"), Not(HasSubstr("Clean-up"))));
}

TEST_F(TextReport, ShowsALogWithoutLaunch) {
  EXPECT_THAT(render(Facts()), HasSubstr("  launch           none: there is no log of a launch\n"));
}
