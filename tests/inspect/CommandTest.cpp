// The command as a user runs it.

#include "Home.h"
#include "Process.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

using nlohmann::json;
using test::Result;
using test::ScopedHome;
using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

namespace {

Result inspect(std::vector<std::string> arguments, const fs::path& workingDirectory = "/") {
  arguments.insert(arguments.begin(), LAUNCHER_INSPECT);
  return test::run({arguments, workingDirectory});
}

} // namespace

TEST(Command, EndsWithZeroWhenACopyWouldStart) {
  const ScopedHome home;
  test::Copy(home.launcherFolder() / "a", "45.12.0.900");
  const Result result = inspect({"--client-version", "45.12.0.1000"});
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.out, StartsWith("Would start 45.12.0.900\n"));
  EXPECT_EQ(result.err, "");
}

TEST(Command, EndsWithOneWhenNoCopyWouldStart) {
  const ScopedHome home;
  const Result result = inspect({});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.out, StartsWith("Nothing would start: no candidate is viable\n"));
}

TEST(Command, LooksIntoAnotherHome) {
  const ScopedHome own;
  const test::ScopedFolder other;
  test::Copy(other.path() / "Library/Application Support/VantuOrlixVDILauncher/a", "45.12.0.900");
  EXPECT_EQ(inspect({"--home", other.path()}).status, 0);
  const fs::path name = other.path().filename();
  const Result relative =
      inspect({"--json", "--home", name, "--working-directory", "/"}, other.path().parent_path());
  EXPECT_EQ(json::parse(relative.out)["home"], other.path().string());
  EXPECT_EQ(relative.status, 0);
}

TEST(Command, SeesWhatAHostInTheWorkingDirectorySees) {
  const ScopedHome home;
  const test::ScopedFolder work;
  test::Copy(work.path(), "45.12.0.900");
  EXPECT_EQ(inspect({}).status, 1);
  const Result result = inspect({"--json", "--working-directory", work.path()});
  EXPECT_EQ(json::parse(result.out)["chosen"]["directory"], work.path().string());
}

TEST(Command, PrintsOneJsonObject) {
  const ScopedHome home;
  test::Copy(home.launcherFolder() / "a\xff\n\"b", "45.12.0.900");
  const Result result = inspect({"--json"});
  const json report = json::parse(result.out);
  EXPECT_EQ(report["chosen"]["version"], "45.12.0.900");
  EXPECT_TRUE(report["chosen"].contains("directoryBytes"));
}

TEST(Command, MasksTheLoginNameAsTheLauncherDoes) {
  const ScopedHome home;
  const test::ScopedEnvironment user("USER", "launcher-test");
  EXPECT_THAT(inspect({}).out, HasSubstr("/launcher-test-"));
  EXPECT_THAT(
      inspect({"--mask"}).out,
      AllOf(Not(HasSubstr("/launcher-test-")), HasSubstr("/*************-")));
}

TEST(Command, MasksTheAccountsNameWhereUserIsEmpty) {
  const ScopedHome home;
  const test::ScopedEnvironment user("USER", "");
  EXPECT_EQ(inspect({"--mask"}).status, 1);
}

TEST(Command, PrintsItsVersion) {
  const Result result = inspect({"--version"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out, "launcher-inspect " LAUNCHER_VERSION "\n");
}

TEST(Command, PrintsItsHelp) {
  const Result result = inspect({"--help"});
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.out, HasSubstr("--working-directory DIR"));
}

TEST(Command, EndsWithTwoOnWrongUsageAndSaysWhatToDo) {
  const ScopedHome home;
  const std::vector<std::pair<std::vector<std::string>, std::string>> rows = {
      {{"--home", "/no/such/folder"}, "No such file or directory); name an existing one"},
      {{"--home", "/dev/null"}, "Not a directory); name an existing one"},
      {{"--home", ""}, "name an existing one"},
      {{"--working-directory", "/no/such/folder"}, "name an existing one"},
      {{"--home"}, "give the option once, with one value"},
      {{"--json", "--client-version", "1", "--client-version", "2"}, "give the option once"},
      {{"--no-such-option"}, "not expected: --no-such-option"},
      {{"word"}, "not expected: word"}};
  for (const auto& [arguments, message] : rows) {
    const Result result = inspect(arguments);
    EXPECT_EQ(result.status, 2) << message;
    EXPECT_EQ(result.out, "");
    EXPECT_THAT(
        result.err,
        AllOf(StartsWith("launcher-inspect: "), HasSubstr(message), HasSubstr("--help\" for")));
  }
}

TEST(Command, AnEmptyClientVersionIsNone) {
  const ScopedHome home;
  EXPECT_EQ(json::parse(inspect({"--json", "--client-version", ""}).out)["clientVersion"], "");
}

TEST(Command, FailsWhenItsReportCannotBeWritten) {
  const ScopedHome home;
  test::Copy(home.launcherFolder() / "a", "45.12.0.900");
  const Result result = test::run({{"sh", "-c", "exec \"$0\" >/dev/full", LAUNCHER_INSPECT}});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.err, HasSubstr("cannot be written"));
}

// --- The log of a real launch ---

namespace {

class AfterALaunch : public ::testing::Test {
protected:
  json lastLaunch(const fs::path& workingDirectory) {
    test::run({{IMPATIENT_HOST, LAUNCHER_LIBRARY, "launchermode", "45.12"}, workingDirectory});
    return json::parse(inspect({"--json"}).out)["lastLaunch"];
  }

  const ScopedHome home;

private:
  const test::ScopedEnvironment user{"USER", "test"}; // which the log masks in the home's name
};

} // namespace

TEST_F(AfterALaunch, TheLogTellsTheCopyAndThatItIsRecorded) {
  test::Copy(home.launcherFolder() / "a", "45.12.0.900");
  test::writeFile(home.launcherFolder() / "a/launchCount.dat", "6");
  test::writeFile(home.launcherFolder() / "a/started.dat", "");
  const json launch = lastLaunch("/");
  EXPECT_EQ(launch["end"]["code"], "recorded");
  EXPECT_EQ(launch["launches"], 7);
  EXPECT_EQ(launch["clientVersion"], "45.12");
  EXPECT_EQ(
      launch["chosen"],
      (json{
          {"directory", "~/Library/Application Support/VantuOrlixVDILauncher/a"},
          {"version", "45.12.0.900"}}));
}

TEST_F(AfterALaunch, TheLogTellsThatACopyElsewhereIsNotRecorded) {
  test::Copy(home.path(), "45.12.0.900");
  EXPECT_EQ(lastLaunch(home.path())["end"]["code"], "unrecorded");
}

TEST_F(AfterALaunch, TheLogTellsThatNothingWasChosen) {
  const json launch = lastLaunch("/");
  EXPECT_EQ(launch["end"]["code"], "nothing-chosen");
  EXPECT_TRUE(launch["chosen"].is_null());
}

TEST_F(AfterALaunch, TheLogTellsThatARecordCouldNotBeWritten) {
  test::Copy(home.launcherFolder() / "a", "45.12.0.900");
  fs::create_directory(home.launcherFolder() / "a/launchCount.dat");
  EXPECT_EQ(lastLaunch("/")["end"]["code"], "at-choice");
}

// --- Width and colour ---

namespace {

// What the command writes to a terminal of this width.
std::string onTerminal(unsigned short columns) {
  winsize size{24, columns, 0, 0};
  int terminal = -1;
  const pid_t child = ::forkpty(&terminal, nullptr, nullptr, &size);
  if (child == 0) {
    ::execl(LAUNCHER_INSPECT, LAUNCHER_INSPECT, nullptr);
    std::_Exit(127);
  }
  std::string text;
  char buffer[4096];
  for (ssize_t got; (got = ::read(terminal, buffer, sizeof buffer)) > 0;)
    text.append(buffer, static_cast<std::size_t>(got));
  ::close(terminal);
  ::waitpid(child, nullptr, 0);
  return text;
}

class OnTerminal : public ::testing::Test {
protected:
  OnTerminal() { test::Copy(home.launcherFolder() / "a", "45.12.0.900"); }

private:
  const ScopedHome home;
  const test::ScopedEnvironment aTerminal{"TERM", "xterm"};
  const test::ScopedEnvironment noWidth{"COLUMNS", std::nullopt};
  const test::ScopedEnvironment noChoice{"NO_COLOR", std::nullopt};
};

} // namespace

TEST_F(OnTerminal, HasColourAndTheTerminalsWidth) {
  EXPECT_THAT(
      onTerminal(200), AllOf(HasSubstr("\x1b["), HasSubstr("no          would start: the")));
  EXPECT_THAT(onTerminal(80), AllOf(HasSubstr("\x1b["), Not(HasSubstr("no          would start"))));
}

TEST_F(OnTerminal, HasNoColourWithNoColorSet) {
  const test::ScopedEnvironment noColor("NO_COLOR", "1");
  EXPECT_THAT(onTerminal(80), Not(HasSubstr("\x1b[")));
}

TEST_F(OnTerminal, HasNoColourOnADumbTerminal) {
  const test::ScopedEnvironment term("TERM", "dumb");
  EXPECT_THAT(onTerminal(80), Not(HasSubstr("\x1b[")));
}

TEST_F(OnTerminal, APipeHasNoColourAndEightyColumnsUnlessColumnsSaysOtherwise) {
  EXPECT_THAT(inspect({}).out, AllOf(Not(HasSubstr("\x1b[")), Not(HasSubstr("VERDICT"))));
  const test::ScopedEnvironment columns("COLUMNS", "200");
  EXPECT_THAT(inspect({}).out, AllOf(Not(HasSubstr("\x1b[")), HasSubstr("VERDICT")));
}
