// When a host closes the library, or ends, at an awkward moment.

#include "EndToEndTest.h"

using testing::Each;

namespace test {

class Unload : public EndToEnd {
protected:
  void SetUp() override {
    // Starts safely, so that it is never judged corrupt however often it is launched.
    writeFile(makeCopy("copy", "45.12.0.1") / "started.dat", "");
  }

  // Closes the library while the application start is under way; finish lets the start go on.
  template <typename Finish>
  void closeDuringStart(Finish finish) {
    ASSERT_EQ(host().ask({"launch-and-close", "launchermode"}), "returned 0, closed");
    ASSERT_EQ(host().threads(), 2);
    finish();
    EXPECT_EQ(outcome(), "launch app succeed");
    EXPECT_EQ(reports().size(), 1U);
  }

  // Lets the host end straight after the entry point returned. What becomes of the start is open.
  void exitAfterLaunch() {
    EXPECT_EQ(host().ask({"launch-and-exit", "launchermode"}), "");
    EXPECT_EQ(endHost(), 0);
  }

  static constexpr std::size_t REPETITIONS = 20;
};

TEST_F(Unload, UnmapsTheLibraryBeforeTheFirstLaunch) {
  EXPECT_TRUE(host().hasLauncherMapped());
  EXPECT_EQ(host().ask({"close"}), "closed");
  EXPECT_FALSE(host().hasLauncherMapped());
}

TEST_F(Unload, IsSafeStraightAfterTheEntryPointReturned) {
  for (std::size_t launches = 1; launches <= REPETITIONS; ++launches) {
    ASSERT_EQ(host().ask({"launch-and-close", "launchermode"}), "returned 0, closed");
    ASSERT_EQ(systemLog->await(launches).size(), launches);
    EXPECT_EQ(endHost(), 0);
  }
  EXPECT_THAT(systemLog->awaitMessages(REPETITIONS), Each("launch app succeed"));
  EXPECT_EQ(reports().size(), REPETITIONS);
}

TEST_F(Unload, IsSafeAgainAndAgainInOneHost) {
  for (std::size_t launches = 1; launches <= REPETITIONS; ++launches) {
    ASSERT_EQ(host().ask({"launch-and-close", "launchermode"}), "returned 0, closed");
    ASSERT_EQ(host().ask({"load", LAUNCHER_LIBRARY}), "loaded");
  }
  EXPECT_EQ(systemLog->await(REPETITIONS).size(), REPETITIONS);
  EXPECT_EQ(reports().size(), REPETITIONS);
}

TEST_F(Unload, IsSafeBeforeTheApplicationIsStarted) {
  EXPECT_EQ(host().ask({"hold-up-forks"}), "held up");
  closeDuringStart([this] { host().ask({"release-forks"}); });
}

TEST_F(Unload, IsSafeBeforeTheOutcomeIsReported) {
  systemLog->stall();
  closeDuringStart([] {});
}

TEST_F(Unload, LetsTheHostExitStraightAfterTheEntryPointReturned) {
  for (std::size_t launches = 0; launches < REPETITIONS; ++launches)
    exitAfterLaunch();
}

TEST_F(Unload, LetsTheHostExitBeforeTheApplicationIsStarted) {
  EXPECT_EQ(host().ask({"hold-up-forks"}), "held up");
  exitAfterLaunch();
}

TEST_F(Unload, LetsTheHostExitBeforeTheOutcomeIsReported) {
  systemLog->stall();
  exitAfterLaunch();
}

} // namespace test
