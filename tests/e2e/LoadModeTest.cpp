#include "EndToEndTest.h"

using testing::ElementsAre;

namespace test {

using LoadMode = EndToEnd;

TEST_F(LoadMode, EntersMainLibrary) {
  makeApplication();
  const ScopedEnvironment record("LIBRARY_RECORD", (home.path() / "record").string());
  // Never looked at in load mode.
  writeFile(home.launcherDirectory() / LAUNCHER_NAME, "no library");
  const ScopedEnvironment watched("LIBRARY_LOG", home.loadLog().string());
  inHost([] { EXPECT_EQ(launch(), "returned 0"); });
  EXPECT_EQ(outcome(), SUCCESS);
  EXPECT_EQ(awaitProcesses(), 0);
  EXPECT_THAT(
      readLines(home.path() / "record"), ElementsAre("call 1: 1 null", "log open", "visible"));
  EXPECT_THAT(
      readMessages(home.loadLog()),
      ElementsAre("ThinClientLauncher DLL entry point called", "load mode, load main dll"));
}

} // namespace test
