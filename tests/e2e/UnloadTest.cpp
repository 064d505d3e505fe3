// A host closes the library, or ends, while a start is under way.

#include "EndToEndTest.h"

using testing::Each;

namespace test {

class Unload : public EndToEnd {
protected:
  // Never judged corrupt, however often it is launched.
  Unload() { makeCopy().startedSafely(); }

  // Closes the library while a start is held up; finish releases it.
  template <typename Finish>
  void closeDuringStart(Finish finish) {
    ASSERT_EQ(host().ask({"launch-and-close", "launchermode"}), "returned 0, done");
    ASSERT_EQ(host().threads(), 2);
    finish();
    EXPECT_EQ(outcome(), SUCCESS);
    EXPECT_EQ(reports().size(), 1U);
  }

  // Lets the host end as soon as the entry point has returned. The start may succeed or not.
  void exitAfterLaunch() {
    EXPECT_EQ(host().ask({"launch-and-exit", "launchermode"}), "");
    EXPECT_EQ(endHost(), 0);
  }

  static constexpr std::size_t REPETITIONS = 20;
};

TEST_F(Unload, UnmapsUnusedLibrary) {
  EXPECT_TRUE(host().hasLauncherMapped());
  tell({"close"});
  EXPECT_FALSE(host().hasLauncherMapped());
}

TEST_F(Unload, IsSafeAfterLaunch) {
  for (std::size_t launches = 1; launches <= REPETITIONS; ++launches) {
    ASSERT_EQ(host().ask({"launch-and-close", "launchermode"}), "returned 0, done");
    ASSERT_EQ(systemLog->await(launches).size(), launches);
    EXPECT_EQ(endHost(), 0);
  }
  EXPECT_THAT(systemLog->awaitMessages(REPETITIONS), Each(SUCCESS));
  EXPECT_EQ(reports().size(), REPETITIONS);
}

TEST_F(Unload, IsSafeRepeatedly) {
  for (std::size_t launches = 1; launches <= REPETITIONS; ++launches) {
    ASSERT_EQ(host().ask({"launch-and-close", "launchermode"}), "returned 0, done");
    tell({"load", LAUNCHER_LIBRARY});
  }
  EXPECT_EQ(systemLog->await(REPETITIONS).size(), REPETITIONS);
  EXPECT_EQ(reports().size(), REPETITIONS);
}

TEST_F(Unload, IsSafeBeforeFork) {
  tell({"answer", "fork", "later"});
  closeDuringStart([this] { tell({"answer", "fork", "yes"}); });
}

TEST_F(Unload, IsSafeBeforeReport) {
  systemLog->stall();
  closeDuringStart([] {});
}

TEST_F(Unload, AllowsExitAfterLaunch) {
  for (std::size_t launches = 0; launches < REPETITIONS; ++launches)
    exitAfterLaunch();
}

TEST_F(Unload, AllowsExitBeforeFork) {
  tell({"answer", "fork", "later"});
  exitAfterLaunch();
}

TEST_F(Unload, AllowsExitBeforeReport) {
  systemLog->stall();
  exitAfterLaunch();
}

} // namespace test
