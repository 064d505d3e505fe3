#include "Fork.h"
#include "LauncherTest.h"

#include <set>

namespace fs = std::filesystem;

using testing::ElementsAre;
using testing::IsEmpty;
using testing::IsSupersetOf;
using testing::UnorderedElementsAre;

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
  makeLaunchedDirectory("an hour ago", hours(1));
  makeDirectory("never");
  makeLaunchedDirectory("a week ago", WEEK);
  launcher.cleanUpLauncherDirectory(launched);
  EXPECT_THAT(left(), UnorderedElementsAre("launched", "an hour ago", "a week ago"));
  EXPECT_THAT(messages(), IsEmpty());
}

TEST_F(CleanUp, RemovesAllOthers) {
  for (int day = 1; day <= 20; ++day)
    makeLaunchedDirectory("day " + std::to_string(day), hours(24 * day));
  launcher.cleanUpLauncherDirectory(launched);
  EXPECT_THAT(left(), UnorderedElementsAre("launched", "day 1", "day 2"));
}

TEST_F(CleanUp, KeepsLaunchedCopy) {
  fs::remove(launched / "launch.dat");
  makeLaunchedDirectory("a", hours(1));
  makeLaunchedDirectory("b", hours(2));
  makeLaunchedDirectory("c", hours(3));
  launcher.cleanUpLauncherDirectory(launched);
  EXPECT_THAT(left(), UnorderedElementsAre("launched", "a", "b"));
}

TEST_F(CleanUp, ComparesPathElements) {
  for (const char* name : {"a", "b", "c"})
    makeLaunchedDirectory(name, hours(1));
  fs::last_write_time(launched / "launch.dat", fs::file_time_type::clock::now() - WEEK);
  launcher.cleanUpLauncherDirectory(launcherDirectory().string() + "//launched");
  EXPECT_EQ(left().size(), 3U);
  EXPECT_TRUE(fs::exists(launched));
}

TEST_F(CleanUp, KeepsTwoOthers) {
  makeDirectory("never");
  makeLaunchedDirectory("a week ago", WEEK);
  launcher.cleanUpLauncherDirectory(launched);
  EXPECT_THAT(left(), UnorderedElementsAre("launched", "never", "a week ago"));
}

TEST_F(CleanUp, RemovesTwoOfFourTied) {
  for (const char* name : {"a", "b", "c", "d"})
    makeDirectory(name);
  launcher.cleanUpLauncherDirectory(launched);
  EXPECT_EQ(left().size(), 3U);
  EXPECT_TRUE(fs::exists(launched));
}

TEST_F(CleanUp, CountsAnyFolder) {
  makeLaunchedDirectory("with bundle", WEEK);
  for (const char* name : {"a", "b"})
    test::writeFile(launcherDirectory() / name / "launch.dat", "");
  launcher.cleanUpLauncherDirectory(launched);
  EXPECT_THAT(left(), UnorderedElementsAre("launched", "a", "b"));
}

TEST_F(CleanUp, GoesByLaunchTime) {
  makeCopy("newest", "99.0").launches("99").startedSafely().launched(WEEK);
  makeLaunchedDirectory("a", hours(1));
  makeLaunchedDirectory("b", hours(2));
  launcher.cleanUpLauncherDirectory(launched);
  EXPECT_THAT(left(), UnorderedElementsAre("launched", "a", "b"));
}

TEST_F(CleanUp, KeepsFiles) {
  for (const char* name : {"corrupt.dat", "libThinClientLauncher.dylib", "other"})
    test::writeFile(launcherDirectory() / name, "");
  fs::create_symlink(home.path() / "missing", launcherDirectory() / "dangling");
  makeDirectory("a");
  makeDirectory("b");
  launcher.cleanUpLauncherDirectory(launched);
  EXPECT_EQ(left().size(), 7U);
  makeDirectory("c");
  launcher.cleanUpLauncherDirectory(launched);
  EXPECT_THAT(
      left(),
      IsSupersetOf(
          {"launched", "corrupt.dat", "libThinClientLauncher.dylib", "other", "dangling"}));
  EXPECT_EQ(left().size(), 7U);
}

TEST_F(CleanUp, ReadsTimeThroughLink) {
  const fs::path target = home.path() / "elsewhere";
  fs::rename(makeLaunchedDirectory("moved", hours(1)), target);
  fs::create_directory_symlink(target, launcherDirectory() / "link");
  makeLaunchedDirectory("a", hours(2));
  makeLaunchedDirectory("b", hours(3));
  launcher.cleanUpLauncherDirectory(launched);
  EXPECT_THAT(left(), UnorderedElementsAre("launched", "link", "a"));
}

// It is excluded by its path: a link to it is another folder, with the same launch time.
TEST_F(CleanUp, CountsLinkToLaunchedCopy) {
  fs::create_directory_symlink(launched, launcherDirectory() / "link");
  makeLaunchedDirectory("a", hours(1));
  makeLaunchedDirectory("b", hours(2));
  launcher.cleanUpLauncherDirectory(launched);
  EXPECT_THAT(left(), UnorderedElementsAre("launched", "link", "a"));
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
  EXPECT_THAT(messages(), IsEmpty());
}

TEST_F(CleanUp, AcceptsNoLibrary) {
  fs::remove_all(home.path() / "Library");
  launcher.cleanUpLauncherDirectory("");
  EXPECT_THAT(messages(), IsEmpty());
}

TEST_F(CleanUp, RaisesForLockedLauncherFolder) {
  test::asUnprivilegedUser(home.path(), [&] {
    const test::ScopedPermissions scoped(launcherDirectory(), fs::perms::owner_exec);
    EXPECT_THROW(launcher.cleanUpLauncherDirectory(launched), fs::filesystem_error);
  });
}

TEST_F(CleanUp, RaisesForLockedCopy) {
  const fs::path locked = makeDirectory("locked");
  test::asUnprivilegedUser(home.path(), [&] {
    const test::ScopedPermissions scoped(locked, fs::perms::none);
    EXPECT_THROW(launcher.cleanUpLauncherDirectory(launched), fs::filesystem_error);
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
