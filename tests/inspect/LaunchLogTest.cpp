#include "LaunchLog.h"
#include "System.h"

#include "Fork.h"
#include "Home.h"
#include "Report.h"

#include <gmock/gmock.h>

using namespace LauncherInspect;
using namespace testing;

namespace {

const std::string STAMP = "2026-03-07 14:05:09.007 ";
const std::string ENTERED = STAMP + "ThinClientLauncher DLL entry point called\n";
const std::string CHOICE = STAMP + "Best candidate: /home/*****/copies/a (version: 45.12.0.900)\n";
const std::string NOTHING = STAMP + "Best candidate:  (version: 0.0.0.0)\n";
const std::string COUNT = STAMP + "VDI Launch count updated to: ";
const std::string UNCLEANED = STAMP + "not started from launcher folder, do not clean\n";

LastLaunch read(const std::string& content) {
  const test::ScopedDirectory folder;
  test::writeFile(folder.path() / "log.txt", content);
  return readLaunchLog(folder.path() / "log.txt");
}

std::string shown(const Report& end) {
  return end["code"].get<std::string>() + ": " + end["text"].get<std::string>();
}

std::string endOf(const LastLaunch& launch) {
  Facts facts;
  facts.lastLaunch = launch;
  return shown(makeReport(facts)["lastLaunch"]["end"]);
}

} // namespace

TEST(LaunchLog, TellsTheEnd) {
  const std::pair<std::string, std::string> rows[] = {
      {"", "no-launch: unknown: the log is e"},
      {"\n", "no-launch: unknown: the log h"},
      {"Dear diary\n", "no-launch"},
      {CHOICE, "no-launch"},
      {ENTERED + STAMP + "launcher mode\n", "before-choice"},
      {ENTERED + STAMP + "Best candidate: /a (vers", "before-choice"},
      {ENTERED + CHOICE, "at-choice"},
      {ENTERED + CHOICE + COUNT + "4 for directory: /a\n",
       "recorded: start requested and recorded as launch 4;"},
      {ENTERED + CHOICE + COUNT + "* for directory: /a\n",
       "recorded: start requested and recorded;"},
      {ENTERED + CHOICE + UNCLEANED, "unrecorded"},
      {ENTERED + NOTHING + UNCLEANED, "nothing-chosen: no copy was viable, nothing was started"},
      {ENTERED + NOTHING + COUNT + "1 for directory: \n",
       "nothing-chosen: no copy was viable, nothing was started; launchCount.dat"}};
  for (const auto& [log, end] : rows)
    EXPECT_THAT(endOf(read(log)), StartsWith(end)) << log;
}

TEST(LaunchLog, SaysWhyItIsUnread) {
  const test::ScopedDirectory folder;
  const auto log = folder.path() / "log.txt";
  EXPECT_THAT(endOf(readLaunchLog(log)), StartsWith("no-log: none: there is no log"));
  EXPECT_THAT(endOf(readLaunchLog(folder.path())), EndsWith("read (it is not a regular file)"));
  test::writeFile(log, ENTERED);
  test::asUnprivilegedUser(folder.path(), [&] {
    const test::ScopedPermissions closed(log, std::filesystem::perms::none);
    EXPECT_THAT(endOf(readLaunchLog(log)), EndsWith("read (Permission denied)"));
  });
  constexpr std::uintmax_t MAXIMUM_SIZE = 64 * 1024 * 1024;
  std::filesystem::resize_file(log, MAXIMUM_SIZE);
  EXPECT_THAT(endOf(readLaunchLog(log)), Not(HasSubstr("larger")));
  std::filesystem::resize_file(log, MAXIMUM_SIZE + 1);
  EXPECT_THAT(endOf(readLaunchLog(log)), EndsWith("read (it is larger than any launch's log)"));
  const auto longName = folder.path() / std::string(300, 'a');
  EXPECT_EQ(
      endOf(readLaunchLog(longName)),
      "unreadable: unknown: the log cannot be read (File name too long)");
}

TEST(LaunchLog, CountsNothingElsewhere) {
  const auto launch = read(ENTERED + NOTHING + COUNT + "1 for directory: \n");
  EXPECT_TRUE(launch.isRecorded);
  EXPECT_FALSE(launch.launchCount);
}

TEST(LaunchLog, GivesSystemLogCommand) {
  EXPECT_EQ(startOf(read(ENTERED)), "2026-03-07 14:05:09");
  EXPECT_EQ(startOf(read("**" + ENTERED.substr(2))), "");
  EXPECT_EQ(startOf(read("")), "");
  EXPECT_EQ(systemLogCommand(""), "journalctl -g 'launch app succeed|Failed to run'");
}

// --- In the started application ---

namespace {

const std::string LOADING = ENTERED + STAMP + "load mode, load main dll\n";

LoadMode readLoad(const std::string& content) {
  const test::ScopedDirectory folder;
  test::writeFile(folder.path() / "log.txt", content);
  return readLoadLog(folder.path() / "log.txt");
}

std::string loadEndOf(const LoadMode& loadMode, const LastLaunch& launch = {}) {
  Facts facts;
  facts.loadMode = loadMode;
  facts.lastLaunch = launch;
  return shown(makeReport(facts)["loadMode"]["end"]);
}

} // namespace

TEST(LoadLog, TellsTheEnd) {
  const std::pair<std::string, std::string> rows[] = {
      {"", "not-entered"},
      {ENTERED, "not-entered"},
      {STAMP + "load mode, load main dll\n", "not-entered"},
      {LOADING, "entered: entered load mode at 2026-03-07 14:05:09.007;"},
      {"**" + LOADING.substr(2), "entered: entered load mode at **26-03-07"},
      {LOADING + STAMP + "/a/lib.dylib load library failed dleeror: /a/lib.dylib: none\n",
       "library: /a/lib.dylib: none"},
      {LOADING + STAMP + "/a/lib.dylib **** library failed dleeror: bad\n", "library: bad"}};
  for (const auto& [log, end] : rows)
    EXPECT_THAT(loadEndOf(readLoad(log)), HasSubstr(end)) << log;
}

TEST(LoadLog, KnowsEarlierStart) {
  const LastLaunch launch = read("2026-03-07 14:05:09.008" + ENTERED.substr(23) + CHOICE);
  EXPECT_THAT(loadEndOf(readLoad(LOADING), launch), StartsWith("not-since-launch"));
  EXPECT_THAT(loadEndOf(readLoad(LOADING), read(ENTERED)), StartsWith("entered"));
  const LastLaunch masked = read("2026-**-** 14:05:09.008" + ENTERED.substr(23));
  EXPECT_THAT(loadEndOf(readLoad(LOADING), masked), StartsWith("entered"));
}

TEST(LoadLog, SaysWhyItIsUnread) {
  const test::ScopedDirectory folder;
  const auto log = folder.path() / "log.txt";
  EXPECT_THAT(loadEndOf(readLoadLog(log)), StartsWith("no-log: none"));
  EXPECT_THAT(
      loadEndOf(readLoadLog(log), read(ENTERED + CHOICE)), StartsWith("no-log: no application"));
  EXPECT_THAT(loadEndOf(readLoadLog(folder.path())), StartsWith("unreadable: unknown: the log"));
}

TEST(LaunchLog, BoundsRemovals) {
  std::string log = ENTERED + CHOICE;
  for (int i = 0; i < 25; ++i)
    log += STAMP + "remove directory failed: " + std::to_string(i) + "\n";
  const auto launch = read(log);
  ASSERT_EQ(launch.removalFailures.size(), 20u);
  EXPECT_EQ(launch.removalFailures.front(), "0");
  EXPECT_EQ(launch.removalFailures.back(), "19");
  EXPECT_EQ(launch.furtherRemovalFailures, 5u);
}

TEST(LaunchLog, KeepsLineFeeds) {
  const auto launch =
      read("b\n" + ENTERED + STAMP + "Best candidate: /a (version: 1)\nb (version: 45.12)\n");
  ASSERT_TRUE(launch.chosen);
  EXPECT_EQ(launch.chosen->directory, "/a (version: 1)\nb");
  EXPECT_EQ(launch.chosen->version, "45.12");
}

TEST(LaunchLog, ReadsMaskedTexts) {
  const auto launch = read("**26-03-07 14:05:09.007 ThinCli**tLauncher DLL **try point called\n"
                           "**26-03-07 14:05:09.007 Best candid***: /a (version: 45)\n");
  EXPECT_EQ(launch.time, "**26-03-07 14:05:09.007");
  ASSERT_TRUE(launch.chosen);
  EXPECT_EQ(launch.chosen->directory, "/a");
}
