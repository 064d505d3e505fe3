// The command as a user runs it.

#include "Home.h"
#include "Process.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <pwd.h>
#include <unistd.h>

namespace fs = std::filesystem;

using namespace testing;
using nlohmann::json;
using test::Result;
using test::ScopedEnvironment;
using test::ScopedHome;

namespace {

Result inspect(std::vector<std::string> arguments, const fs::path& workingDirectory = "/") {
  arguments.insert(arguments.begin(), LAUNCHER_INSPECT);
  return test::run({arguments, workingDirectory});
}

class Command : public ::testing::Test {
protected:
  const ScopedHome home;
};

} // namespace

TEST_F(Command, EndsWithTwoOnWrongUsage) {
  const std::pair<std::vector<std::string>, std::string> rows[] = {
      {{"--home", "/no/folder"},
       "--home: \"/no/folder\" is no folder that can be used (No such file or directory); name "
       "an "},
      {{"--home", "/dev/null"}, "Not a directory); name an existing one"},
      {{"--home", ""}, "name an existing one"},
      {{"--working-directory", "/no/folder"}, "No such file or directory); name an existing one"},
      {{"--working-directory", "/dev/null"}, "Not a directory); name an existing one"},
      {{"--home"}, "give the option once, with one value"},
      {{"--json", "--client-version", "1", "--client-version", "2"}, "give the option once"},
      {{"--no-such-option"}, "not expected: --no-such-option"},
      {{"word"}, "not expected: word"},
      {{"--json", "--brief"}, "--brief excludes --json; give one of the two"},
      {{"--brief", "--explain", "a"}, "--brief excludes --explain; give one of the two"},
      {{"--explain", "none"},
       R"(--explain: "none" is none of the candidates; give the name of a folder)"},
      {{"--explain", ""}, R"("launcher-inspect --brief" lists them)"},
      {{"--home", "/\x1b[31m\n\u202E"}, R"("/\x1b[31m\n\xe2\x80\xae" is no folder)"},
      {{"\x1b[31m"}, R"(not expected: \x1b[31m)"}};
  for (const auto& [arguments, message] : rows) {
    const Result result = inspect(arguments);
    EXPECT_EQ(result.status, 2) << message;
    EXPECT_EQ(result.out, "");
    EXPECT_THAT(result.err, StartsWith("launcher-inspect: "));
    EXPECT_THAT(result.err, AllOf(HasSubstr(message), HasSubstr("--help\" for")));
  }
}

TEST_F(Command, EndsWithThreeIfItCannotTell) {
  home.copy("a");
  std::filesystem::create_symlink("loop", home.launcherDirectory() / "loop");
  for (const char* form : {"--json", "--brief", "--explain=a", "--explain=none", "--mask"})
    EXPECT_EQ(inspect({form}).status, 3) << form;
  EXPECT_THAT(inspect({"--explain=loop"}).out, HasSubstr("\n  stopped: "));
}

TEST_F(Command, InspectsOtherHome) {
  const test::ScopedDirectory other;
  test::Copy(other.path() / "Library/Application Support/VantuOrlixVDILauncher/a");
  EXPECT_EQ(inspect({"--home", other.path()}).status, 0);
  const fs::path name = other.path().filename();
  const Result relative =
      inspect({"--json", "--home", name, "--working-directory", "/"}, other.path().parent_path());
  EXPECT_EQ(json::parse(relative.out)["home"], other.path().string());
  EXPECT_EQ(relative.status, 0);
}

TEST_F(Command, NormalisesHome) {
  home.copy("a").launches("3");
  fs::create_directory(home.path() / "inside");
  const auto report = [&](const std::string& name) {
    return inspect({"--json", "--home", name}, home.path() / "inside").out;
  };
  const std::string absolute = report(home.path());
  const std::string name = home.path().filename();
  const std::string others[] = {
      home.path().string() + "/",
      home.path().string() + "/inside/..",
      "..",
      "./../",
      "../../" + name};
  for (const auto& other : others)
    EXPECT_EQ(report(other), absolute) << other;
}

// Those of USER, of the account and of the home's owner, whatever the output.
TEST_F(Command, MasksNames) {
  constexpr uid_t DAEMON = 1;
  const uid_t owner = ::geteuid() == 0 ? DAEMON : ::geteuid();
  ASSERT_EQ(::chown(home.path().c_str(), owner, ::getegid()), 0);
  const std::string own = ::getpwuid(::geteuid())->pw_name;
  const std::string all = "alice's " + own + "'s " + ::getpwuid(owner)->pw_name + "'s";
  const std::string missing = home.path() / all;
  home.copy(all);
  const std::vector<std::vector<std::string>> rows = {
      {}, {"--json"}, {"--explain", "no " + all}, {all}, {"--home", missing}};
  for (auto words : rows) {
    words.insert(words.begin(), "--mask");
    const ScopedEnvironment user("USER", "alice");
    const Result result = inspect(words);
    EXPECT_THAT(result.out + result.err, AllOf(HasSubstr("*'s "), Not(ContainsRegex("[a-z]'s"))));
  }
  const ScopedEnvironment elsewhere("HOME", "/");
  const std::string named = home.path();
  for (const std::vector<std::string>& words :
       {std::vector<std::string>{"--mask", "--home", named, all},
        {"--mask", "--home=" + named, all}})
    EXPECT_THAT(inspect(words).err, AllOf(HasSubstr("*'s"), Not(ContainsRegex("(root|daemon)'s"))));
}

TEST_F(Command, MasksAccountWithoutUser) {
  const std::string own = ::getpwuid(::geteuid())->pw_name;
  home.copy("alice's " + own + "'s");
  const ScopedEnvironment user("USER", "");
  EXPECT_THAT(inspect({"--mask"}).out, AllOf(HasSubstr("alice's *"), Not(HasSubstr(own + "'s"))));
}

TEST_F(Command, NeedsNameToMask) {
  const ScopedEnvironment user("USER", "");
  const Result result =
      test::run({{"unshare", "--user", "--map-user=4242", LAUNCHER_INSPECT, "--mask"}});
  EXPECT_EQ(result.status, 2);
  EXPECT_THAT(
      result.err,
      StartsWith("launcher-inspect: --mask: this user has no login name; set USER to the name"));
}

TEST_F(Command, ChecksForMonitoring) {
  const auto check = [](std::vector<std::string> more) {
    more.emplace_back("--check");
    const Result result = inspect(std::move(more));
    return std::to_string(result.status) + " " + result.out + result.err;
  };
  EXPECT_EQ(
      check({}),
      "2 LAUNCHER CRITICAL - Nothing would start: no candidate is viable (nothing-viable)\n");
  EXPECT_THAT(
      check({"--brief"}), StartsWith("3 LAUNCHER UNKNOWN - --brief excludes --check; give one"));
  EXPECT_THAT(
      check({"--home", "/a|b"}), StartsWith("3 LAUNCHER UNKNOWN - --home: \"/a/b\" is no "));
  test::Copy copy = home.copy("a").startedSafely();
  EXPECT_THAT(
      check({}), StartsWith("2 LAUNCHER CRITICAL - Would start 45.12.0.900 (no-program, no-"));
  copy.complete();
  EXPECT_EQ(check({}), "0 LAUNCHER OK - Would start 45.12.0.900\n");
  EXPECT_EQ(
      check({"--client-version", "40.1"}),
      "1 LAUNCHER WARNING - Would start 45.12.0.900 (nothing-compatible)\n");
  fs::create_symlink("loop", home.launcherDirectory() / "loop");
  EXPECT_THAT(check({}), AllOf(StartsWith("2 LAUNCHER CRITICAL - "), EndsWith(" (failed)\n")));
}

TEST_F(Command, PrintsVersionAndHelp) {
  EXPECT_EQ(inspect({"--version"}).status, 0);
  EXPECT_EQ(inspect({"--version"}).out, "launcher-inspect " LAUNCHER_VERSION "\n");
  const Result help = inspect({"--help"});
  EXPECT_EQ(help.status, 0);
  EXPECT_THAT(
      help.out,
      AllOf(
          StartsWith("Tells which copy"),
          HasSubstr("\nWith --check: 0 well, 1 warning, 2 critical, 3 unknown."),
          HasSubstr("\nUsage: launcher-inspect [OPTIONS]\n"),
          HasSubstr("--working-directory DIR"),
          HasSubstr("1.0.0.1 is any"),
          HasSubstr("0 a copy would start, 1 none would, 2 wrong usage,"),
          HasSubstr("\n3 an error would stop the launcher or has stopped this report.")));
  for (const auto& line : test::splitLines(help.out))
    EXPECT_LE(line.size(), 80U) << line;
}

TEST_F(Command, FailsOnFullDisk) {
  home.copy("a");
  for (const char* form : {"--mask", "--json", "--brief", "--explain=a", "--help", "--version"}) {
    const Result result =
        test::run({{"sh", "-c", "exec \"$0\" \"$1\" >/dev/full", LAUNCHER_INSPECT, form}});
    EXPECT_EQ(result.status, 3) << form;
    EXPECT_THAT(result.err, HasSubstr("cannot be written")) << form;
  }
}

TEST_F(Command, PrintsAbsolutePaths) {
  home.copy("a");
  const Result result = inspect({"--json"});
  EXPECT_TRUE(fs::is_directory(json::parse(result.out)["chosen"]["directory"].get<std::string>()));
  EXPECT_THAT(result.out, Not(HasSubstr("~")));
  EXPECT_THAT(inspect({}).out, HasSubstr("\n  ~/Library/Application Support/"));
}

TEST_F(Command, PrintsBriefly) {
  home.copy("a", "45.11");
  home.copy("b", "45.12");
  EXPECT_THAT(
      inspect({"--brief"}).out, StartsWith("> 45.12  would-start  b\n  45.11  older        a\n"));
  EXPECT_THAT(
      inspect({"--brief", "--client-version", "40.1"}).out, StartsWith("> 45.12  fallback  "));
}

TEST_F(Command, ExplainsByNameAndPath) {
  home.copy("a", "45.11");
  const test::Copy b = home.copy("b");
  const test::ScopedDirectory work;
  home.copy(work.path().filename()); // a name in the launcher folder comes before a path
  const auto explained = [](const std::string& folder, const fs::path& workingDirectory = "/") {
    const Result result = inspect({"--json", "--explain", folder}, workingDirectory);
    EXPECT_EQ(result.status, 0) << result.err;
    return json::parse(result.out)["explained"]["directory"];
  };
  for (const std::string& name :
       {std::string("b"), std::string("b/"), std::string("./b"), b.name(), b.name() + "/"})
    EXPECT_EQ(explained(name), b.name()) << name;
  EXPECT_EQ(explained("b", home.launcherDirectory()), b.name());
  EXPECT_EQ(explained("/Applications"), "/Applications");
  EXPECT_EQ(explained("../b", home.launcherDirectory() / "a"), b.name());
  EXPECT_EQ(explained(".", work.path()), work.path().string());
  const std::string name = work.path().filename();
  EXPECT_EQ(explained(name, work.path().parent_path()), (home.launcherDirectory() / name).string());
  EXPECT_THAT(inspect({"--explain", "a"}).out, HasSubstr("\n  not chosen: viable, older"));
  const Result elsewhere =
      inspect({"--json", "--explain", "../b", "--working-directory", "/"}, b.dir());
  EXPECT_EQ(json::parse(elsewhere.out)["explained"]["directory"], b.name());
}

// --- The log of a real launch ---

namespace {

class AfterALaunch : public Command {
protected:
  json lastLaunch(const fs::path& workingDirectory = "/") const {
    test::run({{HOST_PROGRAM, LAUNCHER_LIBRARY, "launchermode", "45.12"}, workingDirectory});
    return json::parse(inspect({"--json"}).out)["lastLaunch"];
  }

private:
  const ScopedEnvironment user{"USER", "test"}; // which the log masks in the home's name
};

} // namespace

TEST_F(AfterALaunch, TellsRecordedCopy) {
  home.copy("a").launches("6").startedSafely();
  const json launch = lastLaunch();
  EXPECT_EQ(launch["end"]["code"], "recorded");
  EXPECT_EQ(launch["launches"], 7);
  EXPECT_EQ(launch["clientVersion"], "45.12");
  const std::string folder = home.launcherDirectory() / "a";
  EXPECT_EQ(launch["chosen"], (json{{"directory", folder}, {"version", "45.12.0.900"}}));
}

// The host has no main library beside it.
TEST_F(AfterALaunch, TellsLoadMode) {
  test::run({{HOST_PROGRAM, LAUNCHER_LIBRARY, "loadmode"}});
  const json end = json::parse(inspect({"--json"}).out)["loadMode"]["end"];
  EXPECT_EQ(end["code"], "load-failed");
  EXPECT_THAT(end["text"].dump(), HasSubstr("libnexal_vdi_main.dylib: "));
  home.copy("a");
  lastLaunch();
  EXPECT_EQ(json::parse(inspect({"--json"}).out)["loadMode"]["end"]["code"], "not-since-launch");
}

TEST_F(AfterALaunch, TellsOtherEnds) {
  EXPECT_EQ(lastLaunch()["end"]["code"], "nothing-chosen");
  test::Copy(home.path());
  EXPECT_EQ(lastLaunch(home.path())["end"]["code"], "unrecorded");
  fs::create_directory(home.copy("a").dir() / "launchCount.dat");
  EXPECT_EQ(lastLaunch()["end"]["code"], "at-choice");
}

// --- Width and colour ---

namespace {

std::string onTerminal(unsigned short columns) {
  return test::runOnTerminal({LAUNCHER_INSPECT}, columns);
}

const auto HAS_COLOUR = HasSubstr("\x1b[");
const auto IS_WIDE = HasSubstr("VERDICT"); // which needs more than 80 columns

class OnTerminal : public Command {
protected:
  OnTerminal() { home.copy("a"); }

private:
  const ScopedEnvironment aTerminal{"TERM", "xterm"};
  const ScopedEnvironment noWidth{"COLUMNS", std::nullopt};
  const ScopedEnvironment noChoice{"NO_COLOR", std::nullopt};
};

} // namespace

TEST_F(OnTerminal, HasColourAndWidth) {
  EXPECT_THAT(onTerminal(200), AllOf(HAS_COLOUR, IS_WIDE));
  EXPECT_THAT(onTerminal(80), AllOf(HAS_COLOUR, Not(IS_WIDE)));
}

TEST_F(OnTerminal, ObeysColumns) {
  const std::tuple<const char*, unsigned short, bool> rows[] = {
      {"200", 80, true}, {"80", 200, false}, {"wide", 200, true}, {"-1", 80, false}};
  for (const auto& [columns, width, isWide] : rows) {
    const ScopedEnvironment variable("COLUMNS", columns);
    EXPECT_EQ(onTerminal(width).find("VERDICT") != std::string::npos, isWide) << columns;
  }
}

TEST_F(OnTerminal, HasNoColourWhereUnwanted) {
  for (const auto& [name, value] : {std::pair("NO_COLOR", "1"), {"TERM", "dumb"}}) {
    const ScopedEnvironment variable(name, value);
    EXPECT_THAT(onTerminal(80), Not(HAS_COLOUR)) << name;
  }
}

TEST_F(OnTerminal, StacksFields) {
  EXPECT_THAT(onTerminal(60), AllOf(HasSubstr("last launch  never"), Not(HasSubstr("FOLDER"))));
}

// A pipe gets every line whole, whatever COLUMNS says.
TEST_F(OnTerminal, DiffersFromPipe) {
  const ScopedEnvironment columns("COLUMNS", "40");
  EXPECT_THAT(inspect({}).out, AllOf(Not(HAS_COLOUR), IS_WIDE));
  EXPECT_THAT(inspect({}).out, HasSubstr("/VantuOrlixVDI/vdi-launch-launchmode-log.txt\n"));
}
