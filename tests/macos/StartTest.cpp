#include "BridgeTest.h"
#include "LauncherHelper.h"
#include "Logger.h"

namespace fs = std::filesystem;
namespace fake = test::FakePlatform;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class Start : public test::BridgeTest {
protected:
  static std::string opened(const fs::path& dir, const std::string& arguments) {
    return "file " + (dir / "OrlixVDIPlugin.app").string() + arguments;
  }

  static auto startsOf(const fs::path& dir, const std::string& argument = "loadmode") {
    LauncherHelper::launchFromDirectory(dir, argument);
    return fake::calls("openApplicationAtURL: ");
  }
};

TEST_F(Start, AsksInOrderAndPauses) {
  LauncherHelper::launchFromDirectory(test::Copy(folder()), "loadmode");
  EXPECT_THAT(
      fake::calls(),
      ElementsAre(
          "NSWorkspaceOpenConfiguration configuration",
          "setEnvironment: 0 variables",
          "setPromptsUserIfNeeded: YES",
          "setArguments:",
          "setCreatesNewApplicationInstance: YES",
          "NSWorkspace sharedWorkspace",
          "openApplicationAtURL: " + opened(folder(), " \"loadmode\""),
          "pause"));
}

TEST_F(Start, LeavesNoObject) {
  LauncherHelper::launchFromDirectory(folder(), "loadmode");
  EXPECT_EQ(fake::liveConfigurations(), 0u);
}

// --- The outcome ---

TEST_F(Start, ReportsSuccess) {
  LauncherHelper::launchFromDirectory(folder(), "loadmode");
  EXPECT_THAT(fake::calls("NSLog "), IsEmpty());
  fake::answerStart(std::nullopt);
  EXPECT_THAT(fake::calls("NSLog "), ElementsAre("launch app succeed"));
}

TEST_F(Start, ReportsFailure) {
  LauncherHelper::launchFromDirectory(folder(), "loadmode");
  fake::answerStart("The application cannot be opened: 100 % \xc3\xbc"
                    "ber");
  EXPECT_THAT(
      fake::calls("NSLog "),
      ElementsAre("Failed to run the app: The application cannot be opened: 100 % \xc3\xbc"
                  "ber"));
}

TEST_F(Start, ReportsDuringPause) {
  fake::onPause([] { fake::answerStart("no such application"); });
  LauncherHelper::launchFromDirectory(folder(), "loadmode");
  EXPECT_THAT(fake::calls("NSLog "), ElementsAre("Failed to run the app: no such application"));
}

TEST_F(Start, LogsNothing) {
  Logger::open(folder() / "log.txt", true);
  LauncherHelper::launchFromDirectory(folder(), "loadmode");
  fake::answerStart("no such application");
  Logger::close();
  EXPECT_EQ(fs::file_size(folder() / "log.txt"), 0u);
}

// --- The bundle ---

TEST_F(Start, MissingBundle) {
  EXPECT_THAT(startsOf(folder() / "none"), ElementsAre(opened(folder() / "none", " \"loadmode\"")));
}

TEST_F(Start, EmptyPath) {
  EXPECT_THAT(startsOf(""), ElementsAre(opened(fs::current_path(), " \"loadmode\"")));
}

TEST_F(Start, UnusualPath) {
  const fs::path named = folder() / "Gr\xc3\xbc\xc3\x9f Gott %20";
  EXPECT_THAT(startsOf(named), ElementsAre(opened(named, " \"loadmode\"")));
}

TEST_F(Start, PathNotUtf8) {
  LauncherHelper::launchFromDirectory(folder() / "\xff\xfe", "loadmode");
  EXPECT_THAT(
      fake::calls(), ElementsAre("NSLog Failed to run the app: its path is not UTF-8", "pause"));
}

// --- The argument ---

TEST_F(Start, ArgumentWithBlanks) {
  EXPECT_THAT(startsOf(folder(), " load mode "), ElementsAre(opened(folder(), " \" load mode \"")));
}

TEST_F(Start, EmptyArgument) {
  EXPECT_THAT(startsOf(folder(), ""), ElementsAre(opened(folder(), " \"\"")));
}

TEST_F(Start, ArgumentNotUtf8) {
  EXPECT_THAT(startsOf(folder(), "load\xffmode"), ElementsAre(opened(folder(), "")));
  fake::answerStart(std::nullopt);
  EXPECT_THAT(fake::calls("NSLog "), ElementsAre("launch app succeed"));
}

TEST_F(Start, TwoCalls) {
  startsOf(folder(), "first");
  EXPECT_THAT(
      startsOf(folder(), "second"),
      ElementsAre(opened(folder(), " \"first\""), opened(folder(), " \"second\"")));
}

} // namespace
