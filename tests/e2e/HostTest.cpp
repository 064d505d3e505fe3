// A launch leaves its host as it was.

#include "EndToEndTest.h"
#include "GroupedDigits.h"

#include <algorithm>
#include <clocale>
#include <csignal>
#include <fcntl.h>
#include <iterator>
#include <pwd.h>
#include <syslog.h>
#include <unistd.h>

namespace fs = std::filesystem;

using namespace testing;

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

bool blocks(const fs::path& thread, int signal) {
  const std::string status = readFile(thread / "status");
  const auto mask = std::stoull(status.substr(status.find("SigBlk:") + 7), nullptr, 16);
  return (mask >> (signal - 1) & 1) != 0;
}

HostState describeHost() {
  auto state = currentState();
  // From the second thread on, the C library handles a signal of its own. The dispositions do not
  // contain that one.
  state.erase("signals handled");
  return state;
}

volatile std::sig_atomic_t signalsHandled = 0;

void countSignal(int) {
  signalsHandled = signalsHandled + 1;
}

} // namespace

class Host : public EndToEnd {
protected:
  Host() { makeCopy().startedSafely(); }

  // In a host with descriptors and a locale of its own.
  static void inHost(const Body& body) {
    EndToEnd::inHost([&] {
      openDescriptors();
      std::locale::global(std::locale(std::locale(), new GroupedDigits));
      std::setlocale(LC_ALL, "C.UTF-8");
      body();
    });
  }

  void goOn(FakeSystem::Function& function) {
    function.answer = FakeSystem::Answer::YES;
    EXPECT_EQ(outcome(), SUCCESS);
  }
};

// The C library opens the process's only connection to the system log at the first message and
// keeps it. Closing it would also close the host's and forget the host's name for its entries.
TEST_F(Host, GainsLogConnection) {
  inHost([this] {
    const auto before = describeHost();
    for (std::size_t launches = 1; launches <= 20; ++launches) {
      ASSERT_EQ(launch(), "returned 0");
      ASSERT_EQ(systemLog->await(launches).size(), launches);
    }
    awaitThreads();
    EXPECT_THAT(
        changes(before, describeHost()),
        ElementsAre(Pair(StartsWith("descriptor "), StartsWith("socket:"))));
    EXPECT_EQ(systemLog->await(20)[0].name, ::program_invocation_short_name);
    ::closelog();
    EXPECT_THAT(changes(before, describeHost()), IsEmpty());
  });
}

TEST_F(Host, KeepsItsLogName) {
  inHost([this] {
    ::openlog("a-host", LOG_PID, LOG_LOCAL3);
    ::syslog(LOG_NOTICE, "before");
    const auto before = describeHost();
    EXPECT_EQ(launch(), "returned 0");
    systemLog->await(2);
    awaitThreads();
    EXPECT_THAT(changes(before, describeHost()), IsEmpty());
    ::syslog(LOG_NOTICE, "after");
    const auto& entries = systemLog->await(3);
    ASSERT_EQ(entries.size(), 3U);
    EXPECT_EQ(entries[1].message, SUCCESS);
    EXPECT_EQ(entries[1].priority, LOG_USER | LOG_INFO);
    EXPECT_EQ(entries[2].message, "after");
    EXPECT_EQ(entries[2].priority, LOG_LOCAL3 | LOG_NOTICE);
    EXPECT_THAT(entries[2].name, StartsWith("a-host["));
  });
}

TEST_F(Host, PrintsNothing) {
  const fs::path printed = home.path() / "printed";
  inHost([&] {
    const int output = ::open(printed.c_str(), O_WRONLY | O_CREAT, 0600);
    ::dup2(output, STDOUT_FILENO);
    ::dup2(output, STDERR_FILENO);
    EXPECT_EQ(launch(), "returned 0");
    EXPECT_EQ(launch({"loadmode"}), "returned 0");
    awaitThreads();
    fs::remove(executableIn(home.launcherDirectory() / "copy"));
    EXPECT_EQ(launch(), "returned 0");
  });
  EXPECT_EQ(reports().size(), 1U);
  EXPECT_EQ(readFile(printed), "");
}

// --- While a start is under way ---

TEST_F(Host, HandlesItsSignals) {
  inHost([this] {
    std::signal(SIGUSR1, countSignal);
    launchUntil(FakeSystem::fork);
    sigset_t all;
    ::sigfillset(&all);
    ::pthread_sigmask(SIG_BLOCK, &all, nullptr);
    EXPECT_EQ(::kill(::getpid(), SIGUSR1), 0);
    goOn(FakeSystem::fork);
    EXPECT_EQ(signalsHandled, 0);
  });
}

// The host's crash handler must also see a crash of the library's thread.
TEST_F(Host, SeesFaults) {
  inHost([this] {
    const fs::path tasks = "/proc/self/task";
    const auto before = directoriesIn(tasks);
    launchUntil(FakeSystem::fork);
    for (const auto& thread : directoriesIn(tasks)) {
      if (std::find(before.begin(), before.end(), thread) != before.end())
        continue;
      EXPECT_TRUE(blocks(thread, SIGTERM));
      for (const int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT})
        EXPECT_FALSE(blocks(thread, fault)) << "signal " << fault;
    }
    EXPECT_THAT(directoriesIn(tasks), SizeIs(before.size() + 1));
    goOn(FakeSystem::fork);
  });
}

// A child that another of the host's threads starts meanwhile inherits nothing of the start.
TEST_F(Host, ClosesDescriptorsOnExec) {
  for (FakeSystem::Function* const function : {&FakeSystem::pipe, &FakeSystem::fork}) {
    inHost([&] {
      const auto before = part(currentState(), "descriptor ");
      launchUntil(*function);
      const auto opened = changes(before, part(currentState(), "descriptor "));
      EXPECT_GE(opened.size(), 2U);
      EXPECT_THAT(opened, Each(Pair(testing::_, HasSubstr("close-on-exec"))));
      goOn(*function);
    });
  }
}

// --- Two libraries in one process ---

TEST_F(Host, MayHaveTwoLibraries) {
  const fs::path other = home.path() / "other" / "libThinClientLauncher.dylib";
  fs::create_directories(other.parent_path());
  fs::copy_file(LAUNCHER_LIBRARY, other);
  inHost([&] {
    loadLibrary(other);
    EXPECT_EQ(launch({"launchermode", "45.12.0.1"}), "returned 0");
  });
  EXPECT_EQ(outcome(), SUCCESS);
  // The host enters the second library. If that called the operations of the first, which has no
  // open log, all lines but the first would be missing.
  ASSERT_GE(launchLog().size(), 3U);
  EXPECT_EQ(launchLog()[1], "launcher mode");
  EXPECT_EQ(launchLog()[2], "hvd Client Version provided: 45.12.0.1");
}

// What a test forgets to redirect.
TEST(Sandbox, KeepsMachineReadOnly) {
  const std::string home = ::getpwuid(::geteuid())->pw_dir;
  for (const std::string& place : {home, fs::current_path().string(), std::string("/tmp")})
    EXPECT_EQ(::access(place.c_str(), W_OK), -1) << place;
  EXPECT_EQ(std::getenv("HOME"), fs::temp_directory_path());
  EXPECT_EQ(::access(std::getenv("HOME"), W_OK), 0);
}

} // namespace test
