#include "Fork.h"
#include "LauncherTest.h"

namespace fs = std::filesystem;

using namespace testing;

namespace {

class Scan : public test::LauncherTest {
protected:
  // What the scan finds in the launcher folder, behind its two fixed entries.
  std::vector<fs::path> found() const {
    auto candidates = launcher.scanForPossibleDirectories();
    EXPECT_GE(candidates.size(), 2U);
    candidates.erase(candidates.begin(), candidates.begin() + 2);
    return candidates;
  }
};

class Membership : public test::LauncherTest {};

} // namespace

TEST_F(Scan, BeginsWithFixedFolders) {
  EXPECT_THAT(
      launcher.scanForPossibleDirectories(), ElementsAre("/Applications", fs::current_path()));
  fs::remove_all(home.applicationSupport());
  for (const fs::path& current : {home.path(), fs::path("/Applications")}) {
    test::inChildProcessAt(current, [&] {
      EXPECT_THAT(launcher.scanForPossibleDirectories(), ElementsAre("/Applications", current));
    });
  }
}

// Links to folders included, by their own path.
TEST_F(Scan, ListsSubFolders) {
  fs::create_directories(launcherDirectory() / "45.11.0.1" / "deeper");
  fs::create_directory(home.path() / "elsewhere");
  fs::create_directory_symlink(home.path() / "elsewhere", launcherDirectory() / "link");
  test::writeFile(launcherDirectory() / "corrupt.dat", "");
  fs::create_symlink("corrupt.dat", launcherDirectory() / "link to file");
  fs::create_symlink("missing", launcherDirectory() / "dangling");
  EXPECT_THAT(
      found(),
      UnorderedElementsAre(launcherDirectory() / "45.11.0.1", launcherDirectory() / "link"));
  EXPECT_THAT(messages(), IsEmpty());
}

TEST_F(Scan, ListsFoldersOfAnyName) {
  NEEDS_LINUX("a Mac's file system refuses a name that is not UTF-8");
  for (const char* name : {".hidden", "two words", "line\nfeed", "\xFF"})
    fs::create_directories(launcherDirectory() / name);
  EXPECT_EQ(found().size(), 4U);
}

TEST_F(Scan, FollowsLauncherFolderLink) {
  fs::create_directories(home.path() / "elsewhere" / "45.11.0.1");
  fs::create_directory_symlink(home.path() / "elsewhere", launcherDirectory());
  EXPECT_THAT(found(), ElementsAre(launcherDirectory() / "45.11.0.1"));
}

TEST_F(Scan, KeepsListingOrder) {
  for (const int number : {31, 14, 15, 92, 65, 35, 89, 79, 32, 38, 46, 26, 43, 83, 27, 95})
    fs::create_directories(launcherDirectory() / std::to_string(number));
  EXPECT_EQ(found(), test::directoriesIn(launcherDirectory()));
}

TEST_F(Scan, RaisesForUnexaminableEntry) {
  test::writeFile(launcherDirectory(), "");
  EXPECT_THROW(launcher.scanForPossibleDirectories(), fs::filesystem_error);
  fs::remove(launcherDirectory());
  fs::create_directory(launcherDirectory());
  fs::create_symlink("loop", launcherDirectory() / "loop");
  EXPECT_THROW(launcher.scanForPossibleDirectories(), fs::filesystem_error);
}

TEST_F(Scan, RaisesForLostWorkingFolder) {
  const fs::path gone = home.path() / "gone";
  fs::create_directory(gone);
  test::inChildProcessAt(gone, [&] {
    fs::remove(gone);
    EXPECT_THROW(launcher.scanForPossibleDirectories(), fs::filesystem_error);
  });
}

TEST_F(Scan, RaisesForDeniedPermission) {
  home.copy("45.11.0.1", "45.11.0.1");
  test::asUnprivilegedUser(home.path(), [&] {
    for (const auto& folder :
         {launcherDirectory(), home.applicationSupport(), home.path() / "Library"}) {
      SCOPED_TRACE(folder);
      const test::ScopedPermissions scoped(folder, fs::perms::none);
      EXPECT_THROW(launcher.scanForPossibleDirectories(), fs::filesystem_error);
    }
    EXPECT_EQ(found().size(), 1U);
  });
}

TEST_F(Membership, HoldsForDirectChildren) {
  const fs::path folder = launcherDirectory();
  const std::string text = folder.string();
  fs::create_directories(folder / "45.11.0.1");
  fs::create_directory_symlink(folder, home.path() / "link");
  const struct {
    fs::path dir;
    bool expected;
  } rows[] = {
      {folder / "45.11.0.1", true},
      {folder / "missing", true},
      {text + "//45.11.0.1", true},
      {home.path().string() + "//Library/Application Support///VantuOrlixVDILauncher/copy", true},
      {folder, false},
      {text + "/", true}, // the last element is the empty one
      {text + "/45.11.0.1/", false},
      {folder / "45.11.0.1" / "OrlixVDIPlugin.app", false},
      {text + "/./45.11.0.1", false},
      {text + "/45.11.0.1/../45.11.0.1", false},
      {home.path() / "link" / "45.11.0.1", false},
      {home.applicationSupport() / "vantuorlixvdilauncher" / "45.11.0.1", false},
      {"/Applications", false},
      {fs::current_path(), false},
      {"45.11.0.1", false},
      {"", false},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.dir);
    EXPECT_EQ(launcher.isBelongLaunchDirectory(row.dir), row.expected);
  }
}

TEST_F(Membership, HoldsForBareNames) {
  fs::remove_all(home.applicationSupport());
  EXPECT_TRUE(launcher.isBelongLaunchDirectory(""));
  EXPECT_TRUE(launcher.isBelongLaunchDirectory("name"));
  EXPECT_FALSE(launcher.isBelongLaunchDirectory("/Applications"));
}
