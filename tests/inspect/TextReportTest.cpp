#include "TextReport.h"

#include "DisplayText.h"
#include "SampleInspection.h"

#include <gmock/gmock.h>

#include <ctime>
#include <sstream>

using namespace LauncherInspect;
using ::testing::HasSubstr;
using ::testing::Not;

namespace {

class TextReport : public ::testing::Test {
protected:
  TextReport() { tzset(); }

  static std::string
  render(const Inspection& inspection, const Terminal& terminal, const std::string& mask = "") {
    return toText(inspection, {inspection.home, mask}, terminal);
  }

  static std::size_t widestLine(const std::string& text) {
    std::size_t width = 0;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);)
      width = std::max(width, displayWidth(line));
    return width;
  }

private:
  const test::ScopedEnvironment zone{"TZ", "UTC"};
};

// Names that no layout expects.
Inspection oddInspection() {
  Inspection inspection = test::sampleInspection();
  const Path odd = inspection.launcherFolder / "line\nfeed \\ \xff \x1b[31m";
  inspection.candidates[4].directory = odd;
  inspection.candidates[4].version = std::string(300, '4') + "\n";
  inspection.candidates[1].directory = Path("/") / std::string(200, 'x') / "y z";
  inspection.workingDirectory = inspection.candidates[1].directory;
  inspection.clientVersion = "45.12\n.0";
  inspection.lastLaunch.chosen->directory = odd.string();
  inspection.cleanUp.kept[0].dir = odd;
  return inspection;
}

} // namespace

TEST_F(TextReport, FillsEightyColumns) {
  EXPECT_EQ(render(test::sampleInspection(), {80, false}), R"(Would start 45.12.0.900
  ~/Library/Application Support/VantuOrlixVDILauncher/45.12.0.900

Asked for
  client version   45.12.0.1000
  home ~           /home/alice
  working folder   ~/work
  launcher folder  ~/Library/Application Support/VantuOrlixVDILauncher

Early warning
  45.12.0.900 has used 2 of its 3 launches without a safe start; after one more
  it counts as corrupt. It lies in ~/Library/Application Support/
  VantuOrlixVDILauncher/again

Candidates, in scan order
    FOLDER         VERSION         LAUNCHES  LAST LAUNCH          SAFE START
    /Applications  45.11.0.5              -  -                    -
      viable, older than the chosen copy (45.11.0.5 < 45.12.0.900)
    ~/work         -                      -  -                    -
      no application bundle (no OrlixVDIPlugin.app)
  In the launcher folder:
    45.13.0.10     45.13.0.10             0  never                no
      newer than the client (45.13 > 45.12)
    45.12.0.950    45.12.0.950            3  2026-03-07 14:05:09  no
      corrupt (launched 3 times, never started safely)
  > 45.12.0.900    45.12.0.900           12  2026-03-07 14:05:09  yes
      would start: the highest version of 3 compatible copies
    again          45.12.0.900            2  2026-03-07 14:05:09  no
      same version, comes later (45.12.0.900)
    broken         -                      0  never                no
      no readable version (none in the bundle's Info.plist)

Clean-up after this launch
  keeps the started copy and the two others that were launched last
  undefined        never                45.13.0.10
  undefined        never                broken
                   ^ equal launch times: 1 of these 2 is kept, and which is not
                   defined
  keeps            2026-03-07 14:05:09  45.12.0.950
  keeps            by this launch       45.12.0.900

Last launch, as its log tells
  log              ~/Library/Logs/VantuOrlixVDI/vdi-launch-launchmode-log.txt
  time             2026-03-07 14:05:06.001
  client version   45.12.0.1000
  chosen version   45.12.0.900
  chosen folder    ~/Library/Application Support/VantuOrlixVDILauncher/
                   45.12.0.900
  ended            start requested and recorded as launch 12; the system log
                   tells whether it came up
  not removed      Permission denied
)");
}

TEST_F(TextReport, PutsTheVerdictBesideTheFactsWhereThereIsRoom) {
  const std::string text = render(test::sampleInspection(), {160, false});
  EXPECT_THAT(
      text,
      HasSubstr(
          "  > 45.12.0.900    45.12.0.900           12  2026-03-07 14:05:09  yes         would "
          "start: the highest version of 3 compatible copies\n"));
}

TEST_F(TextReport, HasNoLineWiderThanTheTerminal) {
  for (const std::size_t width : {72u, 80u, 100u, 132u, 200u}) {
    EXPECT_LE(widestLine(render(test::sampleInspection(), {width, false})), width);
    EXPECT_LE(widestLine(render(oddInspection(), {width, false})), width);
  }
}

TEST_F(TextReport, ShowsOddNamesWithoutBreakingTheLayout) {
  const std::string text = render(oddInspection(), {80, false});
  EXPECT_THAT(text, HasSubstr("  > line\\nfeed \\\\ \\xff \\x1b[31m\n"));
  for (const char byte : text)
    EXPECT_TRUE(byte == '\n' || static_cast<unsigned char>(byte) >= ' ');
}

TEST_F(TextReport, HasColourOnlyWhenAskedFor) {
  EXPECT_THAT(render(test::sampleInspection(), {80, false}), Not(HasSubstr("\x1b")));
  EXPECT_THAT(render(test::sampleInspection(), {80, true}), HasSubstr("\x1b[1m"));
}

TEST_F(TextReport, SaysThatTheLauncherWouldStopAtAnError) {
  Inspection inspection;
  inspection.home = "/home/alice";
  inspection.failure = Failure{"/home/alice/Library", "Permission denied"};
  EXPECT_THAT(
      render(inspection, {80, false}),
      HasSubstr("Nothing would start: the launcher would stop at an error. ~/Library: Permission\n"
                "denied."));
}

TEST_F(TextReport, SaysThatThereIsNoLauncherFolder) {
  Inspection inspection;
  EXPECT_THAT(render(inspection, {80, false}), HasSubstr("none, since there is no Application"));
  inspection.launcherFolder = "/home/alice/L";
  inspection.launcherFolderMissing = true;
  EXPECT_THAT(
      render(inspection, {80, false}), HasSubstr("launcher folder  /home/alice/L (missing)"));
}

TEST_F(TextReport, MasksTheLoginName) {
  EXPECT_THAT(render(test::sampleInspection(), {80, false}), HasSubstr("/home/alice"));
  EXPECT_THAT(render(test::sampleInspection(), {80, false}, "alice"), Not(HasSubstr("alice")));
  EXPECT_THAT(render(test::sampleInspection(), {80, false}, "alice"), HasSubstr("/home/*****"));
}
