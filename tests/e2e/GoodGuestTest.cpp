// What of the host is different after a launch: nothing.

#include "EndToEndTest.h"

#include <algorithm>
#include <csignal>
#include <iterator>
#include <syslog.h>

namespace fs = std::filesystem;

using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;
using testing::Pair;
using testing::StartsWith;

namespace test {

namespace {

// The entries that only one of the reports has so.
HostState changes(const HostState& before, const HostState& after) {
  HostState changed;
  std::set_symmetric_difference(
      before.begin(),
      before.end(),
      after.begin(),
      after.end(),
      std::inserter(changed, changed.end()));
  return changed;
}

} // namespace

class GoodGuest : public EndToEnd {
protected:
  void SetUp() override {
    writeFile(makeCopy("copy", "45.12.0.1") / "started.dat", "");
    host().ask({"open-descriptors"});
    host().ask({"use-unusual-locale"});
  }

  // Descriptors and their targets, threads, children, dispositions of all signals, the signal mask,
  // umask, both locales, working folder, environment and limits.
  HostState describeHost() {
    auto report = host().describe();
    // The C library handles a signal of its own once there was a second thread. The dispositions
    // hold all signals but those.
    report.erase("signals handled");
    return report;
  }

  void awaitEndOfStart() {
    EXPECT_TRUE(eventually([this] { return host().threads() == 1; }));
  }
};

TEST_F(GoodGuest, LeavesTheHostAsItWasWithoutASystemLog) {
  systemLog.reset();
  const auto before = describeHost();
  EXPECT_EQ(launch({"launchermode", "45.12.0.1"}), "returned 0");
  awaitEndOfStart();
  EXPECT_THAT(changes(before, describeHost()), IsEmpty());
  EXPECT_EQ(reports().size(), 1U);
}

// The C library opens the process's one connection to the system log at the first message and
// keeps it. To close it again would close the host's own connection and forget its name.
TEST_F(GoodGuest, AddsAtMostTheConnectionToTheSystemLog) {
  const auto before = describeHost();
  EXPECT_EQ(launch({"launchermode", "45.12.0.1"}), "returned 0");
  EXPECT_EQ(outcome(), "launch app succeed");
  EXPECT_THAT(
      changes(before, describeHost()),
      ElementsAre(Pair(StartsWith("descriptor "), EndsWith("connected to /dev/log"))));
}

TEST_F(GoodGuest, AddsNothingMoreInFurtherLaunches) {
  EXPECT_EQ(launch({"launchermode", "45.12.0.1"}), "returned 0");
  EXPECT_EQ(outcome(), "launch app succeed");
  const auto before = describeHost();
  for (std::size_t launches = 2; launches <= 20; ++launches) {
    ASSERT_EQ(launch({"launchermode", "45.12.0.1"}), "returned 0");
    ASSERT_EQ(systemLog->await(launches).size(), launches);
  }
  awaitEndOfStart();
  EXPECT_THAT(changes(before, describeHost()), IsEmpty());
}

TEST_F(GoodGuest, LeavesTheHostsConnectionToTheSystemLogAndItsNameAlone) {
  EXPECT_EQ(host().ask({"open-log", "a-host"}), "opened");
  EXPECT_EQ(host().ask({"write-to-log", "before"}), "written");
  const auto before = describeHost();
  EXPECT_EQ(launch({"launchermode", "45.12.0.1"}), "returned 0");
  systemLog->await(2);
  awaitEndOfStart();
  EXPECT_THAT(changes(before, describeHost()), IsEmpty());
  EXPECT_EQ(host().ask({"write-to-log", "after"}), "written");
  const auto& entries = systemLog->await(3);
  ASSERT_EQ(entries.size(), 3U);
  EXPECT_EQ(entries[1].message, "launch app succeed");
  EXPECT_EQ(entries[1].priority, LOG_USER | LOG_INFO);
  EXPECT_EQ(entries[2].message, "after");
  EXPECT_EQ(entries[2].priority, LOG_LOCAL3 | LOG_NOTICE);
  EXPECT_THAT(entries[2].name, StartsWith("a-host["));
}

TEST_F(GoodGuest, GoesByTheHostsNameInTheSystemLog) {
  EXPECT_EQ(launch({"launchermode"}), "returned 0");
  EXPECT_EQ(outcome(), "launch app succeed");
  fs::remove(executableIn(copyFolder("copy")));
  EXPECT_EQ(launch({"launchermode"}), "returned 0");
  const auto& entries = systemLog->await(2);
  ASSERT_EQ(entries.size(), 2U);
  EXPECT_EQ(entries[0].name, fs::path(HOST_PROGRAM).filename().string());
  EXPECT_EQ(entries[0].priority, LOG_USER | LOG_INFO);
  EXPECT_EQ(entries[1].priority, LOG_USER | LOG_ERR);
}

TEST_F(GoodGuest, HandlesNoSignalForTheHostOnItsThread) {
  EXPECT_EQ(host().ask({"handle-signals"}), "handled");
  EXPECT_EQ(host().ask({"hold-up-forks"}), "held up");
  EXPECT_EQ(launch({"launchermode"}), "returned 0");
  EXPECT_EQ(host().ask({"block-signals"}), "blocked");
  EXPECT_EQ(::kill(host().id(), SIGUSR1), 0);
  EXPECT_EQ(host().ask({"signals-handled"}), "0");
  EXPECT_EQ(host().ask({"release-forks"}), "released");
  EXPECT_EQ(outcome(), "launch app succeed");
  EXPECT_EQ(host().ask({"signals-handled"}), "0");
}

TEST_F(GoodGuest, WritesPlainDigitsWhateverTheHostsLocale) {
  writeFile(copyFolder("copy") / "launchCount.dat", "1233");
  writeFile(copyFolder("copy") / "started.dat", "");
  EXPECT_EQ(launch({"launchermode"}), "returned 0");
  EXPECT_EQ(readFile(copyFolder("copy") / "launchCount.dat"), "1234");
  EXPECT_EQ(readFile(copyFolder("copy") / "launch.dat").find(','), std::string::npos);
  EXPECT_THAT(launchLog().back(), StartsWith("VDI Launch count updated to: 1234 for directory: "));
  EXPECT_EQ(outcome(), "launch app succeed");
}

// --- Two libraries in one process ---

TEST_F(GoodGuest, KeepsToItselfBesideAnotherCopyOfTheLibrary) {
  const fs::path other = home.path() / "other" / "libThinClientLauncher.dylib";
  fs::create_directories(other.parent_path());
  fs::copy_file(LAUNCHER_LIBRARY, other);
  EXPECT_EQ(host().ask({"load", other.string()}), "loaded");
  EXPECT_EQ(launch({"launchermode", "45.12.0.1"}), "returned 0");
  EXPECT_EQ(outcome(), "launch app succeed");
  // Entered through the other copy: with the first one's operations, which see no open log, the
  // lines after the first would be missing.
  ASSERT_GE(launchLog().size(), 3U);
  EXPECT_EQ(launchLog()[1], "launcher mode");
  EXPECT_EQ(launchLog()[2], "hvd Client Version provided: 45.12.0.1");
}

} // namespace test
