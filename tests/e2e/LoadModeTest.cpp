#include "EndToEndTest.h"

namespace fs = std::filesystem;

using testing::ElementsAre;

namespace test {

class LoadMode : public EndToEnd {
protected:
  static constexpr const char* LAUNCHER_NAME = "libThinClientLauncher.dylib";

  LoadMode() : copy(makeCopy().executable(APPLICATION_PROGRAM)) {
    fs::create_directories(mainLibrary.parent_path());
    fs::copy_file(LAUNCHER_LIBRARY, mainLibrary.parent_path() / LAUNCHER_NAME);
    fs::copy_file(MAIN_LIBRARY, mainLibrary);
  }

  // A copy whose application carries the launcher library and a main library.
  const Copy copy;
  const fs::path mainLibrary =
      bundleIn(copy) / "Contents" / "Frameworks" / "libnexal_vdi_main.dylib";
};

TEST_F(LoadMode, EntersMainLibrary) {
  // Never looked at in load mode.
  writeFile(home.launcherFolder() / LAUNCHER_NAME, "no library");

  EXPECT_EQ(launch(), "returned 0");
  EXPECT_EQ(outcome(), SUCCESS);

  auto started = report();
  EXPECT_EQ(started["entry number"], "1");
  EXPECT_EQ(started["entry pointer"], "null");
  EXPECT_EQ(started["main library"], mainLibrary.string());
  EXPECT_EQ(started["executable"], executableIn(copy).string());
  EXPECT_EQ(started["folder"], "/");
  EXPECT_THAT(
      readMessages(home.loadLog()),
      ElementsAre("ThinClientLauncher DLL entry point called", "load mode, load main dll"));
}

TEST_F(LoadMode, RecordsSafeStart) {
  constexpr std::size_t LAUNCHES = 4;
  for (std::size_t launches = 1; launches <= LAUNCHES; ++launches) {
    ASSERT_EQ(launch({"launchermode", "45.12.0.1000"}), "returned 0");
    ASSERT_EQ(systemLog->await(launches).size(), launches);
    ASSERT_TRUE(eventually([&] { return fs::exists(copy.dir() / "started.dat"); }));
  }
  EXPECT_EQ(launchLog()[4], "safe start Directory: " + copy.name() + ", Launch Count: 3");
  EXPECT_EQ(reports().size(), LAUNCHES);

  fs::remove(copy.dir() / "started.dat");
  EXPECT_EQ(launch({"launchermode", "45.12.0.1000"}), "returned 0");
  EXPECT_EQ(launchLog()[5], "VDI Skipping corrupt directory: " + copy.name());
  EXPECT_EQ(readFile(home.launcherFolder() / "corrupt.dat"), "45.12.0.1");
  EXPECT_EQ(systemLog->await(LAUNCHES + 1).size(), LAUNCHES + 1);
  EXPECT_EQ(reports().size(), LAUNCHES);
}

} // namespace test
