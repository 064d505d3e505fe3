// The start of the application: what the new process gets, how failures are reported, and what the
// caller notices.

#include "EndToEndTest.h"
#include "FakeSleep.h"
#include "Process.h"

#include <array>
#include <chrono>
#include <climits>
#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <pthread.h>
#include <sched.h>
#include <sys/resource.h>
#include <syslog.h>
#include <unistd.h>

namespace fs = std::filesystem;

using namespace testing;

namespace test {

namespace {

using FakeSystem::Answer;

void nothing() {}

void ignoreSignal(int) {}

// To something that no application gets.
void redirectStreams() {
  const int zero = ::open("/dev/zero", O_RDWR);
  for (int stream = 0; stream < 3; ++stream)
    ::dup2(zero, stream);
}

void closeStreams() {
  for (int stream = 0; stream < 3; ++stream)
    ::close(stream);
}

// The C library takes the space for these from the stack of each thread.
thread_local std::array<volatile char, 1100 * 1024> threadLocals;

void setDefaultStackSize(std::size_t size) {
  threadLocals[0] = 1;
  pthread_attr_t attributes;
  ::pthread_attr_init(&attributes);
  ::pthread_attr_setstacksize(&attributes, size);
  EXPECT_EQ(::pthread_setattr_default_np(&attributes), 0);
  ::pthread_attr_destroy(&attributes);
}

} // namespace

class Start : public EndToEnd {
protected:
  static void launchInHost(const Body& prepare = nothing) {
    inHost([&] {
      prepare();
      EXPECT_EQ(launch(), "returned 0");
    });
  }

  // The state of the one application that one launch starts.
  HostState launchOne(const Body& prepare = nothing) {
    launchInHost(prepare);
    EXPECT_EQ(outcome(), SUCCESS);
    return report();
  }

  // Starts the copy with this argument and without a host.
  HostState start(const fs::path& dir, const std::string& argument) {
    const fs::path failures = home.path() / "failures";
    const Result result = run(
        {{APPLICATION_PROGRAM, dir.string(), argument},
         {},
         {{"LOADER_OPERATIONS", "start"}, {"LIBRARY_RECORD", failures.string()}}});
    EXPECT_EQ(result.out + result.err + readFile(failures), "");
    EXPECT_EQ(outcome(), SUCCESS);
    return report();
  }
};

// --- What the application gets ---

TEST_F(Start, PassesLoadmode) {
  const fs::path executable = executableIn(makeCopy());
  const HostState expected{{"argument 0", executable.string()}, {"argument 1", "loadmode"}};
  EXPECT_EQ(part(launchOne(), "argument "), expected);
}

TEST_F(Start, GivesOwnSession) {
  makeCopy();
  const fs::path hostId = home.path() / "host";
  auto application = launchOne([&] { writeFile(hostId, std::to_string(::getpid())); });
  EXPECT_EQ(application["session"], application["process"]);
  EXPECT_EQ(application["process group"], application["process"]);
  EXPECT_NE(application["parent"], readFile(hostId));
  EXPECT_EQ(application["folder"], "/");
}

TEST_F(Start, GivesNullStreams) {
  makeCopy().startedSafely(); // or the fourth launch finds it corrupt
  launchInHost(redirectStreams);
  launchInHost(closeStreams);
  for (const int stream : {0, 1, 2})
    launchInHost([stream] { ::close(stream); });
  EXPECT_THAT(systemLog->awaitMessages(5), Each(SUCCESS));
  const auto applications = reports();
  EXPECT_EQ(applications.size(), 5U);
  for (auto application : applications) {
    EXPECT_THAT(application["descriptor 0"], StartsWith("/dev/null read"));
    EXPECT_THAT(application["descriptor 1"], MatchesRegex("/dev/null (read-)?write"));
    EXPECT_THAT(application["descriptor 2"], MatchesRegex("/dev/null (read-)?write"));
    EXPECT_EQ(part(application, "descriptor ").size(), 3U);
  }
}

TEST_F(Start, PassesEnvironment) {
  makeCopy();
  const ScopedEnvironment odd("LAUNCHER_TEST_VALUE", "two words = $HOME, and\na line feed");
  const ScopedEnvironment empty("LAUNCHER_TEST_EMPTY", "");
  const auto hostState = currentState();
  const auto application = launchOne();
  EXPECT_EQ(part(application, "environment "), part(hostState, "environment "));
  EXPECT_EQ(part(application, "environment LAUNCHER_TEST").size(), 2U);
  EXPECT_EQ(part(application, "umask"), part(hostState, "umask"));
  EXPECT_EQ(part(application, "limit"), part(hostState, "limit"));
}

TEST_F(Start, PassesNoDescriptor) {
  makeCopy();
  EXPECT_EQ(part(launchOne(openDescriptors), "descriptor ").size(), 3U);
}

TEST_F(Start, GivesDefaultSignals) {
  makeCopy();
  auto application = launchOne([] {
    for (int signal = 1; signal < NSIG; ++signal)
      std::signal(signal, SIG_IGN);
    sigset_t all;
    ::sigfillset(&all);
    ::pthread_sigmask(SIG_BLOCK, &all, nullptr);
  });
  for (const char* set : {"signals ignored", "signals handled", "signals blocked"})
    EXPECT_EQ(application[set], "0000000000000000") << set;
}

// --- Arguments ---

TEST_F(Start, PassesArgumentWhole) {
  const std::string odd = " two  words \"and\" $(quotes), Gr\u00fc\u00dfe \u65e5\u672c ";
  auto application = start(makeCopy(), odd);
  EXPECT_EQ(part(application, "argument ").size(), 2U);
  EXPECT_EQ(application["argument 1"], odd);
}

TEST_F(Start, PassesEmptyArgument) {
  EXPECT_EQ(part(start(makeCopy(), ""), "argument ").size(), 2U);
}

TEST_F(Start, OmitsNonUtf8Argument) {
  EXPECT_EQ(part(start(makeCopy(), "load\xFFmode"), "argument ").size(), 1U);
}

// --- Which executable ---

TEST_F(Start, RunsNamedExecutable) {
  Copy copy = makeCopy();
  const fs::path named = executableIn(copy).replace_filename("Another Name");
  fs::rename(executableIn(copy), named);
  copy.list(propertyList(
      {{"CFBundleExecutable", "Another Name"}, {"CFBundleShortVersionString", "45.12.0.1"}}));
  EXPECT_EQ(launchOne()["executable"], named.string());
}

TEST_F(Start, NeedsNoPropertyList) {
  const Copy copy = makeCopy();
  fs::remove(propertyListIn(copy));
  EXPECT_EQ(launchOne()["executable"], executableIn(copy).string());
}

static void replaceByScript(const fs::path& executable, const std::string& content) {
  fs::remove(executable);
  writeFile(executable, content);
  fs::permissions(executable, fs::perms(0755));
}

TEST_F(Start, RunsScript) {
  const fs::path executable = executableIn(makeCopy());
  replaceByScript(executable, "#!/bin/sh\nexec '" PROBE_PROGRAM "' \"$0\" \"$@\"\n");
  auto application = launchOne();
  EXPECT_EQ(application["argument 1"], executable.string());
  EXPECT_EQ(application["argument 2"], "loadmode");
}

TEST_F(Start, RunsUnreadableExecutable) {
  fs::permissions(executableIn(makeCopy("/Applications")), fs::perms(0111));
  inUnprivilegedHost([] { EXPECT_EQ(launch(), "returned 0"); });
  EXPECT_EQ(outcome(), SUCCESS);
  EXPECT_EQ(report().count("argument 1"), 1U);
}

TEST_F(Start, ResolvesRelativeFolder) {
  const Copy copy = makeCopy(fs::current_path());
  EXPECT_EQ(start("", "loadmode")["executable"], executableIn(copy).string());
}

TEST_F(Start, JoinsByOneSeparator) {
  const Copy copy = makeCopy();
  EXPECT_EQ(start(copy.dir() / "", "loadmode")["argument 0"], executableIn(copy).string());
}

// --- Failures: one line in the system log, and the launch goes on ---

struct Breakage {
  const char* name;
  void (*apply)(const fs::path& executable);
  const char* reason;
};

constexpr const char* SHELL_COMMAND = "\ntouch \"$HOME/shell-ran\"\n";

const Breakage BREAKAGES[] = {
    {"NoFile",
     [](const fs::path& executable) { fs::remove(executable); },
     "No such file or directory"},
    {"NotExecutable",
     [](const fs::path& executable) { fs::permissions(executable, fs::perms(0644)); },
     "Permission denied"},
    {"UnknownFormat",
     [](const fs::path& executable) { replaceByScript(executable, SHELL_COMMAND); },
     "Exec format error"},
    {"HalfInstalled",
     [](const fs::path& executable) {
       fs::resize_file(executable, 40);
       std::ofstream(executable, std::ios::app) << SHELL_COMMAND;
     },
     "Exec format error"},
    {"NoInterpreter",
     [](const fs::path& executable) { replaceByScript(executable, "#!/missing/interpreter\n"); },
     "No such file or directory"}};

// A path is text, not a format.
TEST_F(Start, ReportsBrokenCopies) {
  std::vector<std::string> expected;
  for (const auto& breakage : BREAKAGES) {
    SCOPED_TRACE(breakage.name);
    const Copy copy = makeCopy(home.launcherDirectory() / "100%s%d%n");
    breakage.apply(executableIn(copy));
    launchInHost();
    EXPECT_EQ(readFile(copy.dir() / "launchCount.dat"), "1");
    expected.push_back(failure(executableIn(copy), breakage.reason));
    fs::remove_all(copy);
  }
  EXPECT_EQ(systemLog->awaitMessages(expected.size()), expected);
  EXPECT_THAT(systemLog->await(0), Each(Field(&SystemLog::Entry::priority, LOG_USER | LOG_ERR)));
  EXPECT_THAT(reports(), IsEmpty());
  EXPECT_FALSE(fs::exists(home.path() / "shell-ran"));
}

TEST_F(Start, ReportsDeniedCalls) {
  const Copy copy = makeCopy();
  for (auto* function : {&FakeSystem::fork, &FakeSystem::session, &FakeSystem::storage})
    launchInHost([&] { function->answer = Answer::NO; });
  EXPECT_THAT(
      systemLog->awaitMessages(3),
      ElementsAre(
          MatchesRegex("Failed to run the app: .*fork.*\\(.*unavailable\\)"),
          failure(executableIn(copy), "the new process ended before it executed the program"),
          "Failed to run the app: std::bad_alloc"));
  EXPECT_THAT(reports(), IsEmpty());
}

// The host keeps its standard input.
TEST_F(Start, ReportsDeniedPipe) {
  const Copy copy = makeCopy();
  inHost([&] {
    FakeSystem::pipe.answer = Answer::NO;
    const auto before = part(currentState(), "descriptor 0");
    EXPECT_EQ(launch(), "returned 0");
    EXPECT_EQ(outcome(), failure(executableIn(copy), "Too many open files"));
    EXPECT_EQ(part(currentState(), "descriptor 0"), before);
  });
}

// Replaces the descriptor that was opened since for reading by one that cannot be read.
static void breakReadEnd(const HostState& before) {
  for (const auto& [name, value] : currentState()) {
    if (before.count(name) == 0 && value.find(" read ") != value.npos)
      ::dup2(::open("/dev/null", O_WRONLY), std::stoi(name.substr(name.find(' '))));
  }
}

TEST_F(Start, ReportsUnreadablePipe) {
  makeCopy();
  inHost([&] {
    const HostState before = currentState();
    launchUntil(FakeSystem::pipe);
    breakReadEnd(before);
    FakeSystem::pipe.answer = Answer::YES;
    EXPECT_EQ(
        outcome(),
        "Failed to run the app: the outcome of the start is unknown: Bad file descriptor");
  });
}

TEST_F(Start, ReportsLostWorkingFolder) {
  fs::create_directory("lost");
  const Result result = run(
      {{"/bin/sh", "-c", "rmdir \"$PWD\" && exec '" APPLICATION_PROGRAM "' '' loadmode"},
       "lost",
       {{"LOADER_OPERATIONS", "start"}}});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(outcome(), failure(executableIn({}), "No such file or directory"));
}

TEST_F(Start, ReportsDeniedThread) {
  const Copy copy = makeCopy();
  launchInHost([] { FakeSystem::thread.answer = Answer::NO; });
  EXPECT_EQ(readFile(copy.dir() / "launchCount.dat"), "1");
  EXPECT_THAT(reports(), IsEmpty());
  const SystemLog::Entry entry = systemLog->await(1).at(0);
  EXPECT_EQ(entry.priority, LOG_USER | LOG_ERR);
  EXPECT_EQ(entry.name, "e2e_tests");
  EXPECT_EQ(
      entry.message,
      "Failed to run the app: no thread can be created: Resource temporarily unavailable");
}

// The report is lost then.
TEST_F(Start, IgnoresStalledLogWithoutThread) {
  makeCopy();
  inHost([this] {
    systemLog->stall();
    FakeSystem::thread.answer = Answer::NO;
    EXPECT_EQ(launch(), "returned 0");
  });
  EXPECT_THAT(systemLog->awaitMessages(0), IsEmpty());
}

// --- Time ---

// A thread that nobody joins must be detached, or its stack stays mapped.
TEST_F(Start, IsFollowedByOnePause) {
  const Copy copy = makeCopy();
  for (const fs::path& removed : {fs::path(), executableIn(copy), copy.dir()}) {
    fs::remove_all(removed);
    inHost([] {
      FakeSleep::setAction([] { EXPECT_EQ(FakeSystem::thread.calls, 1); });
      EXPECT_EQ(launch(), "returned 0");
      EXPECT_EQ(FakeSleep::count(), 1U);
      EXPECT_EQ(FakeSystem::thread.calls, 1);
    });
  }
  EXPECT_EQ(systemLog->awaitMessages(3).size(), 3U);
}

// The one test in which the pause is slept.
TEST_F(Start, HoldsCallerFor3Seconds) {
  inHost([] {
    FakeSleep::sleepReally();
    const auto before = std::chrono::steady_clock::now();
    EXPECT_EQ(launch(), "returned 0");
    EXPECT_GE(std::chrono::steady_clock::now() - before, std::chrono::milliseconds(3000));
    EXPECT_EQ(FakeSleep::count(), 1U);
  });
  EXPECT_EQ(outcome(), failure(executableIn(fs::current_path()), "No such file or directory"));
}

// --- Hosts of many kinds ---

// The smallest size is below that of the thread-local variables, the other above the address space.
TEST_F(Start, HasStackEnough) {
  makeCopy();
  for (const std::size_t size : {static_cast<std::size_t>(PTHREAD_STACK_MIN), std::size_t{1} << 48})
    launchInHost([&] { setDefaultStackSize(size); });
  EXPECT_EQ(reports().size(), 2U);
}

// The C library also remembers what pthread_setschedparam set.
TEST_F(Start, HasDefaultScheduling) {
  makeCopy();
  const auto application = launchOne([] {
    const sched_param parameters{};
    ASSERT_EQ(::pthread_setschedparam(::pthread_self(), SCHED_BATCH, &parameters), 0);
  });
  EXPECT_EQ(part(application, "scheduling"), part(currentState(), "scheduling"));
}

// Only a privileged user may leave this scheduling.
TEST_F(Start, NeedsNoRightToSchedule) {
  makeCopy();
  inUnprivilegedHost([] {
    const rlimit none{};
    ASSERT_EQ(::setrlimit(RLIMIT_NICE, &none), 0);
    const sched_param parameters{};
    ASSERT_EQ(::sched_setscheduler(0, SCHED_IDLE, &parameters), 0);
    EXPECT_EQ(launch(), "returned 0");
  });
  EXPECT_EQ(outcome(), SUCCESS);
}

// However the host treats them.
TEST_F(Start, LeavesNoChild) {
  makeCopy();
  struct sigaction actions[3]{};
  actions[0].sa_handler = SIG_IGN;
  actions[1].sa_handler = ignoreSignal;
  actions[2].sa_flags = SA_NOCLDWAIT;
  for (const auto& action : actions) {
    inHost([&] {
      EXPECT_EQ(::sigaction(SIGCHLD, &action, nullptr), 0);
      const auto before = part(currentState(), "disposition");
      EXPECT_EQ(launch(), "returned 0");
      awaitThreads();
      auto after = currentState();
      EXPECT_EQ(part(after, "disposition"), before);
      EXPECT_EQ(after["children"], "none");
    });
  }
  EXPECT_THAT(systemLog->awaitMessages(3), Each(SUCCESS));
  EXPECT_EQ(reports().size(), 3U);
}

} // namespace test
