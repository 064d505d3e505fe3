#include "EndToEndTest.h"

namespace fs = std::filesystem;

using testing::ElementsAre;

namespace test {

class LoadMode : public EndToEnd {
protected:
  const Copy copy = makeApplication();
  const ScopedEnvironment record{"LIBRARY_RECORD", (home.path() / "record").string()};
};

TEST_F(LoadMode, EntersMainLibrary) {
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

TEST_F(LoadMode, RecordsSafeStart) {
  const Body launchOnce = [] { EXPECT_EQ(launch({"launchermode", "45.12.0.1000"}), "returned 0"); };
  const ScopedEnvironment marking("LIBRARY_MARKS", (copy.dir() / "started.dat").string());
  for (int launches = 1; launches <= 4; ++launches) {
    inHost(launchOnce);
    EXPECT_EQ(awaitProcesses(), 0);
  }
  EXPECT_EQ(launchLog()[4], "safe start Directory: " + copy.name() + ", Launch Count: 3");

  fs::remove(copy.dir() / "started.dat");
  inHost(launchOnce);
  EXPECT_EQ(launchLog()[5], "VDI Skipping corrupt directory: " + copy.name());
  EXPECT_EQ(readFile(home.launcherDirectory() / "corrupt.dat"), "45.12.0.1");
  EXPECT_EQ(systemLog->await(5).size(), 5U);
  EXPECT_EQ(readLines(home.path() / "record").size(), 2 * 4U) << "starts of the application";
}

} // namespace test
