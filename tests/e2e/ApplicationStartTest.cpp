#include "EndToEndTest.h"

#include <algorithm>
#include <chrono>
#include <fstream>

namespace fs = std::filesystem;

using testing::EndsWith;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::StartsWith;

namespace test {

namespace {

constexpr const char* SUCCESS = "launch app succeed";
constexpr const char* NO_SIGNALS = "0000000000000000";

std::string failure(const fs::path& file, const std::string& reason) {
  return "Failed to run the app: " + file.string() + ": " + reason;
}

// The entries whose name begins so.
HostState part(const HostState& report, const std::string& prefix) {
  HostState found;
  for (const auto& [name, value] : report) {
    if (name.compare(0, prefix.size(), prefix) == 0)
      found.emplace(name, value);
  }
  return found;
}

void makeExecutableFile(const fs::path& file, const std::string& content) {
  writeFile(file, content);
  fs::permissions(file, fs::perms(0755));
}

std::string nestedArrays(int depth) {
  std::string text;
  for (int i = 0; i < depth; ++i)
    text = "<array>" + text + "</array>";
  return text;
}

// A test's name may not hold a dash.
std::string nameOf(const testing::TestParamInfo<const char*>& test) {
  std::string name = test.param;
  std::replace(name.begin(), name.end(), '-', '_');
  return name;
}

} // namespace

class ApplicationStart : public EndToEnd {
protected:
  // The report of the one application that is started by one launch.
  HostState launchOne() {
    EXPECT_EQ(launch({"launchermode"}), "returned 0");
    EXPECT_EQ(outcome(), SUCCESS);
    const auto all = reports();
    return all.size() == 1 ? all[0] : HostState();
  }

  // The outcome of one launch that does not start anything.
  std::string launchNone() {
    EXPECT_EQ(launch({"launchermode"}), "returned 0");
    const std::string message = outcome();
    EXPECT_THAT(reports(), IsEmpty());
    return message;
  }

  // Starts the copy with this argument and without a host.
  HostState start(const fs::path& dir, const std::string& argument) {
    EXPECT_EQ(run(STARTER_PROGRAM, {dir.string(), argument}), 0);
    EXPECT_EQ(outcome(), SUCCESS);
    const auto all = reports();
    return all.size() == 1 ? all[0] : HostState();
  }
};

// --- What the application is given ---

TEST_F(ApplicationStart, GivesExactlyTheArgumentLoadmode) {
  const fs::path copy = makeCopy("copy", "45.12.0.1");
  const HostState expected{{"argument 0", executableIn(copy).string()}, {"argument 1", "loadmode"}};
  EXPECT_EQ(part(launchOne(), "argument "), expected);
}

TEST_F(ApplicationStart, GivesASessionOfItsOwnTheRootFolderAndNoStandardStreams) {
  makeCopy("copy", "45.12.0.1");
  const std::string hostId = std::to_string(host().id());
  auto application = launchOne();
  EXPECT_EQ(application["session"], application["process"]);
  EXPECT_EQ(application["process group"], application["process"]);
  EXPECT_NE(application["parent"], hostId);
  EXPECT_EQ(application["folder"], "/");
  EXPECT_THAT(application["descriptor 0"], StartsWith("/dev/null read"));
  EXPECT_THAT(application["descriptor 1"], MatchesRegex("/dev/null (read-)?write"));
  EXPECT_THAT(application["descriptor 2"], MatchesRegex("/dev/null (read-)?write"));
}

TEST_F(ApplicationStart, GivesStandardStreamsAlsoWhereTheHostHasNone) {
  makeCopy("copy", "45.12.0.1");
  EXPECT_EQ(host().ask({"close-standard-streams"}), "closed");
  auto application = launchOne();
  EXPECT_THAT(application["descriptor 0"], StartsWith("/dev/null read"));
  EXPECT_THAT(application["descriptor 1"], MatchesRegex("/dev/null (read-)?write"));
  EXPECT_THAT(application["descriptor 2"], MatchesRegex("/dev/null (read-)?write"));
  EXPECT_EQ(part(application, "descriptor ").size(), 3U);
}

TEST_F(ApplicationStart, GivesTheHostsEnvironmentUmaskAndLimits) {
  makeCopy("copy", "45.12.0.1");
  const ScopedEnvironment odd("LAUNCHER_TEST_VALUE", "two words = $HOME, and\na line feed");
  const ScopedEnvironment empty("LAUNCHER_TEST_EMPTY", "");
  const auto hostReport = host().describe();
  const auto application = launchOne();
  EXPECT_EQ(part(application, "environment "), part(hostReport, "environment "));
  EXPECT_EQ(part(application, "environment LAUNCHER_TEST").size(), 2U);
  EXPECT_EQ(part(application, "umask"), part(hostReport, "umask"));
  EXPECT_EQ(part(application, "limit "), part(hostReport, "limit "));
}

TEST_F(ApplicationStart, GivesNoneOfTheHostsDescriptors) {
  makeCopy("copy", "45.12.0.1");
  EXPECT_EQ(host().ask({"open-descriptors"}), "opened");
  EXPECT_EQ(part(host().describe(), "descriptor 700").size(), 1U);
  EXPECT_EQ(part(launchOne(), "descriptor ").size(), 3U);
}

class ApplicationSignals : public ApplicationStart,
                           public testing::WithParamInterface<const char*> {};

TEST_P(ApplicationSignals, AreDefaultAndUnblockedWhateverTheHostDoesWithThem) {
  makeCopy("copy", "45.12.0.1");
  EXPECT_NE(host().ask({GetParam()}), "refused");
  auto application = launchOne();
  EXPECT_EQ(application["signals ignored"], NO_SIGNALS);
  EXPECT_EQ(application["signals handled"], NO_SIGNALS);
  EXPECT_EQ(application["signals blocked"], NO_SIGNALS);
}

INSTANTIATE_TEST_SUITE_P(
    OfHosts,
    ApplicationSignals,
    testing::Values("ignore-signals", "handle-signals", "block-signals"),
    nameOf);

// --- Arguments ---

TEST_F(ApplicationStart, HandsOverAnArgumentWithBlanksUnsplit) {
  auto application = start(makeCopy("copy", "45.12.0.1"), " two  words \"and\" $(quotes) ");
  EXPECT_EQ(application["argument 1"], " two  words \"and\" $(quotes) ");
  EXPECT_EQ(part(application, "argument ").size(), 2U);
}

TEST_F(ApplicationStart, HandsOverAnEmptyArgument) {
  const auto application = start(makeCopy("copy", "45.12.0.1"), "");
  ASSERT_EQ(part(application, "argument ").size(), 2U);
  EXPECT_EQ(application.at("argument 1"), "");
}

TEST_F(ApplicationStart, HandsOverUtf8) {
  auto application = start(makeCopy("copy", "45.12.0.1"), "Gr\u00fc\u00dfe \u65e5\u672c");
  EXPECT_EQ(application["argument 1"], "Gr\u00fc\u00dfe \u65e5\u672c");
}

TEST_F(ApplicationStart, LeavesOutAnArgumentThatIsNotUtf8) {
  const auto application = start(makeCopy("copy", "45.12.0.1"), "load\xFFmode");
  EXPECT_EQ(part(application, "argument ").size(), 1U);
}

// --- Which executable ---

TEST_F(ApplicationStart, RunsTheExecutableThatThePropertyListNames) {
  const fs::path copy = makeCopy("copy", "45.12.0.1");
  const fs::path named = executableIn(copy).replace_filename("Another Name");
  fs::rename(executableIn(copy), named);
  writeFile(
      copy / "OrlixVDIPlugin.app" / "Contents" / "Info.plist",
      propertyList(
          {{"CFBundleExecutable", "Another Name"}, {"CFBundleShortVersionString", "45.12.0.1"}}));
  EXPECT_EQ(launchOne()["executable"], named.string());
}

TEST_F(ApplicationStart, RunsTheExecutableOfTheBundlesNameWhereThePropertyListNamesNone) {
  const fs::path copy = makeCopy("copy", "45.12.0.1");
  writeFile(
      copy / "OrlixVDIPlugin.app" / "Contents" / "Info.plist",
      propertyList({{"CFBundleShortVersionString", "45.12.0.1"}}));
  EXPECT_EQ(launchOne()["executable"], executableIn(copy).string());
}

TEST_F(ApplicationStart, RunsTheExecutableOfTheBundlesNameWithoutAPropertyList) {
  const fs::path copy = makeCopy("copy", "45.12.0.1");
  fs::remove(copy / "OrlixVDIPlugin.app" / "Contents" / "Info.plist");
  EXPECT_EQ(launchOne()["executable"], executableIn(copy).string());
}

class ExecutableName : public ApplicationStart, public testing::WithParamInterface<const char*> {};

TEST_P(ExecutableName, ThatLeavesItsFolderIsRefused) {
  const fs::path copy = makeCopy("copy", "45.12.0.1");
  const fs::path outside = copy / "OrlixVDIPlugin.app" / "Contents" / "x";
  fs::copy_file(PROBE_PROGRAM, outside);
  writeFile(
      copy / "OrlixVDIPlugin.app" / "Contents" / "Info.plist",
      propertyList(
          {{"CFBundleExecutable", GetParam()}, {"CFBundleShortVersionString", "45.12.0.1"}}));
  EXPECT_EQ(
      launchNone(),
      std::string("Failed to run the app: CFBundleExecutable is no file name: ") + GetParam());
}

INSTANTIATE_TEST_SUITE_P(
    Path, ExecutableName, testing::Values("../x", "..", ".", "/bin/true", "sub/x", "x/"));

TEST_F(ApplicationStart, RunsAScript) {
  const fs::path copy = makeCopy("copy", "45.12.0.1");
  fs::remove(executableIn(copy));
  makeExecutableFile(
      executableIn(copy), std::string("#!/bin/sh\nexec '") + PROBE_PROGRAM + "' \"$0\" \"$@\"\n");
  auto application = launchOne();
  EXPECT_EQ(application["argument 1"], executableIn(copy).string());
  EXPECT_EQ(application["argument 2"], "loadmode");
}

TEST_F(ApplicationStart, RunsAnExecutableThatMayNotBeRead) {
  const fs::path copy = makeCopyIn("/Applications", "45.12.0.1");
  fs::permissions(executableIn(copy), fs::perms(0111));
  fs::permissions(home.path(), fs::perms(0777));
  for (const auto& entry : fs::recursive_directory_iterator(home.path()))
    fs::permissions(entry.path(), fs::perms(0777));
  EXPECT_EQ(host().ask({"become-unprivileged"}), "unprivileged");
  EXPECT_EQ(launchOne().count("argument 1"), 1U);
}

TEST_F(ApplicationStart, ResolvesARelativeFolderAgainstTheWorkingFolderOfTheCaller) {
  const fs::path copy = makeCopyIn(fs::current_path(), "45.12.0.1");
  EXPECT_EQ(start("", "loadmode")["executable"], executableIn(copy).string());
}

TEST_F(ApplicationStart, JoinsAFolderWithATrailingSeparatorByOneSeparator) {
  const fs::path copy = makeCopy("copy", "45.12.0.1");
  auto application = start(copy / "", "loadmode");
  EXPECT_EQ(application["argument 0"], executableIn(copy).string());
}

// --- Failures: one line in the system log, and the launch goes on ---

TEST_F(ApplicationStart, ReportsAMissingBundle) {
  const fs::path missing = home.path() / "missing";
  EXPECT_EQ(run(STARTER_PROGRAM, {missing.string(), "loadmode"}), 0);
  EXPECT_EQ(outcome(), failure(executableIn(missing), "No such file or directory"));
}

TEST_F(ApplicationStart, ReportsAMissingExecutable) {
  const fs::path copy = makeCopy("copy", "45.12.0.1");
  fs::remove(executableIn(copy));
  EXPECT_EQ(launchNone(), failure(executableIn(copy), "No such file or directory"));
  EXPECT_EQ(readFile(copy / "launchCount.dat"), "1");
}

TEST_F(ApplicationStart, ReportsAFailureAlsoWhereTheHostHasNoStandardStreams) {
  const fs::path copy = makeCopy("copy", "45.12.0.1");
  fs::remove(executableIn(copy));
  EXPECT_EQ(host().ask({"close-standard-streams"}), "closed");
  EXPECT_EQ(launchNone(), failure(executableIn(copy), "No such file or directory"));
}

TEST_F(ApplicationStart, ReportsAFileThatIsNotExecutable) {
  const fs::path copy = makeCopy("copy", "45.12.0.1");
  fs::permissions(executableIn(copy), fs::perms(0644));
  EXPECT_EQ(launchNone(), failure(executableIn(copy), "Permission denied"));
}

TEST_F(ApplicationStart, ReportsAFolderInPlaceOfTheExecutable) {
  const fs::path copy = makeCopy("copy", "45.12.0.1");
  fs::remove(executableIn(copy));
  fs::create_directories(executableIn(copy));
  EXPECT_EQ(launchNone(), failure(executableIn(copy), "Permission denied"));
}

TEST_F(ApplicationStart, HandsAFileOfAnUnknownFormatToNoShell) {
  const fs::path copy = makeCopy("copy", "45.12.0.1");
  fs::remove(executableIn(copy));
  makeExecutableFile(executableIn(copy), "touch '" + (home.path() / "shell-ran").string() + "'\n");
  EXPECT_EQ(launchNone(), failure(executableIn(copy), "Exec format error"));
  EXPECT_FALSE(fs::exists(home.path() / "shell-ran"));
}

TEST_F(ApplicationStart, ReportsAnEmptyExecutable) {
  const fs::path copy = makeCopy("copy", "45.12.0.1");
  fs::resize_file(executableIn(copy), 0);
  EXPECT_EQ(launchNone(), failure(executableIn(copy), "Exec format error"));
}

// As a copy has that was half installed.
TEST_F(ApplicationStart, HandsATruncatedProgramToNoShell) {
  const fs::path copy = makeCopy("copy", "45.12.0.1");
  fs::resize_file(executableIn(copy), 40);
  std::ofstream(executableIn(copy), std::ios::app)
      << "\ntouch '" << (home.path() / "shell-ran").string() << "'\n";
  EXPECT_EQ(launchNone(), failure(executableIn(copy), "Exec format error"));
  EXPECT_FALSE(fs::exists(home.path() / "shell-ran"));
}

TEST_F(ApplicationStart, ReportsAScriptWithoutItsInterpreter) {
  const fs::path copy = makeCopy("copy", "45.12.0.1");
  fs::remove(executableIn(copy));
  makeExecutableFile(executableIn(copy), "#!/missing/interpreter\n");
  EXPECT_EQ(launchNone(), failure(executableIn(copy), "No such file or directory"));
}

// --- Instances ---

TEST_F(ApplicationStart, StartsTwoInstancesInTwoCalls) {
  const fs::path copy = makeCopy("copy", "45.12.0.1");
  EXPECT_EQ(launch({"launchermode"}), "returned 0");
  EXPECT_EQ(launch({"launchermode"}), "returned 0");
  EXPECT_THAT(systemLog->awaitMessages(2), testing::ElementsAre(SUCCESS, SUCCESS));
  EXPECT_EQ(reports().size(), 2U);
  EXPECT_EQ(readFile(copy / "launchCount.dat"), "2");
}

// --- Time ---

TEST_F(ApplicationStart, IsFollowedByOnePauseOf3000MillisecondsWhateverBecomesOfIt) {
  const fs::path copy = makeCopy("copy", "45.12.0.1");
  EXPECT_EQ(launch({"launchermode"}), "returned 0");
  EXPECT_EQ(host().ask({"pauses"}), "1");
  fs::remove(executableIn(copy));
  EXPECT_EQ(launch({"launchermode"}), "returned 0");
  EXPECT_EQ(host().ask({"pauses"}), "2");
  fs::remove_all(copy);
  EXPECT_EQ(launch({"launchermode"}), "returned 0");
  EXPECT_EQ(host().ask({"pauses"}), "3");
  EXPECT_EQ(systemLog->awaitMessages(3).size(), 3U);
}

// The one test in which the pause is slept.
TEST_F(ApplicationStart, HoldsTheCallerFor3000Milliseconds) {
  EXPECT_EQ(host().ask({"sleep-really"}), "so be it");
  const auto before = std::chrono::steady_clock::now();
  EXPECT_EQ(launch({"launchermode"}), "returned 0");
  EXPECT_GE(std::chrono::steady_clock::now() - before, std::chrono::milliseconds(3000));
  EXPECT_EQ(host().ask({"pauses"}), "1");
  EXPECT_THAT(outcome(), EndsWith("No such file or directory"));
}

TEST_F(ApplicationStart, IsNotWaitedForByTheCaller) {
  makeCopy("copy", "45.12.0.1");
  EXPECT_EQ(host().ask({"hold-up-forks"}), "held up");
  EXPECT_EQ(launch({"launchermode"}), "returned 0");
  EXPECT_EQ(host().threads(), 2);
  EXPECT_TRUE(fs::is_empty(home.path() / "reports"));
  EXPECT_EQ(host().ask({"release-forks"}), "released");
  EXPECT_EQ(outcome(), SUCCESS);
  EXPECT_EQ(reports().size(), 1U);
}

TEST_F(ApplicationStart, DoesNotHoldTheCallerUpWhileTheSystemLogIsStalled) {
  makeCopy("copy", "45.12.0.1");
  systemLog->stall();
  EXPECT_EQ(launch({"launchermode"}), "returned 0");
  EXPECT_EQ(host().threads(), 2);
  EXPECT_EQ(outcome(), SUCCESS);
}

// --- Hosts of many kinds ---

TEST_F(ApplicationStart, SucceedsInAHostWhoseThreadsHaveTinyStacks) {
  const fs::path copy = makeCopy("copy", "45.12.0.1");
  const std::string list = propertyList({{"CFBundleShortVersionString", "45.12.0.1"}});
  writeFile(
      copy / "OrlixVDIPlugin.app" / "Contents" / "Info.plist",
      std::string(list).insert(list.rfind("</dict>"), "<key>Deep</key>" + nestedArrays(1500)));
  EXPECT_EQ(host().ask({"use-tiny-stacks"}), "tiny");
  EXPECT_EQ(launchOne().count("argument 1"), 1U);
}

TEST_F(ApplicationStart, ReportsThatNoProcessCanBeHad) {
  makeCopy("copy", "45.12.0.1");
  EXPECT_EQ(host().ask({"refuse-forks"}), "refused");
  EXPECT_THAT(launchNone(), MatchesRegex("Failed to run the app: .*fork.*\\(.*unavailable\\)"));
}

// There is no one left to report it.
TEST_F(ApplicationStart, FailsInSilenceWhereNoThreadCanBeHad) {
  const fs::path copy = makeCopy("copy", "45.12.0.1");
  EXPECT_EQ(host().ask({"refuse-threads"}), "refused");
  EXPECT_EQ(launch({"launchermode"}), "returned 0");
  EXPECT_EQ(readFile(copy / "launchCount.dat"), "1");
  EXPECT_EQ(host().threads(), 1);
  EXPECT_THAT(reports(), IsEmpty());
  EXPECT_THAT(systemLog->awaitMessages(0), IsEmpty());
}

class HostsChildren : public ApplicationStart, public testing::WithParamInterface<const char*> {};

TEST_P(HostsChildren, AreTreatedAsBeforeAndNoneIsLeft) {
  makeCopy("copy", "45.12.0.1");
  EXPECT_EQ(host().ask({"children", GetParam()}), "set");
  auto before = host().describe();
  EXPECT_EQ(launch({"launchermode"}), "returned 0");
  EXPECT_EQ(outcome(), SUCCESS);
  auto after = host().describe();
  EXPECT_EQ(part(after, "disposition"), part(before, "disposition"));
  EXPECT_EQ(after["children"], "none");
  EXPECT_EQ(after["threads"], before["threads"]);
  EXPECT_EQ(reports().size(), 1U);
}

INSTANTIATE_TEST_SUITE_P(
    Dispositions, HostsChildren, testing::Values("ignore", "handle", "leave-unwaited"), nameOf);

} // namespace test
