#include "EndToEndTest.h"

#include <chrono>
#include <ctime>

namespace fs = std::filesystem;

using testing::ElementsAre;
using testing::ElementsAreArray;

namespace test {

namespace {

// Sub-folders in the order in which the file system lists them.
std::vector<fs::path> listing(const fs::path& dir) {
  std::vector<fs::path> folders;
  for (const auto& entry : fs::directory_iterator(dir)) {
    if (entry.is_directory())
      folders.push_back(entry.path());
  }
  return folders;
}

void setLaunchTime(const fs::path& dir, std::chrono::hours ago) {
  writeFile(dir / "launch.dat", "0");
  fs::last_write_time(dir / "launch.dat", fs::file_time_type::clock::now() - ago);
}

} // namespace

class LauncherMode : public EndToEnd {};

TEST_F(LauncherMode, StartsTheNewestFittingCopyKeepsItsRecordsAndRemovesOldCopies) {
  makeCopyIn("/Applications", "45.11.0.5");
  const fs::path chosen = makeCopy("45.12.0.900", "45.12.0.900");
  const fs::path tooNew = makeCopy("45.13.0.10", "45.13.0.10");
  const fs::path corrupt = makeCopy("45.12.0.950", "45.12.0.950");
  const fs::path old = makeCopy("45.10.0.1", "45.10.0.1");
  writeFile(corrupt / "launchCount.dat", "3");
  writeFile(chosen / "launchCount.dat", "1");
  writeFile(tooNew / "launchCount.dat", "7");
  writeFile(tooNew / "started.dat", "");
  setLaunchTime(tooNew, std::chrono::hours(1));
  setLaunchTime(corrupt, std::chrono::hours(2));
  setLaunchTime(old, std::chrono::hours(3));
  const auto copies = listing(home.launcherFolder());

  EXPECT_EQ(launch({"launchermode", "45.12.0.1000"}), "returned 0");
  EXPECT_THAT(systemLog->awaitMessages(1), ElementsAre("launch app succeed"));

  const auto name = [](const fs::path& dir) { return dir.string(); };
  std::vector<std::string> expected{
      "ThinClientLauncher DLL entry point called",
      "launcher mode",
      "hvd Client Version provided: 45.12.0.1000",
      "safe start Directory: /Applications, Launch Count: 0"};
  std::vector<std::string> candidates{"find a candidate with Version: 45.11.0.5"};
  for (const auto& dir : copies) {
    if (dir == corrupt) {
      expected.push_back("VDI supports CheckCorrupt: " + name(dir));
      expected.push_back(
          "VDI Directory marked as corrupt - Launch count: 3, Directory: " + name(dir));
      expected.push_back("VDI Skipping corrupt directory: " + name(dir));
      continue;
    }
    const std::string gate = dir == old ? "VDI does not support" : "VDI supports";
    const std::string count = dir == tooNew ? "7" : dir == chosen ? "1" : "0";
    expected.push_back(gate + " CheckCorrupt: " + name(dir));
    expected.push_back("safe start Directory: " + name(dir) + ", Launch Count: " + count);
    if (dir != tooNew)
      candidates.push_back("find a candidate with Version: " + dir.filename().string());
  }
  expected.push_back(
      "VDI Wrote 1 corrupt versions to " + name(home.launcherFolder() / "corrupt.dat"));
  expected.insert(expected.end(), candidates.begin(), candidates.end());
  expected.push_back("Best candidate: " + name(chosen) + " (version: 45.12.0.900)");
  expected.push_back("VDI Launch count updated to: 2 for directory: " + name(chosen));
  EXPECT_THAT(launchLog(), ElementsAreArray(expected));

  EXPECT_EQ(readFile(chosen / "launchCount.dat"), "2");
  EXPECT_NEAR(std::stod(readFile(chosen / "launch.dat")), static_cast<double>(::time(nullptr)), 90);
  EXPECT_EQ(readFile(home.launcherFolder() / "corrupt.dat"), "45.12.0.950");
  EXPECT_TRUE(fs::exists(tooNew));
  EXPECT_TRUE(fs::exists(corrupt));
  EXPECT_FALSE(fs::exists(old));
  EXPECT_FALSE(fs::exists("/Applications/launchCount.dat"));

  const auto started = reports();
  ASSERT_EQ(started.size(), 1U);
  EXPECT_EQ(started[0].at("executable"), executableIn(chosen).string());
}

TEST_F(LauncherMode, StartsTheInstallersCopyAndKeepsNoRecordsOfIt) {
  makeCopyIn("/Applications", "45.12.0.5");
  makeCopy("old", "45.10.0.1");
  EXPECT_EQ(launch({"launchermode", "45.12.0.1000"}), "returned 0");
  EXPECT_EQ(outcome(), "launch app succeed");
  EXPECT_EQ(launchLog().back(), "not started from launcher folder, do not clean");
  EXPECT_THAT(listing("/Applications"), ElementsAre("/Applications/OrlixVDIPlugin.app"));
  EXPECT_FALSE(fs::exists("/Applications/launchCount.dat"));
  EXPECT_FALSE(fs::exists("/Applications/launch.dat"));
  const auto started = reports();
  ASSERT_EQ(started.size(), 1U);
  EXPECT_EQ(started[0].at("executable"), executableIn("/Applications").string());
}

TEST_F(LauncherMode, PrefersTheInstallersCopyAmongEqualVersions) {
  makeCopyIn("/Applications", "45.12.0.5");
  makeCopyIn(fs::current_path(), "45.12.0.5");
  makeCopy("same", "45.12.0.5");
  EXPECT_EQ(launch({"launchermode", "45.12.0.1000"}), "returned 0");
  EXPECT_EQ(outcome(), "launch app succeed");
  const auto started = reports();
  ASSERT_EQ(started.size(), 1U);
  EXPECT_EQ(started[0].at("executable"), executableIn("/Applications").string());
}

TEST_F(LauncherMode, FallsBackToAllViableCopiesWhereNoneFitsTheClient) {
  makeCopyIn("/Applications", "46.1.0.0");
  makeCopy("newest", "46.2.0.0");
  EXPECT_EQ(launch({"launchermode", "45.12.0.1000"}), "returned 0");
  EXPECT_EQ(outcome(), "launch app succeed");
  const auto started = reports();
  ASSERT_EQ(started.size(), 1U);
  EXPECT_EQ(started[0].at("executable"), executableIn(copyFolder("newest")).string());
}

TEST_F(LauncherMode, GoesThroughAllStepsWithoutAnyCandidate) {
  EXPECT_EQ(launch({"launchermode", "45.12.0.1000"}), "returned 0");
  EXPECT_THAT(
      launchLog(),
      ElementsAre(
          "ThinClientLauncher DLL entry point called",
          "launcher mode",
          "hvd Client Version provided: 45.12.0.1000",
          "Best candidate:  (version: 0.0.0.0)",
          "not started from launcher folder, do not clean"));
  EXPECT_EQ(
      outcome(),
      "Failed to run the app: " + executableIn(fs::current_path()).string() +
          ": No such file or directory");
}

// --- Errors of the file system ---

TEST_F(LauncherMode, LeavesTheErrorOfAFolderWithoutPermissionToTheHostWhichLivesOn) {
  makeCopyIn("/Applications", "45.12.0.5");
  fs::create_directories(home.launcherFolder());
  fs::permissions(home.path(), fs::perms(0777));
  for (const auto& entry : fs::recursive_directory_iterator(home.path()))
    fs::permissions(entry.path(), fs::perms(0777));
  fs::permissions(home.launcherFolder(), fs::perms::none);

  EXPECT_EQ(host().ask({"become-unprivileged"}), "unprivileged");
  EXPECT_EQ(launch({"launchermode", "45.12.0.5"}), "filesystem_error Permission denied");
  const auto firstLog = launchLog();
  EXPECT_EQ(firstLog.back(), "hvd Client Version provided: 45.12.0.5");

  fs::permissions(home.launcherFolder(), fs::perms(0777));
  EXPECT_EQ(launch({"launchermode"}), "returned 0");
  EXPECT_EQ(launchLog(), firstLog) << "the log of the launch that failed was still open";
  EXPECT_EQ(launch({"launchermode"}), "returned 0");
  EXPECT_EQ(launchLog().back(), "not started from launcher folder, do not clean");
  EXPECT_EQ(systemLog->await(2).size(), 2U);
  EXPECT_EQ(reports().size(), 2U);
}

} // namespace test
