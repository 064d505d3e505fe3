#include "EndToEndTest.h"
#include "User.h"

#include <cstdlib>
#include <ctime>
#include <unistd.h>
#include <utility>

namespace fs = std::filesystem;

using testing::ElementsAre;
using testing::UnorderedElementsAre;

namespace test {

class LauncherMode : public EndToEnd {
protected:
  Copy makeVersion(const std::string& version) const {
    return makeCopy(home.launcherDirectory() / version, version);
  }
};

TEST_F(LauncherMode, RunsAllSteps) {
  makeCopy("/Applications", "45.11.0.5");
  const Copy chosen = makeVersion("45.12.0.900").launches("1");
  const Copy tooNew =
      makeVersion("45.13.0.10").launches("7").startedSafely().launched(std::chrono::hours(1));
  const Copy corrupt = makeVersion("45.12.0.950").launches("3").launched(std::chrono::hours(2));
  const Copy old = makeVersion("45.10.0.1").launched(std::chrono::hours(3));

  inHost([] { EXPECT_EQ(launch({"launchermode", "45.12.0.1000"}), "returned 0"); });
  EXPECT_THAT(systemLog->awaitMessages(1), ElementsAre(SUCCESS));

  const fs::path corruptVersions = home.launcherDirectory() / "corrupt.dat";
  // The order of the copies is that of the file system.
  EXPECT_THAT(
      launchLog(),
      UnorderedElementsAre(
          "ThinClientLauncher DLL entry point called",
          "launcher mode",
          "hvd Client Version provided: 45.12.0.1000",
          "safe start Directory: /Applications, Launch Count: 0",
          "VDI supports CheckCorrupt: " + chosen.name(),
          "safe start Directory: " + chosen.name() + ", Launch Count: 1",
          "VDI supports CheckCorrupt: " + tooNew.name(),
          "safe start Directory: " + tooNew.name() + ", Launch Count: 7",
          "VDI supports CheckCorrupt: " + corrupt.name(),
          "VDI Directory marked as corrupt - Launch count: 3, Directory: " + corrupt.name(),
          "VDI Skipping corrupt directory: " + corrupt.name(),
          "VDI does not support CheckCorrupt: " + old.name(),
          "safe start Directory: " + old.name() + ", Launch Count: 0",
          "VDI Wrote 1 corrupt versions to " + corruptVersions.string(),
          "find a candidate with Version: 45.11.0.5",
          "find a candidate with Version: 45.12.0.900",
          "find a candidate with Version: 45.10.0.1",
          "Best candidate: " + chosen.name() + " (version: 45.12.0.900)",
          "VDI Launch count updated to: 2 for directory: " + chosen.name()));

  EXPECT_EQ(readFile(chosen.dir() / "launchCount.dat"), "2");
  EXPECT_NEAR(
      std::stod(readFile(chosen.dir() / "launch.dat")), static_cast<double>(::time(nullptr)), 90);
  EXPECT_EQ(readFile(corruptVersions), "45.12.0.950");
  EXPECT_TRUE(fs::exists(tooNew.dir()));
  EXPECT_TRUE(fs::exists(corrupt.dir()));
  EXPECT_FALSE(fs::exists(old.dir()));
  EXPECT_FALSE(fs::exists("/Applications/launchCount.dat"));
  EXPECT_EQ(report()["executable"], executableIn(chosen).string());
}

// --- Errors of the file system ---

TEST_F(LauncherMode, LetsErrorsOut) {
  makeCopy("/Applications");
  fs::create_directories(home.launcherDirectory());
  inUnprivilegedHost([this] {
    std::optional<ScopedPermissions> locked(
        std::in_place, home.launcherDirectory(), fs::perms::none);
    EXPECT_EQ(launch({"launchermode", "45.12.0.5"}), "filesystem_error Permission denied");
    const auto firstLog = launchLog();
    EXPECT_EQ(firstLog.back(), "hvd Client Version provided: 45.12.0.5");

    locked.reset();
    EXPECT_EQ(launch(), "returned 0");
    EXPECT_EQ(launchLog(), firstLog) << "the log of the launch that failed was still open";
    EXPECT_EQ(launch(), "returned 0");
    EXPECT_EQ(launchLog().back(), "not started from launcher folder, do not clean");
  });
  EXPECT_EQ(systemLog->await(2).size(), 2U);
  EXPECT_EQ(reports().size(), 2U);
}

// --- Homes that the environment does not name ---

class UnnamedHome : public LauncherMode {
protected:
  // A launch without HOME, in which this is the only password entry.
  static void launchWith(const FakeSystem::PasswordEntry& entry) {
    ::unsetenv("HOME");
    FakeSystem::passwordEntry = entry;
    EXPECT_EQ(launch(), "returned 0");
  }
};

TEST_F(UnnamedHome, IsThatOfTheEffectiveUser) {
  if (::geteuid() != 0)
    GTEST_SKIP() << "only root can run a process with two users";
  for (const auto& folder : {home.path(), home.path() / "Library"})
    fs::permissions(folder, fs::perms(0777));
  inHost([this] {
    ASSERT_EQ(::seteuid(NOBODY), 0); // as in a program of that user with the set-user-ID bit
    launchWith({NOBODY, home.path(), 100});
  });
  EXPECT_TRUE(fs::exists(home.launchLog()));
}

TEST_F(UnnamedHome, MayStandInALongEntry) {
  inHost([this] { launchWith({::geteuid(), home.path(), 200 * 1024}); });
  EXPECT_TRUE(fs::exists(home.launchLog()));
}

// No entry for the user, one that no system has (it is not looked for in more and more memory), or
// one that would name another folder whenever the working folder changes.
TEST_F(UnnamedHome, MayNotBeFound) {
  const FakeSystem::PasswordEntry entries[] = {
      {::geteuid() + 1, home.path(), 100},
      {::geteuid(), home.path(), 2 * 1024 * 1024},
      {::geteuid(), "relative", 100}};
  const Copy copy = makeCopy(fs::current_path() / "Application Support/VantuOrlixVDILauncher/copy");
  for (const auto& entry : entries) {
    inHost([&] { launchWith(entry); });
    EXPECT_FALSE(fs::exists(home.launchLog()));
    EXPECT_FALSE(fs::exists(copy.dir() / "launchCount.dat"));
    EXPECT_FALSE(fs::exists("Library"));
    EXPECT_FALSE(fs::exists("relative"));
    EXPECT_FALSE(fs::exists(home.launchLog().filename()));
  }
}

// The log of a launch that failed is still open.
TEST_F(UnnamedHome, LogsNothingElsewhere) {
  const fs::path count = makeCopy().dir() / "launchCount.dat";
  fs::create_symlink(count.filename(), count);
  inHost([&] {
    EXPECT_EQ(launch(), "filesystem_error Too many levels of symbolic links");
    const auto log = launchLog();
    launchWith({::geteuid(), "", 100});
    EXPECT_EQ(launchLog(), log);

    ::setenv("HOME", home.path().c_str(), 1);
    fs::remove(count);
    EXPECT_EQ(launch(), "returned 0");
    EXPECT_GT(launchLog().size(), log.size());
  });
  EXPECT_EQ(systemLog->await(2).size(), 2U);
}

} // namespace test
