#include "BridgeTest.h"
#include "LauncherHelper.h"
#include "PlatformCalls.h"
#include "RecordingWorkspace.h"

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

class ApplicationStart : public test::BridgeTest {
protected:
  std::string bundle() const { return (folder() / "OrlixVDIPlugin.app").string(); }

  test::CapturedSystemLog systemLog;
};

TEST_F(ApplicationStart, AsksTheWorkspaceInTheFixedOrderAndThenPauses) {
  test::makeCopy(folder(), "45.1");
  LauncherHelper::launchFromDirectory(folder(), "loadmode");
  EXPECT_THAT(
      test::platformMessages(),
      ElementsAre(
          "NSWorkspaceOpenConfiguration configuration",
          "setEnvironment: 0 variables",
          "setPromptsUserIfNeeded: YES",
          "setArguments: 1 texts",
          "setCreatesNewApplicationInstance: YES",
          "NSWorkspace sharedWorkspace",
          "openApplicationAtURL: file " + bundle(),
          "pause of 3000 ms"));
  EXPECT_THAT(test::startRequests().at(0).arguments, ElementsAre("loadmode"));
}

TEST_F(ApplicationStart, LeavesNoObjectBehindAndItsHandlerCapturesNothing) {
  LauncherHelper::launchFromDirectory(folder(), "loadmode");
  EXPECT_EQ(test::liveConfigurations(), 0u);
  EXPECT_TRUE(test::startRequests().at(0).handlerCapturesNothing);
}

TEST_F(ApplicationStart, ReportsASuccessToTheSystemLogAfterTheReturn) {
  LauncherHelper::launchFromDirectory(folder(), "loadmode");
  EXPECT_THAT(systemLog.messages(), IsEmpty());
  test::answerStart(std::nullopt);
  EXPECT_THAT(systemLog.messages(), ElementsAre("launch app succeed"));
}

TEST_F(ApplicationStart, ReportsAFailureWithItsDescriptionToTheSystemLogAfterTheReturn) {
  LauncherHelper::launchFromDirectory(folder(), "loadmode");
  test::answerStart("The application cannot be opened: 100 % \xc3\xbc"
                    "ber");
  EXPECT_THAT(
      systemLog.messages(),
      ElementsAre("Failed to run the app: The application cannot be opened: 100 % \xc3\xbc"
                  "ber"));
}

TEST_F(ApplicationStart, ReportsAnOutcomeDuringThePause) {
  test::onPause([] { test::answerStart("no such application"); });
  LauncherHelper::launchFromDirectory(folder(), "loadmode");
  EXPECT_THAT(systemLog.messages(), ElementsAre("Failed to run the app: no such application"));
}

TEST_F(ApplicationStart, WritesNothingToTheLaunchersLog) {
  const test::OpenLog log(folder() / "log.txt");
  LauncherHelper::launchFromDirectory(folder(), "loadmode");
  test::answerStart("no such application");
  EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(ApplicationStart, RequestsTheBundleEvenWhenItIsMissing) {
  LauncherHelper::launchFromDirectory(folder() / "none", "loadmode");
  EXPECT_EQ(test::startRequests().at(0).path, (folder() / "none" / "OrlixVDIPlugin.app").string());
}

TEST_F(ApplicationStart, JoinsAFolderWithATrailingSeparatorByOneSeparator) {
  LauncherHelper::launchFromDirectory(folder() / "", "loadmode");
  EXPECT_EQ(test::startRequests().at(0).path, bundle());
}

TEST_F(ApplicationStart, NamesTheBundleInTheWorkingFolderForTheEmptyPath) {
  LauncherHelper::launchFromDirectory("", "loadmode");
  EXPECT_EQ(test::startRequests().at(0).path, (fs::current_path() / "OrlixVDIPlugin.app").string());
}

TEST_F(ApplicationStart, KeepsBlanksAndNonAsciiLettersOfThePath) {
  const fs::path named = folder() / "Gr\xc3\xbc\xc3\x9f Gott %20";
  LauncherHelper::launchFromDirectory(named, "loadmode");
  EXPECT_EQ(test::startRequests().at(0).path, (named / "OrlixVDIPlugin.app").string());
}

TEST_F(ApplicationStart, TwoCallsMakeTwoRequestsEachWithItsOwnConfiguration) {
  LauncherHelper::launchFromDirectory(folder(), "first");
  LauncherHelper::launchFromDirectory(folder(), "second");
  ASSERT_THAT(test::startRequests(), SizeIs(2));
  EXPECT_THAT(test::startRequests()[0].arguments, ElementsAre("first"));
  EXPECT_THAT(test::startRequests()[1].arguments, ElementsAre("second"));
}

TEST_F(ApplicationStart, PassesAnArgumentWithBlanksAsOne) {
  LauncherHelper::launchFromDirectory(folder(), " load mode ");
  EXPECT_THAT(test::startRequests().at(0).arguments, ElementsAre(" load mode "));
}

TEST_F(ApplicationStart, PassesAnEmptyArgumentAsOneEmptyArgument) {
  LauncherHelper::launchFromDirectory(folder(), "");
  EXPECT_THAT(test::startRequests().at(0).arguments, ElementsAre(""));
}

TEST_F(ApplicationStart, PassesNoArgumentWhenItIsNotUtf8) {
  LauncherHelper::launchFromDirectory(folder(), "load\xffmode");
  EXPECT_THAT(test::startRequests().at(0).arguments, IsEmpty());
  test::answerStart(std::nullopt);
  EXPECT_THAT(systemLog.messages(), ElementsAre("launch app succeed"));
}

TEST_F(ApplicationStart, ReportsAPathThatIsNotUtf8AndStillPauses) {
  LauncherHelper::launchFromDirectory(folder() / "\xff\xfe", "loadmode");
  EXPECT_THAT(test::startRequests(), IsEmpty());
  EXPECT_THAT(test::platformMessages(), ElementsAre("pause of 3000 ms"));
  EXPECT_THAT(systemLog.messages(), ElementsAre("Failed to run the app: its path is not UTF-8"));
}

} // namespace
