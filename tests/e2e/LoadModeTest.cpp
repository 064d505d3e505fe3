#include "EndToEndTest.h"

namespace fs = std::filesystem;

using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

namespace test {

namespace {

constexpr const char* LAUNCHER_NAME = "libThinClientLauncher.dylib";
constexpr const char* MAIN_NAME = "libnexal_vdi_main.dylib";

} // namespace

class LoadMode : public EndToEnd {
protected:
  // A copy whose application carries the launcher library and the given main library.
  fs::path makeApplication(const std::string& version, const fs::path& mainLibrary) {
    const fs::path copy = copyFolder(version);
    Copy(copy, version).executable(APPLICATION_PROGRAM);
    fs::create_directories(frameworks(copy));
    fs::copy_file(LAUNCHER_LIBRARY, frameworks(copy) / LAUNCHER_NAME);
    if (!mainLibrary.empty())
      fs::copy_file(mainLibrary, frameworks(copy) / MAIN_NAME);
    return copy;
  }

  static fs::path frameworks(const fs::path& copy) {
    return copy / "OrlixVDIPlugin.app" / "Contents" / "Frameworks";
  }

  // How the loader is given that folder.
  static std::string frameworksPrefix(const fs::path& copy) {
    return executableIn(copy).parent_path().string() + "/../Frameworks/";
  }
};

TEST_F(LoadMode, HandsControlToTheMainLibraryOfTheStartedApplication) {
  const fs::path copy = makeApplication("45.12.0.1", MAIN_LIBRARY);
  // Never looked at in load mode.
  writeFile(home.launcherFolder() / LAUNCHER_NAME, "no library");

  EXPECT_EQ(launch({"launchermode"}), "returned 0");
  EXPECT_EQ(outcome(), "launch app succeed");

  auto started = reports();
  ASSERT_EQ(started.size(), 1U);
  EXPECT_EQ(started[0]["entry number"], "1");
  EXPECT_EQ(started[0]["entry pointer"], "null");
  EXPECT_EQ(started[0]["main library"], (frameworks(copy) / MAIN_NAME).string());
  EXPECT_EQ(started[0]["executable"], executableIn(copy).string());
  EXPECT_EQ(started[0]["folder"], "/");
  EXPECT_THAT(
      loadLog(),
      ElementsAre("ThinClientLauncher DLL entry point called", "load mode, load main dll"));
}

TEST_F(LoadMode, LoadsTheMainLibraryOfItsOwnBundleWhateverTheWorkingFolder) {
  const fs::path copy = makeApplication("45.12.0.1", MAIN_LIBRARY);
  fs::copy_file(ENTRYLESS_LIBRARY, fs::current_path() / MAIN_NAME);
  fs::create_directories(fs::current_path().parent_path() / "Frameworks");
  fs::copy_file(ENTRYLESS_LIBRARY, fs::current_path().parent_path() / "Frameworks" / MAIN_NAME);

  EXPECT_EQ(run(executableIn(copy), {"loadmode"}), 0);

  auto started = reports();
  ASSERT_EQ(started.size(), 1U);
  EXPECT_EQ(started[0]["main library"], (frameworks(copy) / MAIN_NAME).string());
  EXPECT_EQ(started[0]["folder"], fs::current_path().string());
}

TEST_F(LoadMode, LogsAMissingMainLibraryByItsBarePath) {
  const fs::path copy = makeApplication("45.12.0.1", {});
  EXPECT_EQ(run(executableIn(copy), {"loadmode"}), 0);
  const auto lines = loadLog();
  ASSERT_EQ(lines.size(), 3U);
  const std::string path = frameworksPrefix(copy) + MAIN_NAME;
  EXPECT_THAT(lines[2], StartsWith(path + " load library failed dleeror: " + path + ": "));
  EXPECT_THAT(lines[2], testing::HasSubstr("No such file or directory"));
}

TEST_F(LoadMode, SaysNothingAboutAMainLibraryWithoutEntry) {
  const fs::path copy = makeApplication("45.12.0.1", ENTRYLESS_LIBRARY);
  EXPECT_EQ(run(executableIn(copy), {"loadmode"}), 0);
  EXPECT_THAT(
      loadLog(),
      ElementsAre("ThinClientLauncher DLL entry point called", "load mode, load main dll"));
  EXPECT_THAT(reports(), IsEmpty());
}

TEST_F(LoadMode, IsEnteredThroughTheApplicationsOwnLauncherLibraryAlone) {
  const fs::path copy = makeApplication("45.12.0.1", MAIN_LIBRARY);
  fs::copy_file(LAUNCHER_LIBRARY, home.launcherFolder() / LAUNCHER_NAME);
  fs::remove(frameworks(copy) / LAUNCHER_NAME);
  EXPECT_EQ(run(executableIn(copy), {"loadmode"}), 0);
  EXPECT_THAT(loadLog(), IsEmpty());
  EXPECT_THAT(reports(), IsEmpty());
}

TEST_F(LoadMode, RecordsTheSafeStartThatLaterLaunchesSee) {
  const fs::path copy = makeApplication("45.12.0.1", MAIN_LIBRARY);
  constexpr std::size_t LAUNCHES = 4;
  for (std::size_t launches = 1; launches <= LAUNCHES; ++launches) {
    ASSERT_EQ(launch({"launchermode", "45.12.0.1000"}), "returned 0");
    ASSERT_EQ(systemLog->await(launches).size(), launches);
    ASSERT_TRUE(eventually([&] { return fs::exists(copy / "started.dat"); }));
  }
  EXPECT_EQ(launchLog()[4], "safe start Directory: " + copy.string() + ", Launch Count: 3");
  EXPECT_EQ(reports().size(), LAUNCHES);

  fs::remove(copy / "started.dat");
  EXPECT_EQ(launch({"launchermode", "45.12.0.1000"}), "returned 0");
  EXPECT_EQ(launchLog()[5], "VDI Skipping corrupt directory: " + copy.string());
  EXPECT_EQ(readFile(home.launcherFolder() / "corrupt.dat"), "45.12.0.1");
  EXPECT_EQ(systemLog->await(LAUNCHES + 1).size(), LAUNCHES + 1);
  EXPECT_EQ(reports().size(), LAUNCHES);
}

} // namespace test
