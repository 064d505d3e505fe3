// What the kit for hosts tells of a launch.

#include "EndToEndTest.h"

#include <ThinClientLauncherHost.h>

#include <array>

namespace fs = std::filesystem;

namespace test {

class LaunchProgress : public EndToEnd {
protected:
  struct Told {
    int progress;
    std::string folder;
    std::string version;
  };

  static void launchThroughKit() {
    std::array<char, 256> reason{};
    ThinClientLauncherHostLaunch(LAUNCHER_LIBRARY, "45.12.0.1000", reason.data(), reason.size());
  }

  static Told await(unsigned int milliseconds) {
    std::array<char, 4096> folder{};
    std::array<char, 64> version{};
    const int progress = ThinClientLauncherHostAwait(
        milliseconds, folder.data(), folder.size(), version.data(), version.size());
    return {progress, folder.data(), version.data()};
  }

  // One launch in a host, and what the kit tells of it after this time.
  static void expectAfterLaunch(int progress, const std::string& folder, unsigned int time = 0) {
    inHost([&] {
      launchThroughKit();
      const Told told = await(time);
      EXPECT_EQ(told.progress, progress);
      EXPECT_EQ(told.folder, folder);
      EXPECT_EQ(told.version, folder.empty() ? "" : "45.12.0.1");
    });
  }

  static constexpr unsigned int EVER = 1'000'000;

  const ScopedEnvironment record{"LIBRARY_RECORD", (home.path() / "record").string()};
};

TEST_F(LaunchProgress, IsUnknownBeforeFirstLaunch) {
  makeCopy();
  inHost([] { launch(); });
  inHost([] { EXPECT_EQ(await(EVER).progress, THIN_CLIENT_LAUNCHER_HOST_UNKNOWN); });
  EXPECT_EQ(outcome(), SUCCESS);
}

TEST_F(LaunchProgress, IsUnknownWithoutLog) {
  makeCopy();
  writeFile(home.launchLog() / "file", "in the log's place");
  expectAfterLaunch(THIN_CLIENT_LAUNCHER_HOST_UNKNOWN, "", EVER);
}

// The log is the failed launch's.
TEST_F(LaunchProgress, IsUnknownForLaunchAfterFailedOne) {
  fs::create_symlink(home.launcherDirectory().filename(), home.launcherDirectory());
  inHost([&] {
    launchThroughKit();
    fs::remove(home.launcherDirectory());
    makeCopy();
    launchThroughKit();
    EXPECT_EQ(await(0).progress, THIN_CLIENT_LAUNCHER_HOST_UNKNOWN);
  });
  EXPECT_EQ(outcome(), SUCCESS);
}

TEST_F(LaunchProgress, EndsBeforeChoice) {
  fs::create_symlink(home.launcherDirectory().filename(), home.launcherDirectory());
  expectAfterLaunch(THIN_CLIENT_LAUNCHER_HOST_NOT_REQUESTED, "", EVER);
}

TEST_F(LaunchProgress, TellsThatNothingWasChosen) {
  expectAfterLaunch(THIN_CLIENT_LAUNCHER_HOST_NOTHING_CHOSEN, "", EVER);
  EXPECT_EQ(systemLog->await(1).size(), 1U);
}

TEST_F(LaunchProgress, TellsRequestedCopy) {
  const Copy copy = makeCopy();
  expectAfterLaunch(THIN_CLIENT_LAUNCHER_HOST_REQUESTED, copy.name(), 50);
  EXPECT_EQ(outcome(), SUCCESS);
}

TEST_F(LaunchProgress, AwaitsLoadMode) {
  makeApplication();
  inHost([] {
    launchThroughKit();
    EXPECT_TRUE(eventually([] { return await(0).progress == THIN_CLIENT_LAUNCHER_HOST_ENTERED; }));
  });
}

TEST_F(LaunchProgress, AwaitsSafeStart) {
  const Copy copy = makeApplication();
  const ScopedEnvironment marking("LIBRARY_MARKS", (copy.dir() / "started.dat").string());
  expectAfterLaunch(THIN_CLIENT_LAUNCHER_HOST_STARTED_SAFELY, copy.name(), EVER);
}

// What an earlier application has left does not count.
TEST_F(LaunchProgress, IgnoresEarlierStart) {
  const Copy copy = makeCopy().startedSafely();
  writeFile(
      home.loadLog(),
      "2026-03-07 14:05:09.007 ThinClientLauncher DLL entry point called\n"
      "2026-03-07 14:05:09.008 load mode, load main dll\n");
  expectAfterLaunch(THIN_CLIENT_LAUNCHER_HOST_REQUESTED, copy.name());
}

TEST_F(LaunchProgress, IgnoresCallThatHasNotEnteredLoadMode) {
  makeCopy();
  inHost([this] {
    launchThroughKit();
    writeFile(
        home.loadLog(), "2026-03-07 14:05:09.007 ThinClientLauncher DLL entry point called\n");
    EXPECT_EQ(await(0).progress, THIN_CLIENT_LAUNCHER_HOST_REQUESTED);
  });
}

// Nothing is recorded for a copy outside the launcher folder, so there is nothing to wait for.
TEST_F(LaunchProgress, EndsAtLoadModeOutsideLauncherFolder) {
  const Copy copy = makeApplication();
  fs::rename(copy.dir() / "OrlixVDIPlugin.app", "/Applications/OrlixVDIPlugin.app");
  expectAfterLaunch(THIN_CLIENT_LAUNCHER_HOST_ENTERED, "/Applications", EVER);
}

TEST_F(LaunchProgress, TellsMaskedNames) {
  const Copy copy = makeCopy(home.launcherDirectory() / "12");
  const ScopedEnvironment user("USER", "12");
  expectAfterLaunch(THIN_CLIENT_LAUNCHER_HOST_REQUESTED, copy.name());
}

TEST_F(LaunchProgress, CutsTexts) {
  makeCopy();
  inHost([] {
    launchThroughKit();
    std::array<char, 5> version{'x', 'x', 'x', 'x', 'x'};
    EXPECT_EQ(
        ThinClientLauncherHostAwait(0, nullptr, 0, version.data(), 4),
        THIN_CLIENT_LAUNCHER_HOST_REQUESTED);
    EXPECT_EQ(std::string(version.data(), version.size()), std::string("45.\0x", 5));
  });
}

} // namespace test
