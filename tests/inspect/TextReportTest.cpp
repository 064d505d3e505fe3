#include "TextReport.h"

#include "DisplayText.h"
#include "SampleFacts.h"

#include <gmock/gmock.h>

using namespace LauncherInspect;
using namespace testing;
using test::expectedPage;
using test::sampleFacts;

namespace {

class TextReport : public ::testing::Test {
protected:
  TextReport() { tzset(); }

  static std::string render(const Facts& facts, std::size_t width = 80, bool colour = false) {
    return toText(makeReport(facts), {width, colour});
  }

private:
  const test::ScopedEnvironment zone{"TZ", "UTC"};
};

constexpr std::size_t WIDE = 138;

// A command is never broken, so that it can be pasted.
bool isForPasting(const std::string& line) {
  const auto text = line.find_first_not_of(' ');
  return line.rfind("  journalctl ", 0) == 0 || line.compare(text, 2, "'/") == 0;
}

// What precedes a text in its line.
std::string beforeText(const std::string& page, const std::string& text) {
  for (const auto& line : test::splitLines(page)) {
    if (line.find(text) != std::string::npos)
      return line.substr(0, line.find(text));
  }
  return "missing";
}

// Names and records that no layout expects.
Facts oddFacts() {
  Facts facts = sampleFacts();
  const Path odd = facts.places.launcherDirectory / "line\nfeed \\ \xff \x1b[31m";
  facts.decisions.candidates[4].decision.dir = odd;
  facts.decisions.candidates[4].decision.version = std::string(300, '4') + "\n";
  facts.decisions.candidates[1].decision.dir = Path("/") / std::string(200, 'x') / "y z";
  facts.places.workingDirectory = facts.decisions.candidates[1].decision.dir;
  facts.clientVersion = "45.12\n.0";
  facts.lastLaunch.chosen->directory = odd.string();
  facts.cleanUp.kept[0].dir = odd;
  facts.lastLaunch.furtherRemovalFailures = 999'980;
  facts.decisions.candidates[2].decision.corruptCheck.applies = false; // too old for a safe start
  facts.decisions.candidates[6].records->startedSafely = false;        // unknown, without a version
  facts.decisions.candidates[6].decision.dir =
      facts.places.launcherDirectory / std::string(255, 'z');
  return facts;
}

} // namespace

TEST_F(TextReport, FillsEightyColumns) {
  EXPECT_EQ(render(sampleFacts()), expectedPage("text.txt"));
}

TEST_F(TextReport, StacksBelowSeventyColumns) {
  EXPECT_EQ(render(sampleFacts(), 40), expectedPage("narrow.txt"));
  EXPECT_THAT(render(sampleFacts(), 69), Not(HasSubstr("LAST LAUNCH")));
  EXPECT_THAT(render(sampleFacts(), 70), HasSubstr("LAST LAUNCH"));
}

TEST_F(TextReport, KeepsWithinTheWidth) {
  Facts quoted = sampleFacts(); // with a name that looks like a path for pasting
  quoted.decisions.candidates[6].decision.dir /= "a '" + std::string(200, 'z') + "'";
  for (const std::size_t width : {40u, 69u, 70u, 80u, 100u, 132u, 200u}) {
    for (Facts facts : {sampleFacts(), oddFacts(), quoted}) {
      for (facts.explained = 0; facts.explained < facts.decisions.candidates.size();
           ++*facts.explained) {
        for (const auto layout : {toText, toBriefText, toExplanation}) {
          for (const auto& line : test::splitLines(layout(makeReport(facts), {width, false})))
            EXPECT_TRUE(displayWidth(line) <= width || isForPasting(line)) << line;
        }
      }
    }
  }
}

// The verdicts stand beside the folders as soon as the widest line of the table fits.
TEST_F(TextReport, UsesTheWholeWidth) {
  EXPECT_THAT(render(sampleFacts(), WIDE - 1), Not(HasSubstr("VERDICT")));
  EXPECT_EQ(render(sampleFacts(), WIDE), expectedPage("wide.txt"));
}

TEST_F(TextReport, ShowsOddNames) {
  EXPECT_EQ(render(oddFacts(), UNLIMITED), expectedPage("odd-names.txt"));
  EXPECT_EQ(render(oddFacts()), expectedPage("odd-names-terminal.txt"));
  EXPECT_EQ(toBriefText(makeReport(oddFacts()), {}), expectedPage("odd-names-brief.txt"));
}

TEST_F(TextReport, ShowsWhatToDoAboutTheLastLaunch) {
  Facts facts = sampleFacts();
  facts.lastLaunch.isRecorded = false;
  EXPECT_THAT(render(facts), HasSubstr("Remedy: If it is over, check that"));
  facts.loadMode.exists = false;
  EXPECT_THAT(render(facts), HasSubstr("Remedy: See in the system log whether"));
}

// --- One line per copy ---

TEST_F(TextReport, BriefSortsByVersion) {
  EXPECT_EQ(toBriefText(makeReport(sampleFacts()), {80, false}), expectedPage("brief.txt"));
}

TEST_F(TextReport, BriefComparesNumbers) {
  Facts facts = sampleFacts();
  const char* const versions[] = {"45.9", "45.10.0.2", "45.10.0.10", "", "word", "45.10", "100"};
  for (std::size_t i = 0; i < facts.decisions.candidates.size(); ++i)
    facts.decisions.candidates[i].decision.version = versions[i];
  std::vector<std::string> order;
  for (const auto& line : test::splitLines(toBriefText(makeReport(facts), {})))
    order.push_back(line.substr(2, line.find(' ', 2) - 2));
  EXPECT_THAT(order, ElementsAre("word", "100", "45.10.0.10", "45.10.0.2", "45.10", "45.9", "-"));
}

TEST_F(TextReport, BriefSaysIfNothingStarts) {
  Facts facts = sampleFacts();
  facts.decisions.chosen.reset();
  facts.decisions.candidates[4].isChosen = false;
  const auto lines = test::splitLines(toBriefText(makeReport(facts), {80, false}));
  EXPECT_EQ(lines.front(), "Nothing would start: no candidate is viable");
  EXPECT_EQ(lines.size(), 8u);
}

TEST_F(TextReport, BriefCutsAtTheTerminal) {
  EXPECT_THAT(toBriefText(makeReport(oddFacts()), {80, false}), HasSubstr("x...\n"));
}

// --- One copy ---

TEST_F(TextReport, ExplainsOneCopy) {
  Facts facts = sampleFacts();
  facts.explained = 3;
  EXPECT_EQ(toExplanation(makeReport(facts), {80, false}), expectedPage("explanation.txt"));
}

TEST_F(TextReport, ExplainsWithoutRecords) {
  Facts facts = sampleFacts();
  facts.explained = 1;
  EXPECT_THAT(toExplanation(makeReport(facts), {80, false}), Not(HasSubstr("launches")));
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
  const std::string text = toExplanation(makeReport(facts), {80, true});
  EXPECT_EQ(beforeText(text, "bundle: "), "  ");
  EXPECT_EQ(beforeText(text, "never corrupt"), "\x1b[2m  ");
  EXPECT_EQ(beforeText(text, "not chosen"), "\x1b[31m  ");
}

TEST_F(TextReport, StopsAtAFailure) {
  Facts facts;
  facts.failure = Failure{"/Library", "Permission denied"};
  const std::string text = render(facts);
  EXPECT_THAT(text, StartsWith("Nothing would start: the launcher would stop at an error."));
  EXPECT_THAT(text, AllOf(Not(HasSubstr("Candidates")), Not(HasSubstr("Clean-up"))));
  facts.decisions.candidates = {sampleFacts().decisions.candidates[0]};
  EXPECT_THAT(render(facts), AllOf(HasSubstr("Candidates"), Not(HasSubstr("Clean-up"))));
}

TEST_F(TextReport, ShowsALogWithoutLaunch) {
  EXPECT_THAT(render(Facts()), HasSubstr("  launch           none: there is no log of a launch\n"));
}
