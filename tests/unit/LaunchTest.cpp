#include "Eventually.h"
#include "FakeSleep.h"
#include "LauncherHelper.h"
#include "LauncherTest.h"
#include "SystemLogStandIn.h"
#include "ThinClientLauncherEntryPoint.h"

#include <syslog.h>

namespace fs = std::filesystem;

using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

namespace {

constexpr const char* SUCCESS = "launch app succeed";

// Applications that write down their arguments: one line with the count, one per argument.
class Launch : public test::LauncherTest {
protected:
  Launch() { test::takeSystemLog(0); }

  void makeApplication(const std::string& executable = "OrlixVDIPlugin") const {
    makeApplicationIn(dir, executable);
  }

  void makeApplicationIn(const fs::path& folder, const std::string& executable) const {
    const fs::path bundle = test::bundleIn(test::Copy(folder, "45.11.0.1"));
    makeExecutable(bundle / "Contents" / "MacOS" / executable);
  }

  void makeExecutable(const fs::path& file) const {
    const std::string report = (home.path() / "report.").string();
    test::writeFile(
        file,
        "#!/bin/sh\n{ echo $#; for i; do echo \"$i\"; done; } >'" + report + "'$$.part\n" + "mv '" +
            report + "'$$.part '" + report + "'$$\n");
    fs::permissions(file, fs::perms::owner_all);
  }

  // What the started applications wrote, once there are so many.
  std::vector<std::string> reports(std::size_t count) const {
    std::vector<std::string> found;
    EXPECT_TRUE(test::eventually([&] {
      found.clear();
      for (const auto& entry : fs::directory_iterator(home.path())) {
        const fs::path name = entry.path().filename();
        if (name.stem() == "report" && name.extension() != ".part")
          found.push_back(test::readFile(entry.path()));
      }
      return found.size() >= count;
    }));
    return found;
  }

  // The message of the one outcome of a launch.
  static std::string outcome() {
    const auto entries = test::takeSystemLog(1);
    EXPECT_EQ(entries.size(), 1U);
    return entries.front().message;
  }

  const fs::path dir = home.path() / "candidate";
};

} // namespace

TEST_F(Launch, StartsTheApplicationWithExactlyTheArgument) {
  makeApplication();
  LauncherHelper::launchFromDirectory(dir, "loadmode");
  EXPECT_EQ(outcome(), SUCCESS);
  EXPECT_THAT(reports(1), ElementsAre("1\nloadmode\n"));
}

TEST_F(Launch, PassesAnArgumentOnUnsplitAlsoWhenEmpty) {
  makeApplication();
  const struct {
    std::string argument;
    std::string report;
  } rows[] = {
      {"two words  and \t more", "1\ntwo words  and \t more\n"},
      {"", "1\n\n"},
      {"--flag=\"$HOME\" 'x' \\", "1\n--flag=\"$HOME\" 'x' \\\n"},
      {"\xC3\xA9\xE2\x82\xAC", "1\n\xC3\xA9\xE2\x82\xAC\n"},
      {"no\xFFtext", "0\n"},
      {"\xC3", "0\n"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::PrintToString(row.argument));
    LauncherHelper::launchFromDirectory(dir, row.argument);
    EXPECT_EQ(outcome(), SUCCESS);
    const auto written = reports(1);
    EXPECT_THAT(written, ElementsAre(row.report));
    for (const auto& entry : fs::directory_iterator(home.path())) {
      if (entry.path().stem() == "report")
        fs::remove(entry.path());
    }
  }
}

TEST_F(Launch, StartsAnInstancePerCall) {
  makeApplication();
  LauncherHelper::launchFromDirectory(dir, "first");
  LauncherHelper::launchFromDirectory(dir, "second");
  EXPECT_THAT(reports(2), testing::UnorderedElementsAre("1\nfirst\n", "1\nsecond\n"));
  EXPECT_EQ(test::takeSystemLog(2).size(), 2U);
}

TEST_F(Launch, AcceptsATrailingSeparator) {
  makeApplication();
  LauncherHelper::launchFromDirectory(dir / "", "loadmode");
  EXPECT_EQ(outcome(), SUCCESS);
  EXPECT_EQ(reports(1).size(), 1U);
}

TEST_F(Launch, StartsTheExecutableNamedAfterTheBundleWithoutAnotherName) {
  makeApplication();
  test::writeFile(dir / "OrlixVDIPlugin.app" / "Contents" / "Info.plist", test::propertyList({}));
  LauncherHelper::launchFromDirectory(dir, "loadmode");
  EXPECT_EQ(outcome(), SUCCESS);
  EXPECT_EQ(reports(1).size(), 1U);
}

TEST_F(Launch, StartsTheExecutableThatThePropertyListNames) {
  makeApplication("another name");
  test::writeFile(
      dir / "OrlixVDIPlugin.app" / "Contents" / "Info.plist",
      test::propertyList({{"CFBundleExecutable", "another name"}}));
  LauncherHelper::launchFromDirectory(dir, "loadmode");
  EXPECT_EQ(outcome(), SUCCESS);
  EXPECT_EQ(reports(1).size(), 1U);
}

TEST_F(Launch, NeverLeavesTheBundleForItsExecutable) {
  makeApplication();
  makeExecutable(dir / "outside");
  for (const std::string name : {"../../../outside", "..", ".", "/bin/true", "a/b"}) {
    SCOPED_TRACE(name);
    test::writeFile(
        dir / "OrlixVDIPlugin.app" / "Contents" / "Info.plist",
        test::propertyList({{"CFBundleExecutable", name}}));
    LauncherHelper::launchFromDirectory(dir, "loadmode");
    EXPECT_EQ(outcome(), "Failed to run the app: CFBundleExecutable is no file name: " + name);
  }
}

TEST_F(Launch, ReportsOneFailureForWhatCannotBeStarted) {
  const fs::path executable = dir / "OrlixVDIPlugin.app" / "Contents" / "MacOS" / "OrlixVDIPlugin";
  const auto expectFailure = [&](const std::string& reason) {
    LauncherHelper::launchFromDirectory(dir, "loadmode");
    EXPECT_EQ(outcome(), "Failed to run the app: " + executable.string() + ": " + reason);
  };
  expectFailure("No such file or directory"); // not even a candidate folder
  test::Copy(dir, "45.11.0.1");
  expectFailure("No such file or directory");
  test::writeFile(executable, "#!/bin/sh\n");
  expectFailure("Permission denied");
  fs::permissions(executable, fs::perms::owner_all);
  test::writeFile(executable, "echo no program\n");
  expectFailure("Exec format error");
  test::writeFile(executable, "");
  expectFailure("Exec format error");
  fs::remove(executable);
  fs::create_directory(executable);
  expectFailure("Permission denied");
  EXPECT_THAT(reports(0), IsEmpty());
}

TEST_F(Launch, ReportsAnInterpreterThatIsMissing) {
  makeApplication();
  const fs::path executable = dir / "OrlixVDIPlugin.app" / "Contents" / "MacOS" / "OrlixVDIPlugin";
  test::writeFile(executable, "#!/missing/interpreter\n");
  LauncherHelper::launchFromDirectory(dir, "loadmode");
  EXPECT_THAT(outcome(), StartsWith("Failed to run the app: "));
}

TEST_F(Launch, MarksAFailureAsAnErrorInTheSystemLog) {
  LauncherHelper::launchFromDirectory(dir, "loadmode");
  EXPECT_EQ(test::takeSystemLog(1).front().priority, LOG_USER | LOG_ERR);
  makeApplication();
  LauncherHelper::launchFromDirectory(dir, "loadmode");
  EXPECT_EQ(test::takeSystemLog(1).front().priority, LOG_USER | LOG_INFO);
  EXPECT_EQ(reports(1).size(), 1U);
}

TEST_F(Launch, PausesOnceForThreeSecondsWhateverBecomesOfTheStart) {
  const std::size_t before = test::FakeSleep::count();
  LauncherHelper::launchFromDirectory(dir, "loadmode");
  EXPECT_EQ(test::FakeSleep::count(), before + 1);
  EXPECT_THAT(outcome(), StartsWith("Failed to run the app: "));
  makeApplication();
  LauncherHelper::launchFromDirectory(dir, "loadmode");
  EXPECT_EQ(test::FakeSleep::count(), before + 2);
  EXPECT_EQ(outcome(), SUCCESS);
  EXPECT_EQ(reports(1).size(), 1U);
}

TEST_F(Launch, WritesNothingToTheLog) {
  makeApplication();
  LauncherHelper::launchFromDirectory(dir, "loadmode");
  LauncherHelper::launchFromDirectory(home.path() / "missing", "loadmode");
  test::takeSystemLog(2);
  EXPECT_THAT(messages(), IsEmpty());
  EXPECT_EQ(reports(1).size(), 1U);
}

TEST_F(Launch, PassesTheHostsEnvironmentOn) {
  makeApplication();
  const fs::path executable = dir / "OrlixVDIPlugin.app" / "Contents" / "MacOS" / "OrlixVDIPlugin";
  const std::string report = (home.path() / "report.1").string();
  test::writeFile(
      executable,
      "#!/bin/sh\necho \"$LAUNCHER_TEST\" >" + report + ".part; mv " + report + ".part " + report);
  const test::ScopedEnvironment variable("LAUNCHER_TEST", "a value");
  LauncherHelper::launchFromDirectory(dir, "loadmode");
  EXPECT_EQ(outcome(), SUCCESS);
  EXPECT_THAT(reports(1), ElementsAre("a value\n"));
}

TEST_F(Launch, ByTheEntryPointStartsTheChosenCopyInLoadMode) {
  Logger::close();
  makeApplicationIn(launcherFolder() / "copy", "OrlixVDIPlugin");
  EXPECT_EQ(ThinClientLauncherEntryPoint(1, nullptr), 0);
  EXPECT_EQ(outcome(), SUCCESS);
  EXPECT_THAT(reports(1), ElementsAre("1\nloadmode\n"));
}

TEST_F(Launch, ByTheEntryPointAsksForTheBundleOfTheEmptyPathWithoutACandidate) {
  Logger::close();
  EXPECT_EQ(ThinClientLauncherEntryPoint(1, nullptr), 0);
  const fs::path bundle = fs::current_path() / "OrlixVDIPlugin.app";
  EXPECT_EQ(
      outcome(),
      "Failed to run the app: " + (bundle / "Contents" / "MacOS" / "OrlixVDIPlugin").string() +
          ": No such file or directory");
}
