#include "Fork.h"
#include "LauncherHelper.h"
#include "LauncherTest.h"

namespace fs = std::filesystem;

using testing::IsEmpty;

namespace {

class Layout : public test::LauncherTest {
protected:
  const fs::path dir = home.path() / "candidate";
  const fs::path bundle = dir / "OrlixVDIPlugin.app";
};

} // namespace

// If there is anything of the name Application Support.
TEST_F(Layout, NamesLauncherFolder) {
  EXPECT_EQ(LauncherHelper::getLauncherDirectory(), launcherDirectory());
  EXPECT_FALSE(fs::exists(launcherDirectory()));
  fs::create_directories(launcherDirectory());
  EXPECT_EQ(LauncherHelper::getLauncherDirectory(), launcherDirectory());
  fs::remove_all(home.applicationSupport());
  EXPECT_EQ(LauncherHelper::getLauncherDirectory(), fs::path());
  fs::create_symlink(home.path() / "target", home.applicationSupport());
  EXPECT_EQ(LauncherHelper::getLauncherDirectory(), fs::path());
  test::writeFile(home.path() / "target", "");
  EXPECT_EQ(LauncherHelper::getLauncherDirectory(), launcherDirectory());
}

TEST_F(Layout, TakesAnyEntryForABundle) {
  EXPECT_FALSE(LauncherHelper::isVDIPluginDirectory(dir)) << "missing folder";
  EXPECT_FALSE(LauncherHelper::isVDIPluginDirectory("")) << "empty path";
  fs::create_directory(dir);
  expectAnyEntryCounts(bundle, [this] { return LauncherHelper::isVDIPluginDirectory(dir); });
  EXPECT_FALSE(LauncherHelper::isVDIPluginDirectory(bundle)) << "the bundle itself";
}

TEST_F(Layout, ReadsVersionUnchanged) {
  for (const char* version : {"45.10.0.32950", " 45.10 ", "no version", "", "45.10 \xC3\xA9"}) {
    SCOPED_TRACE(version);
    test::Copy(dir, version);
    EXPECT_EQ(LauncherHelper::getDirectoryVersion(dir), version);
  }
}

TEST_F(Layout, JoinsByOneSeparator) {
  test::Copy(dir, "45.10.0.32950");
  EXPECT_TRUE(LauncherHelper::isVDIPluginDirectory(dir / ""));
  EXPECT_EQ(LauncherHelper::getDirectoryVersion(dir / ""), "45.10.0.32950");

  fs::remove_all(bundle);
  fs::create_symlink(bundle, bundle);
  try {
    LauncherHelper::isVDIPluginDirectory(dir / "");
    ADD_FAILURE() << "a link to itself was examined";
  } catch (const fs::filesystem_error& error) {
    EXPECT_EQ(error.path1().native(), bundle.native());
  }
}

TEST_F(Layout, HasFixedAnswers) {
  test::Copy(dir, "45.10.0.32950");
  EXPECT_EQ(LauncherHelper::getCurrentPackageDirectory(), fs::path());
  for (const auto& path : {dir, bundle, fs::path("/Applications"), fs::path()}) {
    EXPECT_FALSE(LauncherHelper::isSetupEngineDirectory(path)) << path;
    EXPECT_EQ(LauncherHelper::getVDIExeVersion(path), "") << path;
  }
}

TEST_F(Layout, KeepsBytesOfPaths) {
  for (const char* text : {"", "/a/b", "/a//b/", "\xC3\xBC\xE2\x82\xAC", "two words\n"})
    EXPECT_EQ(LauncherHelper::toStdString(text), text);
}

TEST_F(Layout, ChangesNothing) {
  fs::remove_all(home.path() / "Library");
  LauncherHelper::getLauncherDirectory();
  LauncherHelper::getLogPath();
  LauncherHelper::isVDIPluginDirectory(dir);
  LauncherHelper::getDirectoryVersion(dir);
  EXPECT_THAT(messages(), IsEmpty());
  EXPECT_EQ(std::distance(fs::directory_iterator(home.path()), {}), 1) << "more than the log";
}

TEST_F(Layout, RaisesForLockedFolder) {
  test::Copy(dir, "45.10.0.32950");
  test::asUnprivilegedUser(home.path(), [&] {
    const test::ScopedPermissions candidate(dir, fs::perms::none);
    EXPECT_THROW(LauncherHelper::isVDIPluginDirectory(dir), fs::filesystem_error);
    EXPECT_EQ(LauncherHelper::getDirectoryVersion(dir), "") << "an unreadable bundle is no error";
    const test::ScopedPermissions library(home.path() / "Library", fs::perms::none);
    EXPECT_THROW(LauncherHelper::getLauncherDirectory(), fs::filesystem_error);
    EXPECT_EQ(LauncherHelper::getLogPath(), home.logDirectory()) << "not examined";
  });
}
