#include "LaunchLog.h"

#include "Home.h"
#include "Wording.h"

#include <gmock/gmock.h>

using namespace LauncherInspect;
using ::testing::ElementsAre;

namespace {

const std::string STAMP = "2026-03-07 14:05:09.007 ";
const std::string ENTERED = STAMP + "ThinClientLauncher DLL entry point called\n";
const std::string CHOICE = STAMP + "Best candidate: /home/*****/copies/a (version: 45.12.0.900)\n";

LastLaunch read(const std::string& content) {
  const test::ScopedFolder folder;
  test::writeFile(folder.path() / "log.txt", content);
  return readLaunchLog(folder.path() / "log.txt");
}

std::string endCode(const LastLaunch& launch) {
  return endOf(launch, {"/", ""}).code;
}

} // namespace

TEST(LaunchLog, TellsWhenForWhichClientAndWhichCopy) {
  const auto launch =
      read(ENTERED + STAMP + "hvd Client Version provided: 45.12.0.1000\n" + CHOICE);
  EXPECT_EQ(launch.state, LogState::Read);
  EXPECT_EQ(launch.time, "2026-03-07 14:05:09.007");
  EXPECT_EQ(launch.clientVersion, "45.12.0.1000");
  ASSERT_TRUE(launch.chosen);
  EXPECT_EQ(launch.chosen->directory, "/home/*****/copies/a");
  EXPECT_EQ(launch.chosen->version, "45.12.0.900");
}

TEST(LaunchLog, ThatEndsBeforeTheChoiceSaysSo) {
  EXPECT_EQ(endCode(read(ENTERED + STAMP + "launcher mode\n")), "before-choice");
}

TEST(LaunchLog, ThatEndsAtTheChoiceSaysSo) {
  EXPECT_EQ(endCode(read(ENTERED + CHOICE)), "at-choice");
}

TEST(LaunchLog, WithTheLaunchCountTellsThatTheLaunchWasRecorded) {
  const auto launch =
      read(ENTERED + CHOICE + STAMP + "VDI Launch count updated to: 4 for directory: /a\n");
  EXPECT_EQ(endCode(launch), "recorded");
  EXPECT_EQ(launch.launchCount, 4u);
}

TEST(LaunchLog, OfACopyElsewhereTellsThatNothingIsRecorded) {
  EXPECT_EQ(
      endCode(read(ENTERED + CHOICE + STAMP + "not started from launcher folder, do not clean\n")),
      "unrecorded");
}

TEST(LaunchLog, OfALaunchWithoutAnyCopySaysSo) {
  const auto launch = read(
      ENTERED + STAMP + "Best candidate:  (version: 0.0.0.0)\n" + STAMP +
      "not started from launcher folder, do not clean\n");
  EXPECT_EQ(endCode(launch), "nothing-chosen");
}

TEST(LaunchLog, NamesRemovalsThatFailed) {
  const auto launch = read(ENTERED + CHOICE + STAMP + "remove directory failed: Busy\n");
  EXPECT_THAT(launch.removalFailures, ElementsAre("Busy"));
}

TEST(LaunchLog, WithALineFeedInAFolderNameIsReadWhole) {
  const auto launch =
      read(ENTERED + STAMP + "Best candidate: /a (version: 1)\nb (version: 45.12.0.900)\n");
  ASSERT_TRUE(launch.chosen);
  EXPECT_EQ(launch.chosen->directory, "/a (version: 1)\nb");
  EXPECT_EQ(launch.chosen->version, "45.12.0.900");
}

TEST(LaunchLog, WithMaskedMessagesAndTimesIsStillRead) {
  const auto launch = read("**26-03-07 14:05:09.007 ThinCli**tLauncher DLL **try point called\n"
                           "**26-03-07 14:05:09.007 Best candid***: /a (version: 45)\n");
  EXPECT_EQ(launch.time, "**26-03-07 14:05:09.007");
  ASSERT_TRUE(launch.chosen);
  EXPECT_EQ(launch.chosen->directory, "/a");
}

TEST(LaunchLog, ThatDoesNotExistTellsOfNoLaunch) {
  const test::ScopedFolder folder;
  EXPECT_EQ(endCode(readLaunchLog(folder.path() / "log.txt")), "no-log");
}

TEST(LaunchLog, ThatHoldsNoLaunchIsNotGuessedAt) {
  EXPECT_EQ(endCode(read("")), "no-launch");
  EXPECT_EQ(endCode(read("Dear diary\n")), "no-launch");
  EXPECT_EQ(endCode(read(CHOICE)), "no-launch");
}

TEST(LaunchLog, ThatIsAFolderIsUnreadable) {
  const test::ScopedFolder folder;
  EXPECT_EQ(endCode(readLaunchLog(folder.path())), "unreadable");
}

TEST(LaunchLog, LargerThanAnyIsUnreadable) {
  const test::ScopedFolder folder;
  test::writeFile(folder.path() / "log.txt", ENTERED);
  std::filesystem::resize_file(folder.path() / "log.txt", std::uintmax_t{1} << 31);
  EXPECT_EQ(endCode(readLaunchLog(folder.path() / "log.txt")), "unreadable");
}
