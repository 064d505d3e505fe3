// The start of the application: what the new process gets, how failures are reported, and what the
// caller notices.

#include "EndToEndTest.h"
#include "Process.h"

#include <algorithm>
#include <chrono>
#include <fstream>
#include <ostream>

namespace fs = std::filesystem;

using testing::EndsWith;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::StartsWith;

namespace test {

class Start : public EndToEnd {
protected:
  // The state of the one application that one launch starts.
  HostState launchOne() {
    EXPECT_EQ(launch(), "returned 0");
    EXPECT_EQ(outcome(), SUCCESS);
    return report();
  }

  // The outcome of one launch that does not start anything.
  std::string launchNone() {
    EXPECT_EQ(launch(), "returned 0");
    const std::string message = outcome();
    EXPECT_THAT(reports(), IsEmpty());
    return message;
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
  const std::string hostId = std::to_string(host().id());
  auto application = launchOne();
  EXPECT_EQ(application["session"], application["process"]);
  EXPECT_EQ(application["process group"], application["process"]);
  EXPECT_NE(application["parent"], hostId);
  EXPECT_EQ(application["folder"], "/");
}

class Streams : public Start, public testing::WithParamInterface<bool> {};

TEST_P(Streams, AreNull) {
  makeCopy();
  if (GetParam())
    tell({"close-standard-streams"});
  auto application = launchOne();
  EXPECT_THAT(application["descriptor 0"], StartsWith("/dev/null read"));
  EXPECT_THAT(application["descriptor 1"], MatchesRegex("/dev/null (read-)?write"));
  EXPECT_THAT(application["descriptor 2"], MatchesRegex("/dev/null (read-)?write"));
  EXPECT_EQ(part(application, "descriptor ").size(), 3U);
}

INSTANTIATE_TEST_SUITE_P(HostHas, Streams, testing::Bool(), [](const auto& test) {
  return test.param ? "None" : "All";
});

TEST_F(Start, PassesEnvironment) {
  makeCopy();
  const ScopedEnvironment odd("LAUNCHER_TEST_VALUE", "two words = $HOME, and\na line feed");
  const ScopedEnvironment empty("LAUNCHER_TEST_EMPTY", "");
  const auto hostState = host().describe();
  const auto application = launchOne();
  EXPECT_EQ(part(application, "environment "), part(hostState, "environment "));
  EXPECT_EQ(part(application, "environment LAUNCHER_TEST").size(), 2U);
  EXPECT_EQ(part(application, "umask"), part(hostState, "umask"));
  EXPECT_EQ(part(application, "limit "), part(hostState, "limit "));
}

TEST_F(Start, PassesNoDescriptor) {
  makeCopy();
  tell({"open-descriptors"});
  EXPECT_EQ(part(host().describe(), "descriptor 700").size(), 1U);
  EXPECT_EQ(part(launchOne(), "descriptor ").size(), 3U);
}

// A parameter that is a command of the host; a test's name may not hold a dash.
class StartByHost : public Start, public testing::WithParamInterface<const char*> {
public:
  static std::string name(const testing::TestParamInfo<const char*>& test) {
    std::string name = test.param;
    std::replace(name.begin(), name.end(), '-', '_');
    return name;
  }
};

using Signals = StartByHost;

TEST_P(Signals, AreDefault) {
  makeCopy();
  tell({GetParam()});
  auto application = launchOne();
  for (const char* set : {"signals ignored", "signals handled", "signals blocked"})
    EXPECT_EQ(application[set], "0000000000000000") << set;
}

INSTANTIATE_TEST_SUITE_P(
    Host,
    Signals,
    testing::Values("ignore-signals", "handle-signals", "block-signals"),
    StartByHost::name);

// --- Arguments ---

class Argument : public Start, public testing::WithParamInterface<const char*> {};

TEST_P(Argument, IsPassedWhole) {
  auto application = start(makeCopy(), GetParam());
  ASSERT_EQ(part(application, "argument ").size(), 2U);
  EXPECT_EQ(application["argument 1"], GetParam());
}

INSTANTIATE_TEST_SUITE_P(
    Text,
    Argument,
    testing::Values("", " two  words \"and\" $(quotes) ", "Gr\u00fc\u00dfe \u65e5\u672c"));

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

TEST_F(Start, DefaultsToBundleName) {
  Copy copy = makeCopy().list(propertyList({{"CFBundleShortVersionString", "45.12.0.1"}}));
  EXPECT_EQ(launchOne()["executable"], executableIn(copy).string());
}

TEST_F(Start, NeedsNoPropertyList) {
  const Copy copy = makeCopy();
  fs::remove(propertyListIn(copy));
  EXPECT_EQ(launchOne()["executable"], executableIn(copy).string());
}

class ExecutableName : public Start, public testing::WithParamInterface<const char*> {};

TEST_P(ExecutableName, StaysInItsFolder) {
  const Copy copy = makeCopy().list(propertyList(
      {{"CFBundleExecutable", GetParam()}, {"CFBundleShortVersionString", "45.12.0.1"}}));
  fs::copy_file(PROBE_PROGRAM, bundleIn(copy) / "Contents" / "x");
  EXPECT_EQ(
      launchNone(),
      std::string("Failed to run the app: CFBundleExecutable is no file name: ") + GetParam());
}

INSTANTIATE_TEST_SUITE_P(
    Path, ExecutableName, testing::Values("../x", "..", ".", "/bin/true", "sub/x", "x/"));

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
  shareHome();
  tell({"become-unprivileged"});
  EXPECT_EQ(launchOne().count("argument 1"), 1U);
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

std::ostream& operator<<(std::ostream& out, const Breakage& breakage) {
  return out << breakage.name;
}

constexpr const char* SHELL_COMMAND = "\ntouch \"$HOME/shell-ran\"\n";

const Breakage BREAKAGES[] = {
    {"NoFolder",
     [](const fs::path& executable) { fs::remove_all(executable.parent_path()); },
     "No such file or directory"},
    {"NoFile",
     [](const fs::path& executable) { fs::remove(executable); },
     "No such file or directory"},
    {"NotExecutable",
     [](const fs::path& executable) { fs::permissions(executable, fs::perms(0644)); },
     "Permission denied"},
    {"Folder",
     [](const fs::path& executable) {
       fs::remove(executable);
       fs::create_directory(executable);
     },
     "Permission denied"},
    {"UnknownFormat",
     [](const fs::path& executable) { replaceByScript(executable, SHELL_COMMAND); },
     "Exec format error"},
    {"Empty",
     [](const fs::path& executable) { fs::resize_file(executable, 0); },
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

class BrokenCopy : public Start, public testing::WithParamInterface<Breakage> {};

TEST_P(BrokenCopy, IsReported) {
  const Copy copy = makeCopy();
  GetParam().apply(executableIn(copy));
  EXPECT_EQ(launchNone(), failure(executableIn(copy), GetParam().reason));
  EXPECT_EQ(readFile(copy.dir() / "launchCount.dat"), "1");
  EXPECT_FALSE(fs::exists(home.path() / "shell-ran"));
}

INSTANTIATE_TEST_SUITE_P(Kind, BrokenCopy, testing::ValuesIn(BREAKAGES), [](const auto& test) {
  return test.param.name;
});

TEST_F(Start, ReportsWithoutStreams) {
  const Copy copy = makeCopy();
  fs::remove(executableIn(copy));
  tell({"close-standard-streams"});
  EXPECT_EQ(launchNone(), failure(executableIn(copy), "No such file or directory"));
}

// A path is text, not a format.
TEST_F(Start, ReportsPercentSigns) {
  const Copy copy = makeCopy(home.launcherFolder() / "100%s%d%n");
  fs::remove(executableIn(copy));
  EXPECT_EQ(launchNone(), failure(executableIn(copy), "No such file or directory"));
}

TEST_F(Start, ReportsDeniedProcess) {
  makeCopy();
  tell({"answer", "fork", "no"});
  EXPECT_THAT(launchNone(), MatchesRegex("Failed to run the app: .*fork.*\\(.*unavailable\\)"));
}

TEST_F(Start, ReportsDeniedPipe) {
  const Copy copy = makeCopy();
  tell({"answer", "pipe2", "no"});
  const auto before = part(host().describe(), "descriptor 0");
  EXPECT_EQ(launch(), "returned 0");
  EXPECT_EQ(outcome(), failure(executableIn(copy), "Too many open files"));
  EXPECT_EQ(part(host().describe(), "descriptor 0"), before);
}

TEST_F(Start, ReportsDeniedMemory) {
  makeCopy();
  tell({"answer", "new", "no"});
  EXPECT_EQ(launchNone(), "Failed to run the app: std::bad_alloc");
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

// Only that thread could report it.
TEST_F(Start, FailsSilentlyWithoutThread) {
  const Copy copy = makeCopy();
  tell({"answer", "pthread_create", "no"});
  EXPECT_EQ(launch(), "returned 0");
  EXPECT_EQ(readFile(copy.dir() / "launchCount.dat"), "1");
  EXPECT_EQ(host().threads(), 1);
  EXPECT_THAT(reports(), IsEmpty());
  EXPECT_THAT(systemLog->awaitMessages(0), IsEmpty());
}

// --- Time ---

TEST_F(Start, TwiceGivesTwoInstances) {
  const Copy copy = makeCopy();
  EXPECT_EQ(launch(), "returned 0");
  EXPECT_EQ(launch(), "returned 0");
  EXPECT_THAT(systemLog->awaitMessages(2), testing::ElementsAre(SUCCESS, SUCCESS));
  EXPECT_EQ(reports().size(), 2U);
  EXPECT_EQ(readFile(copy.dir() / "launchCount.dat"), "2");
}

// A thread that nobody joins must be detached, or its stack stays mapped.
TEST_F(Start, IsFollowedByOnePause) {
  const Copy copy = makeCopy();
  for (const fs::path& removed : {fs::path(), executableIn(copy), copy.dir()}) {
    fs::remove_all(removed);
    EXPECT_EQ(launch(), "returned 0");
    EXPECT_EQ(host().ask({"journal"}), "detached thread, pause");
  }
  EXPECT_EQ(systemLog->awaitMessages(3).size(), 3U);
}

// The one test in which the pause is slept.
TEST_F(Start, HoldsCallerFor3Seconds) {
  tell({"sleep-really"});
  const auto before = std::chrono::steady_clock::now();
  EXPECT_EQ(launch(), "returned 0");
  EXPECT_GE(std::chrono::steady_clock::now() - before, std::chrono::milliseconds(3000));
  EXPECT_EQ(host().ask({"journal"}), "detached thread, pause");
  EXPECT_THAT(outcome(), EndsWith("No such file or directory"));
}

TEST_F(Start, IsNotAwaited) {
  makeCopy();
  tell({"answer", "fork", "later"});
  EXPECT_EQ(launch(), "returned 0");
  EXPECT_EQ(host().threads(), 2);
  EXPECT_TRUE(fs::is_empty(home.path() / "reports"));
  tell({"answer", "fork", "yes"});
  EXPECT_EQ(outcome(), SUCCESS);
  EXPECT_EQ(reports().size(), 1U);
}

TEST_F(Start, IgnoresStalledLog) {
  makeCopy();
  systemLog->stall();
  EXPECT_EQ(launch(), "returned 0");
  EXPECT_EQ(host().threads(), 2);
  EXPECT_EQ(outcome(), SUCCESS);
}

// --- Hosts of many kinds ---

TEST_F(Start, HasStackEnough) {
  makeCopy();
  tell({"use-tiny-stacks"});
  EXPECT_EQ(launchOne().count("argument 1"), 1U);
}

using Children = StartByHost;

TEST_P(Children, AreTreatedAsBefore) {
  makeCopy();
  tell({"children", GetParam()});
  auto before = host().describe();
  EXPECT_EQ(launch(), "returned 0");
  EXPECT_EQ(outcome(), SUCCESS);
  auto after = host().describe();
  EXPECT_EQ(part(after, "disposition"), part(before, "disposition"));
  EXPECT_EQ(after["children"], "none");
  EXPECT_EQ(after["threads"], before["threads"]);
  EXPECT_EQ(reports().size(), 1U);
}

INSTANTIATE_TEST_SUITE_P(
    Host, Children, testing::Values("ignore", "handle", "leave-unwaited"), StartByHost::name);

} // namespace test
