// A launch leaves its host as it was.

#include "EndToEndTest.h"

#include <algorithm>
#include <csignal>
#include <iterator>
#include <set>
#include <sstream>
#include <syslog.h>

namespace fs = std::filesystem;

using testing::Each;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Pair;
using testing::SizeIs;
using testing::StartsWith;

namespace test {

namespace {

// The entries that differ, from both states.
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

// The signals that a thread blocks.
std::set<int> blockedSignals(const fs::path& thread) {
  std::set<int> blocked;
  for (const auto& line : readLines(thread / "status")) {
    if (line.rfind("SigBlk:", 0) != 0)
      continue;
    const auto mask = std::stoull(line.substr(line.find('\t')), nullptr, 16);
    for (int signal = 1; signal < NSIG; ++signal) {
      if ((mask >> (signal - 1) & 1) != 0)
        blocked.insert(signal);
    }
  }
  return blocked;
}

} // namespace

class Host : public EndToEnd {
protected:
  Host() {
    makeCopy().startedSafely();
    tell({"open-descriptors"});
    tell({"use-unusual-locale"});
  }

  HostState describeHost() {
    auto state = host().describe();
    // From the second thread on, the C library handles a signal of its own. The dispositions do not
    // contain that one.
    state.erase("signals handled");
    return state;
  }

  void awaitEndOfStart() {
    EXPECT_TRUE(eventually([this] { return host().threads() == 1; }));
  }

  // Launches, and returns once the start waits in its first call of this function.
  void launchUntil(const std::string& function) {
    tell({"answer", function, "later"});
    EXPECT_EQ(launch(), "returned 0");
    ASSERT_TRUE(eventually([&] { return host().ask({"calls", function}) == "1"; }));
  }

  void goOn(const std::string& function) {
    tell({"answer", function, "yes"});
    EXPECT_EQ(outcome(), SUCCESS);
  }
};

TEST_F(Host, StaysTheSame) {
  systemLog.reset();
  const auto before = describeHost();
  EXPECT_EQ(launch(), "returned 0");
  awaitEndOfStart();
  EXPECT_THAT(changes(before, describeHost()), IsEmpty());
  EXPECT_EQ(reports().size(), 1U);
}

// The C library opens the process's only connection to the system log at the first message and
// keeps it. Closing it would also close the host's and forget the host's name for its entries.
TEST_F(Host, GainsLogConnection) {
  const auto before = describeHost();
  EXPECT_EQ(launch(), "returned 0");
  EXPECT_EQ(outcome(), SUCCESS);
  EXPECT_THAT(
      changes(before, describeHost()),
      ElementsAre(Pair(StartsWith("descriptor "), EndsWith("connected to /dev/log"))));
}

TEST_F(Host, GainsNothingMore) {
  EXPECT_EQ(launch(), "returned 0");
  EXPECT_EQ(outcome(), SUCCESS);
  const auto before = describeHost();
  for (std::size_t launches = 2; launches <= 20; ++launches) {
    ASSERT_EQ(launch(), "returned 0");
    ASSERT_EQ(systemLog->await(launches).size(), launches);
  }
  awaitEndOfStart();
  EXPECT_THAT(changes(before, describeHost()), IsEmpty());
}

TEST_F(Host, KeepsItsLogName) {
  tell({"open-log", "a-host"});
  tell({"write-to-log", "before"});
  const auto before = describeHost();
  EXPECT_EQ(launch(), "returned 0");
  systemLog->await(2);
  awaitEndOfStart();
  EXPECT_THAT(changes(before, describeHost()), IsEmpty());
  tell({"write-to-log", "after"});
  const auto& entries = systemLog->await(3);
  ASSERT_EQ(entries.size(), 3U);
  EXPECT_EQ(entries[1].message, SUCCESS);
  EXPECT_EQ(entries[1].priority, LOG_USER | LOG_INFO);
  EXPECT_EQ(entries[2].message, "after");
  EXPECT_EQ(entries[2].priority, LOG_LOCAL3 | LOG_NOTICE);
  EXPECT_THAT(entries[2].name, StartsWith("a-host["));
}

TEST_F(Host, NamesLogEntries) {
  EXPECT_EQ(launch(), "returned 0");
  EXPECT_EQ(outcome(), SUCCESS);
  fs::remove(executableIn(home.launcherFolder() / "copy"));
  EXPECT_EQ(launch(), "returned 0");
  const auto& entries = systemLog->await(2);
  ASSERT_EQ(entries.size(), 2U);
  EXPECT_EQ(entries[0].name, fs::path(HOST_PROGRAM).filename().string());
  EXPECT_EQ(entries[0].priority, LOG_USER | LOG_INFO);
  EXPECT_EQ(entries[1].priority, LOG_USER | LOG_ERR);
}

// --- While a start is under way ---

TEST_F(Host, HandlesItsSignals) {
  tell({"handle-signals"});
  launchUntil("fork");
  tell({"block-signals"});
  EXPECT_EQ(::kill(host().id(), SIGUSR1), 0);
  EXPECT_EQ(host().ask({"signals-handled"}), "0");
  goOn("fork");
  EXPECT_EQ(host().ask({"signals-handled"}), "0");
}

// The host's crash handler must also see a crash of the library's thread.
TEST_F(Host, SeesFaults) {
  const fs::path tasks = fs::path("/proc") / std::to_string(host().id()) / "task";
  const auto before = foldersIn(tasks);
  launchUntil("fork");
  for (const auto& thread : foldersIn(tasks)) {
    if (std::find(before.begin(), before.end(), thread) != before.end())
      continue;
    const auto blocked = blockedSignals(thread);
    EXPECT_EQ(blocked.count(SIGTERM), 1U);
    for (const int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT})
      EXPECT_EQ(blocked.count(fault), 0U) << "signal " << fault;
  }
  EXPECT_THAT(foldersIn(tasks), SizeIs(before.size() + 1));
  goOn("fork");
}

class Descriptors : public Host, public testing::WithParamInterface<const char*> {};

// A child that another of the host's threads starts meanwhile inherits nothing of the start.
TEST_P(Descriptors, CloseOnExec) {
  const auto before = part(host().describe(), "descriptor ");
  launchUntil(GetParam());
  const auto opened = changes(before, part(host().describe(), "descriptor "));
  EXPECT_GE(opened.size(), 2U);
  EXPECT_THAT(opened, Each(Pair(testing::_, HasSubstr("close-on-exec"))));
  goOn(GetParam());
}

INSTANTIATE_TEST_SUITE_P(During, Descriptors, testing::Values("pipe2", "fork"));

// --- Two libraries in one process ---

TEST_F(Host, MayHaveTwoLibraries) {
  const fs::path other = home.path() / "other" / "libThinClientLauncher.dylib";
  fs::create_directories(other.parent_path());
  fs::copy_file(LAUNCHER_LIBRARY, other);
  tell({"load", other.string()});
  EXPECT_EQ(launch({"launchermode", "45.12.0.1"}), "returned 0");
  EXPECT_EQ(outcome(), SUCCESS);
  // The host enters the second library. If that called the operations of the first, which has no
  // open log, all lines but the first would be missing.
  ASSERT_GE(launchLog().size(), 3U);
  EXPECT_EQ(launchLog()[1], "launcher mode");
  EXPECT_EQ(launchLog()[2], "hvd Client Version provided: 45.12.0.1");
}

} // namespace test
