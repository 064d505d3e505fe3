// The kit for plug-ins, in the executable and in a library of a bundle.

#include "Fork.h"
#include "Home.h"
#include "Process.h"
#include "Sandbox.h"

#include <ThinClientLauncherPlugin.h>
#include <gmock/gmock.h>

namespace fs = std::filesystem;

using test::Copy;

namespace {

class PluginKit : public testing::Test {
protected:
  Copy makeCopy(const fs::path& dir) const { return Copy(dir).executable(PLUGIN_PROGRAM); }
  Copy makeCopy() const { return makeCopy(home.launcherDirectory() / "45.12"); }

  int run(const fs::path& program, std::vector<std::string> words) const {
    words.insert(words.begin(), program.string());
    return test::run({words, workingFolder, {{"LIBRARY_RECORD", record.string()}}}).status;
  }

  int recordFrom(const fs::path& copy) const { return run(test::executableIn(copy), {"record"}); }

  static bool isMarked(const fs::path& copy) { return fs::exists(copy / "started.dat"); }

  test::ScopedHome home;
  const fs::path workingFolder = home.path() / "work";
  const fs::path record = home.path() / "record";

private:
  void SetUp() override { fs::create_directory(workingFolder); }
  void TearDown() override { test::Sandbox::emptyApplications(); }
};

} // namespace

TEST_F(PluginKit, RecordsOwnStart) {
  const Copy own = makeCopy();
  const Copy other = makeCopy(home.launcherDirectory() / "45.13");
  EXPECT_EQ(recordFrom(own), THIN_CLIENT_LAUNCHER_PLUGIN_RECORDED);
  EXPECT_TRUE(isMarked(own));
  EXPECT_FALSE(isMarked(other));
}

TEST_F(PluginKit, RecordsFromLibrary) {
  const Copy own = makeCopy();
  const fs::path library = test::frameworksIn(own) / "libmain.dylib";
  fs::create_directories(library.parent_path());
  fs::copy_file(PLUGIN_LIBRARY, library);
  EXPECT_EQ(run(PLUGIN_PROGRAM, {"record-library", library}), THIN_CLIENT_LAUNCHER_PLUGIN_RECORDED);
  EXPECT_TRUE(isMarked(own));
}

TEST_F(PluginKit, IgnoresProgramName) {
  const Copy own = makeCopy();
  const std::string script = "exec -a /elsewhere '" + test::executableIn(own).string() + "' record";
  EXPECT_EQ(run("/bin/bash", {"-c", script}), THIN_CLIENT_LAUNCHER_PLUGIN_RECORDED);
  EXPECT_TRUE(isMarked(own));
}

TEST_F(PluginKit, KeepsExistingMark) {
  const Copy own = makeCopy();
  test::writeFile(own.dir() / "started.dat", "earlier");
  EXPECT_EQ(recordFrom(own), THIN_CLIENT_LAUNCHER_PLUGIN_RECORDED);
  EXPECT_EQ(test::readFile(own.dir() / "started.dat"), "earlier");
}

TEST_F(PluginKit, RecordsLinkedCopy) {
  const Copy own = makeCopy(home.path() / "elsewhere");
  fs::create_directory(home.launcherDirectory());
  fs::create_directory_symlink(own, home.launcherDirectory() / "link");
  EXPECT_EQ(recordFrom(home.launcherDirectory() / "link"), THIN_CLIENT_LAUNCHER_PLUGIN_RECORDED);
  EXPECT_TRUE(isMarked(own));
}

TEST_F(PluginKit, RecordsLinkedBundle) {
  const Copy target = makeCopy(home.path() / "elsewhere");
  const fs::path copy = home.launcherDirectory() / "45.12";
  fs::create_directories(copy);
  fs::create_directory_symlink(test::bundleIn(target), test::bundleIn(copy));
  EXPECT_EQ(recordFrom(copy), THIN_CLIENT_LAUNCHER_PLUGIN_RECORDED);
  EXPECT_TRUE(isMarked(copy));
  EXPECT_FALSE(isMarked(target));
}

TEST_F(PluginKit, RecordsLinkedExecutable) {
  const Copy own = makeCopy();
  fs::remove(test::executableIn(own));
  fs::create_symlink(PLUGIN_PROGRAM, test::executableIn(own));
  EXPECT_EQ(recordFrom(own), THIN_CLIENT_LAUNCHER_PLUGIN_RECORDED);
  EXPECT_TRUE(isMarked(own));
}

TEST_F(PluginKit, SparesOtherFolders) {
  makeCopy();
  for (const fs::path& folder :
       {workingFolder, fs::path("/Applications"), home.launcherDirectory() / "45.12/inner"}) {
    const Copy own = makeCopy(folder);
    EXPECT_EQ(recordFrom(own), THIN_CLIENT_LAUNCHER_PLUGIN_NO_COPY) << folder;
    EXPECT_FALSE(isMarked(folder)) << folder;
    EXPECT_FALSE(isMarked(folder.parent_path())) << folder;
  }
}

// A Mac may run a quarantined bundle from such a mirror, on a read-only volume of its own.
TEST_F(PluginKit, SparesTranslocatedBundle) {
  const Copy own = makeCopy();
  const fs::path mirror = home.path() / "T/AppTranslocation/613DF902-6BE1-4C37-A4C2-349AA050923C/d";
  fs::create_directories(mirror);
  fs::copy(test::bundleIn(own), test::bundleIn(mirror), fs::copy_options::recursive);
  test::asUnprivilegedUser(home.path(), [&] {
    const test::ScopedPermissions readOnly(mirror, fs::perms::owner_read | fs::perms::owner_exec);
    EXPECT_EQ(recordFrom(mirror), THIN_CLIENT_LAUNCHER_PLUGIN_NO_COPY);
  });
  EXPECT_FALSE(isMarked(own));
}

// Only the bundle of this name is what the launcher starts.
TEST_F(PluginKit, SparesOtherBundles) {
  const Copy own = makeCopy();
  const fs::path other = own.dir() / "Other.app";
  fs::rename(test::bundleIn(own), other);
  EXPECT_EQ(
      run(other / "Contents/MacOS" / test::executableIn(own).filename(), {"record"}),
      THIN_CLIENT_LAUNCHER_PLUGIN_NO_COPY);
  EXPECT_FALSE(isMarked(own));
}

TEST_F(PluginKit, ReportsUnwritableCopy) {
  const Copy own = makeCopy();
  test::asUnprivilegedUser(home.path(), [&] {
    const test::ScopedPermissions readOnly(own, fs::perms::owner_read | fs::perms::owner_exec);
    EXPECT_EQ(recordFrom(own), THIN_CLIENT_LAUNCHER_PLUGIN_FAILED);
  });
}

TEST_F(PluginKit, EntersSharedCopy) {
  const Copy own = makeCopy();
  fs::copy_file(FAKE_LAUNCHER_LIBRARY, home.launcherDirectory() / "libThinClientLauncher.dylib");
  EXPECT_EQ(run(test::executableIn(own), {"launchermode", "45.12"}), 0);
  EXPECT_EQ(test::readFile(record), "launcher 3 [launchermode] [45.12] null\n");
}
