#include "Fork.h"
#include "LauncherTest.h"

#include <set>

namespace fs = std::filesystem;

using namespace testing;

namespace {

using std::chrono::hours;

constexpr hours WEEK{24 * 7};

class CleanUp : public test::LauncherTest {
protected:
  // A folder of the launcher folder, never launched.
  fs::path makeDirectory(const std::string& name) const {
    test::writeFile(launcherDirectory() / name / "content" / "file", "content");
    return launcherDirectory() / name;
  }

  fs::path makeLaunchedDirectory(const std::string& name, hours ago) const {
    return test::Copy(makeDirectory(name)).launched(ago);
  }

  std::set<std::string> left() const {
    std::set<std::string> names;
    for (const auto& entry : fs::directory_iterator(launcherDirectory()))
      names.insert(entry.path().filename());
    return names;
  }

  const fs::path launched = makeLaunchedDirectory("launched", hours(0));
};

} // namespace

TEST_F(CleanUp, KeepsTwoMostRecent) {
  makeDirectory("never");
  makeLaunchedDirectory("a week ago", WEEK);
  launcher.cleanUpLauncherDirectory(launched);
  EXPECT_THAT(left(), UnorderedElementsAre("launched", "never", "a week ago"));
  for (int day = 1; day <= 20; ++day)
    makeLaunchedDirectory("day " + std::to_string(day), hours(24 * day));
  launcher.cleanUpLauncherDirectory(launched);
  EXPECT_THAT(left(), UnorderedElementsAre("launched", "day 1", "day 2"));
  EXPECT_THAT(messages(), IsEmpty());
}

// However old it is, and however its path is written.
TEST_F(CleanUp, KeepsLaunchedCopy) {
  fs::remove(launched / "launch.dat");
  for (const char* name : {"a", "b", "c"})
    makeLaunchedDirectory(name, hours(1));
  launcher.cleanUpLauncherDirectory(launcherDirectory().string() + "//launched");
  EXPECT_EQ(left().size(), 3U);
  EXPECT_TRUE(fs::exists(launched));
}

TEST_F(CleanUp, GoesByLaunchTime) {
  home.copy("newest", "99.0").launches("99").startedSafely().launched(WEEK);
  makeLaunchedDirectory("a", hours(1));
  makeLaunchedDirectory("b", hours(2));
  launcher.cleanUpLauncherDirectory(launched);
  EXPECT_THAT(left(), UnorderedElementsAre("launched", "a", "b"));
}

TEST_F(CleanUp, KeepsFiles) {
  for (const char* name : {"corrupt.dat", "libThinClientLauncher.dylib", "other"})
    test::writeFile(launcherDirectory() / name, "");
  fs::create_symlink(home.path() / "missing", launcherDirectory() / "dangling");
  for (const char* name : {"a", "b", "c"})
    makeDirectory(name);
  launcher.cleanUpLauncherDirectory(launched);
  EXPECT_THAT(
      left(),
      IsSupersetOf(
          {"launched", "corrupt.dat", "libThinClientLauncher.dylib", "other", "dangling"}));
  EXPECT_EQ(left().size(), 7U);
}

// Each is a folder with the launch time of its target, the one to the launched copy too.
TEST_F(CleanUp, CountsLinks) {
  const fs::path target = home.path() / "elsewhere";
  fs::rename(makeLaunchedDirectory("moved", hours(1)), target);
  fs::create_directory_symlink(target, launcherDirectory() / "link");
  fs::create_directory_symlink(launched, launcherDirectory() / "link to launched");
  makeLaunchedDirectory("a", hours(2));
  launcher.cleanUpLauncherDirectory(launched);
  EXPECT_THAT(left(), UnorderedElementsAre("launched", "link", "link to launched"));
}

TEST_F(CleanUp, KeepsTargetsOfLinks) {
  const fs::path precious = home.path() / "outside" / "folder" / "file";
  test::writeFile(precious, "precious");
  for (const char* name : {"a", "b"})
    makeLaunchedDirectory(name, hours(1));
  for (const fs::path& folder : {launcherDirectory(), makeDirectory("old")})
    fs::create_directory_symlink(home.path() / "outside", folder / "link");
  fs::create_directory_symlink(launcherDirectory(), launcherDirectory() / "old" / "loop");
  launcher.cleanUpLauncherDirectory(launched);
  EXPECT_THAT(left(), UnorderedElementsAre("launched", "a", "b"));
  EXPECT_EQ(test::readFile(precious), "precious");
}

TEST_F(CleanUp, SkipsLaunchElsewhere) {
  for (const char* name : {"a", "b", "c"})
    makeDirectory(name);
  for (const auto& dir :
       {fs::path("/Applications"), launcherDirectory(), launched / "", fs::path()}) {
    SCOPED_TRACE(dir);
    emptyLog();
    launcher.cleanUpLauncherDirectory(dir);
    EXPECT_EQ(left().size(), 4U);
    EXPECT_THAT(messages(), ElementsAre("not started from launcher folder, do not clean"));
  }
}

TEST_F(CleanUp, AcceptsNoLauncherFolder) {
  fs::remove_all(launcherDirectory());
  launcher.cleanUpLauncherDirectory(launched);
  EXPECT_FALSE(fs::exists(launcherDirectory()));
  fs::remove_all(home.path() / "Library");
  launcher.cleanUpLauncherDirectory("");
  EXPECT_THAT(messages(), IsEmpty());
}

TEST_F(CleanUp, RaisesForLockedFolder) {
  const fs::path locked = makeDirectory("locked");
  test::asUnprivilegedUser(home.path(), [&] {
    for (const auto& folder : {launcherDirectory(), locked}) {
      const test::ScopedPermissions scoped(folder, fs::perms::none);
      EXPECT_THROW(launcher.cleanUpLauncherDirectory(launched), fs::filesystem_error) << folder;
    }
  });
}

TEST_F(CleanUp, GoesOnAfterFailedRemoval) {
  makeLaunchedDirectory("a", hours(1));
  makeLaunchedDirectory("b", hours(2));
  const fs::path stuck = makeLaunchedDirectory("stuck", hours(4));
  makeLaunchedDirectory("removed after it", hours(3));
  test::asUnprivilegedUser(home.path(), [&] {
    const auto permissions = fs::perms::owner_read | fs::perms::owner_exec;
    const test::ScopedPermissions scoped(stuck / "content", permissions);
    launcher.cleanUpLauncherDirectory(launched);
    std::error_code error;
    fs::remove_all(stuck, error);
    EXPECT_TRUE(error);
    EXPECT_THAT(messages(), ElementsAre("remove directory failed: " + error.message()));
    EXPECT_THAT(left(), UnorderedElementsAre("launched", "a", "b", "stuck"));
  });
}

TEST_F(CleanUp, RemovesWholeDirectory) {
  ThinClientLauncherBase::removeDirectory(launched);
  EXPECT_FALSE(fs::exists(launched));
  ThinClientLauncherBase::removeDirectory(launched);
  EXPECT_THAT(messages(), IsEmpty());
}
