// A host closes the library, or ends, while a start is under way.

#include "EndToEndTest.h"

#include <cstdlib>
#include <random>
#include <thread>

namespace fs = std::filesystem;

using testing::Each;
using testing::UnorderedElementsAre;

namespace test {

class Unload : public EndToEnd {
protected:
  // Never judged corrupt, however often it is launched.
  Unload() { makeCopy().startedSafely(); }

  static void launchAndClose() {
    ASSERT_EQ(launch(), "returned 0");
    closeLibrary();
  }

  // Closes the library while a start is held up; finish releases it.
  template <typename Finish>
  void closeDuringStart(Finish finish) {
    launchAndClose();
    EXPECT_EQ(countThreads(), 2);
    finish();
    EXPECT_EQ(outcome(), SUCCESS);
  }

  // Ends the host as soon as the entry point has returned. The start may succeed or not.
  static void exitAfterLaunch() { std::exit(launch() == "returned 0" ? BODY_RAN : 1); }

  static bool isLibraryMapped() {
    return readFile("/proc/self/maps").find("libThinClientLauncher.dylib") != std::string::npos;
  }

  static constexpr std::size_t REPETITIONS = 20;
};

TEST_F(Unload, UnmapsUnusedLibrary) {
  inHost([] {
    EXPECT_TRUE(isLibraryMapped());
    closeLibrary();
    EXPECT_FALSE(isLibraryMapped());
  });
}

// Only a launch that an error ends leaves something open: its log.
TEST_F(Unload, ClosesLogLeftOpen) {
  fs::remove_all(home.launcherDirectory());
  fs::create_symlink(home.launcherDirectory().filename(), home.launcherDirectory());
  inHost([] {
    const auto before = part(currentState(), "descriptor");
    EXPECT_EQ(launch(), "filesystem_error Too many levels of symbolic links");
    EXPECT_EQ(part(currentState(), "descriptor").size(), before.size() + 1);
    closeLibrary();
    EXPECT_EQ(part(currentState(), "descriptor"), before);
  });
}

TEST_F(Unload, IsSafeAfterLaunch) {
  for (std::size_t launches = 1; launches <= REPETITIONS; ++launches) {
    inHost(launchAndClose);
    ASSERT_EQ(systemLog->await(launches).size(), launches);
  }
  EXPECT_THAT(systemLog->awaitMessages(REPETITIONS), Each(SUCCESS));
  EXPECT_EQ(reports().size(), REPETITIONS);
}

TEST_F(Unload, IsSafeRepeatedly) {
  inHost([this] {
    for (std::size_t launches = 0; launches < REPETITIONS; ++launches) {
      launchAndClose();
      loadLibrary();
    }
    EXPECT_EQ(systemLog->await(REPETITIONS).size(), REPETITIONS);
  });
  EXPECT_EQ(reports().size(), REPETITIONS);
}

TEST_F(Unload, IsSafeBeforeFork) {
  inHost([this] {
    FakeSystem::fork.answer = FakeSystem::Answer::LATER;
    closeDuringStart([] { FakeSystem::fork.answer = FakeSystem::Answer::YES; });
  });
  EXPECT_EQ(reports().size(), 1U);
}

TEST_F(Unload, IsSafeBeforeReport) {
  inHost([this] {
    systemLog->stall();
    closeDuringStart([] {});
  });
  EXPECT_EQ(reports().size(), 1U);
}

class UnloadByExit : public Unload {
#ifdef __SANITIZE_THREAD__
  void SetUp() override { GTEST_SKIP() << "it hangs when a forked process with a thread exits"; }
#endif
};

TEST_F(UnloadByExit, AllowsExitAfterLaunch) {
  for (std::size_t launches = 0; launches < REPETITIONS; ++launches)
    inHost(exitAfterLaunch);
}

// At moments from a microsecond to sixteen milliseconds after the call has begun on another thread.
TEST_F(UnloadByExit, AllowsExitDuringLaunch) {
  constexpr int EXITS = 200;
  std::mt19937 random(1);
  for (int exits = 0; exits < EXITS; ++exits) {
    const std::chrono::microseconds moment(1U << random() % 15);
    inHost([moment] {
      std::thread([] { launch(); }).detach();
      std::this_thread::sleep_for(moment);
      std::exit(BODY_RAN);
    });
  }
  awaitProcesses();
  const fs::path parent = home.path() / "Library";
  EXPECT_THAT(
      directoriesIn(parent), UnorderedElementsAre(home.applicationSupport(), parent / "Logs"));
  EXPECT_THAT(
      directoriesIn(home.launcherDirectory()),
      UnorderedElementsAre(home.launcherDirectory() / "copy"));
}

// An exit handler that the host had before it loaded the library runs after the library's own.
TEST_F(UnloadByExit, AllowsLaunchAfterRelease) {
  inHost([] {
    closeLibrary();
    std::atexit([] { std::_Exit(launch() == "returned 0" ? BODY_RAN : 1); });
    loadLibrary();
    std::exit(1);
  });
}

TEST_F(UnloadByExit, AllowsExitBeforeFork) {
  inHost([] {
    FakeSystem::fork.answer = FakeSystem::Answer::LATER;
    exitAfterLaunch();
  });
}

TEST_F(UnloadByExit, AllowsExitBeforeReport) {
  inHost([this] {
    systemLog->stall();
    exitAfterLaunch();
  });
}

} // namespace test
