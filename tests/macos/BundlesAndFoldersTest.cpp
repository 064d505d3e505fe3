#include "BridgeTest.h"
#include "LauncherHelper.h"
#include "PlatformCalls.h"

#include <sys/stat.h>

namespace fs = std::filesystem;
using testing::ElementsAre;

namespace {

// --- Folders ---

class Folders : public test::BridgeTest {};

TEST_F(Folders, LauncherFolderIsLookedUpInApplicationSupportOfTheUserWithTheTildeExpanded) {
  EXPECT_EQ(LauncherHelper::getLauncherDirectory(), launcherFolder());
  EXPECT_THAT(test::folderLookups(), ElementsAre("14 1 YES"));
}

TEST_F(Folders, LauncherFolderIsNamedWhetherOrNotItExists) {
  const fs::path before = LauncherHelper::getLauncherDirectory();
  fs::create_directory(launcherFolder());
  EXPECT_EQ(before, LauncherHelper::getLauncherDirectory());
}

TEST_F(Folders, LauncherFolderIsTheEmptyPathWithoutApplicationSupport) {
  fs::remove(applicationSupport());
  EXPECT_EQ(LauncherHelper::getLauncherDirectory(), fs::path());
}

TEST_F(Folders, LauncherFolderIsTakenFromTheFirstOfSeveralFolders) {
  fs::create_directory(folder() / "first");
  test::nameFolders({{folder() / "first", applicationSupport()}});
  EXPECT_EQ(LauncherHelper::getLauncherDirectory(), folder() / "first" / "VantuOrlixVDILauncher");
}

TEST_F(Folders, LauncherFolderIsTheEmptyPathWhenTheSystemNamesNoFolder) {
  test::nameFolders(std::vector<std::string>());
  EXPECT_EQ(LauncherHelper::getLauncherDirectory(), fs::path());
}

TEST_F(Folders, LauncherFolderRaisesWhenApplicationSupportCannotBeExamined) {
  test::nameFolders({{folder() / std::string(5000, 'x')}});
  EXPECT_THROW(LauncherHelper::getLauncherDirectory(), fs::filesystem_error);
}

TEST_F(Folders, LogFolderIsLookedUpInLibraryOfTheUserWithTheTildeExpanded) {
  EXPECT_EQ(LauncherHelper::getLogPath(), library() / "Logs" / "VantuOrlixVDI");
  EXPECT_THAT(test::folderLookups(), ElementsAre("5 1 YES"));
}

TEST_F(Folders, LogFolderIsNamedEvenWithoutALibraryFolder) {
  fs::remove_all(library());
  EXPECT_EQ(LauncherHelper::getLogPath(), library() / "Logs" / "VantuOrlixVDI");
  EXPECT_FALSE(fs::exists(library()));
}

TEST_F(Folders, LogFolderIsTakenFromTheFirstOfSeveralFolders) {
  test::nameFolders({{"/first", "/second"}});
  EXPECT_EQ(LauncherHelper::getLogPath(), "/first/Logs/VantuOrlixVDI");
}

TEST_F(Folders, LogFolderIsTheEmptyPathWhenTheSystemNamesNoFolder) {
  test::nameFolders(std::vector<std::string>());
  EXPECT_EQ(LauncherHelper::getLogPath(), fs::path());
}

TEST_F(Folders, NonAsciiFolderKeepsItsBytes) {
  test::nameFolders({{"/Users/Zo\xc3\xab"}});
  EXPECT_EQ(LauncherHelper::getLogPath().string(), "/Users/Zo\xc3\xab/Logs/VantuOrlixVDI");
}

TEST_F(Folders, FolderWithoutAUtf8FormIsTheEmptyPath) {
  test::nameFolders({{"/Users/\xff"}});
  EXPECT_EQ(LauncherHelper::getLauncherDirectory(), fs::path());
  EXPECT_EQ(LauncherHelper::getLogPath(), fs::path());
}

// --- Versions of bundles ---

class BundleVersion : public test::BridgeTest {
protected:
  // The version read from a bundle whose list has this XML value under the key.
  std::string versionOf(const std::string& value) const {
    test::makeGnustepBundle(
        folder(),
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>"
        "<key>CFBundleShortVersionString</key>" +
            value + "</dict></plist>\n");
    return LauncherHelper::getDirectoryVersion(folder());
  }
};

TEST_F(BundleVersion, IsTheTextUnderTheKey) {
  test::makeCopy(folder(), "45.10.0.32950");
  EXPECT_EQ(LauncherHelper::getDirectoryVersion(folder()), "45.10.0.32950");
}

TEST_F(BundleVersion, IsNotTrimmedOrTestedForItsFormat) {
  EXPECT_EQ(versionOf("<string> 45.x \n</string>"), " 45.x \n");
}

TEST_F(BundleVersion, KeepsItsUtf8Bytes) {
  EXPECT_EQ(
      versionOf("<string>45.\xc3\xa9\xf0\x9f\x98\x80</string>"), "45.\xc3\xa9\xf0\x9f\x98\x80");
}

TEST_F(BundleVersion, IsEmptyForAnEmptyText) {
  EXPECT_EQ(versionOf("<string></string>"), "");
}

TEST_F(BundleVersion, IsEmptyWithoutTheBundle) {
  EXPECT_EQ(LauncherHelper::getDirectoryVersion(folder()), "");
}

TEST_F(BundleVersion, IsEmptyWithoutTheFolder) {
  EXPECT_EQ(LauncherHelper::getDirectoryVersion(folder() / "none"), "");
}

TEST_F(BundleVersion, IsEmptyForAFileInPlaceOfTheBundle) {
  test::writeFile(folder() / "OrlixVDIPlugin.app", "text");
  EXPECT_EQ(LauncherHelper::getDirectoryVersion(folder()), "");
}

TEST_F(BundleVersion, IsEmptyWithoutAPropertyList) {
  fs::create_directory(folder() / "OrlixVDIPlugin.app");
  EXPECT_EQ(LauncherHelper::getDirectoryVersion(folder()), "");
}

TEST_F(BundleVersion, IsEmptyForAMalformedPropertyList) {
  test::makeGnustepBundle(folder(), "<plist><dict><key>CFBundleShort");
  EXPECT_EQ(LauncherHelper::getDirectoryVersion(folder()), "");
}

TEST_F(BundleVersion, IsEmptyForAPropertyListThatIsNoDictionary) {
  test::makeGnustepBundle(folder(), "<plist version=\"1.0\"><array/></plist>");
  EXPECT_EQ(LauncherHelper::getDirectoryVersion(folder()), "");
}

TEST_F(BundleVersion, IsEmptyWithoutTheKey) {
  test::makeGnustepBundle(folder(), test::propertyList({{"CFBundleName", "plug-in"}}));
  EXPECT_EQ(LauncherHelper::getDirectoryVersion(folder()), "");
}

class BundleVersionOfAnotherType : public BundleVersion,
                                   public testing::WithParamInterface<const char*> {};

TEST_P(BundleVersionOfAnotherType, IsEmptyAndRaisesNothing) {
  EXPECT_EQ(versionOf(GetParam()), "");
}

INSTANTIATE_TEST_SUITE_P(
    Values,
    BundleVersionOfAnotherType,
    testing::Values(
        "<integer>45</integer>",
        "<real>45.1</real>",
        "<true/>",
        "<date>2026-03-07T14:05:09Z</date>",
        "<data>NDUuMQ==</data>",
        "<array><string>45.1</string></array>",
        "<dict><key>CFBundleShortVersionString</key><string>45.1</string></dict>"));

TEST_F(BundleVersion, IsReadThroughAFolderWithATrailingSeparatorOrNonAsciiLetters) {
  const fs::path named = folder() / "Gr\xc3\xbc\xc3\x9f" / "";
  test::makeCopy(named, "45.1");
  EXPECT_EQ(LauncherHelper::getDirectoryVersion(named), "45.1");
}

TEST_F(BundleVersion, IsEmptyForAFolderWhoseNameIsNotUtf8) {
  const fs::path named = folder() / "\xff\xfe";
  test::makeCopy(named, "45.1");
  EXPECT_EQ(LauncherHelper::getDirectoryVersion(named), "");
}

} // namespace
