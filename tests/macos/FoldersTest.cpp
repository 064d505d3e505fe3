#include "BridgeTest.h"
#include "LauncherHelper.h"
#include "Platform.h"

namespace fs = std::filesystem;
namespace fake = test::FakePlatform;
using testing::ElementsAre;

namespace {

// --- Folders ---

class Folders : public test::BridgeTest {};

TEST_F(Folders, LauncherFolder) {
  EXPECT_EQ(LauncherHelper::getLauncherDirectory(), launcherDirectory());
  EXPECT_THAT(fake::calls(), ElementsAre("NSSearchPathForDirectoriesInDomains 14 1 YES"));
}

TEST_F(Folders, LogFolder) {
  EXPECT_EQ(LauncherHelper::getLogPath(), library() / "Logs" / "VantuOrlixVDI");
  EXPECT_THAT(fake::calls(), ElementsAre("NSSearchPathForDirectoriesInDomains 5 1 YES"));
}

TEST_F(Folders, NoLibrary) {
  fs::remove_all(library());
  EXPECT_EQ(LauncherHelper::getLogPath(), library() / "Logs" / "VantuOrlixVDI");
  EXPECT_FALSE(fs::exists(library()));
}

TEST_F(Folders, FirstOfSeveral) {
  fake::nameDirectories({folder(), applicationSupport()});
  EXPECT_EQ(LauncherHelper::getLauncherDirectory(), folder() / "VantuOrlixVDILauncher");
  EXPECT_EQ(LauncherHelper::getLogPath(), folder() / "Logs" / "VantuOrlixVDI");
}

TEST_F(Folders, NoneNamed) {
  fake::nameDirectories({});
  EXPECT_EQ(LauncherHelper::getLauncherDirectory(), fs::path());
  EXPECT_EQ(LauncherHelper::getLogPath(), fs::path());
}

TEST_F(Folders, NoUtf8Form) {
  fake::nameDirectories({"/Users/\xff"});
  EXPECT_EQ(LauncherHelper::getLauncherDirectory(), fs::path());
  EXPECT_EQ(LauncherHelper::getLogPath(), fs::path());
}

TEST_F(Folders, NonAscii) {
  fake::nameDirectories({"/Users/Zo\xc3\xab"});
  EXPECT_EQ(LauncherHelper::getLogPath().string(), "/Users/Zo\xc3\xab/Logs/VantuOrlixVDI");
}

// --- Versions of bundles ---

class BundleVersion : public test::BridgeTest {
protected:
  // The version read from a bundle with this property list.
  std::string versionIn(const std::string& list) const {
    return LauncherHelper::getDirectoryVersion(test::Copy(folder()).list(list));
  }
};

TEST_F(BundleVersion, NoBundle) {
  EXPECT_EQ(LauncherHelper::getDirectoryVersion(folder()), "");
}

TEST_F(BundleVersion, NoFolder) {
  EXPECT_EQ(LauncherHelper::getDirectoryVersion(folder() / "none"), "");
}

TEST_F(BundleVersion, FileAsBundle) {
  test::writeFile(folder() / "OrlixVDIPlugin.app", "text");
  EXPECT_EQ(LauncherHelper::getDirectoryVersion(folder()), "");
}

TEST_F(BundleVersion, NoList) {
  fs::create_directory(folder() / "OrlixVDIPlugin.app");
  EXPECT_EQ(LauncherHelper::getDirectoryVersion(folder()), "");
}

TEST_F(BundleVersion, MalformedList) {
  EXPECT_EQ(versionIn("<plist><dict><key>CFBundleShort"), "");
}

TEST_F(BundleVersion, NoDictionary) {
  EXPECT_EQ(versionIn("<plist version=\"1.0\"><array/></plist>"), "");
}

TEST_F(BundleVersion, NoKey) {
  EXPECT_EQ(versionIn(test::propertyList({{"CFBundleName", "plug-in"}})), "");
}

TEST_F(BundleVersion, UnusualPath) {
  const fs::path named = folder() / "Gr\xc3\xbc\xc3\x9f" / "";
  EXPECT_EQ(LauncherHelper::getDirectoryVersion(test::Copy(named, "45.1")), "45.1");
}

TEST_F(BundleVersion, PathNotUtf8) {
  const fs::path named = folder() / "\xff\xfe";
  EXPECT_EQ(LauncherHelper::getDirectoryVersion(test::Copy(named)), "");
}

TEST_F(BundleVersion, NamesProblem) {
  using Platform::ListProblem;
  const std::pair<std::string, ListProblem> rows[] = {
      {test::propertyList({{"CFBundleShortVersionString", ""}}), ListProblem::None},
      {test::propertyList({{"CFBundleName", "plug-in"}}), ListProblem::NoKey},
      {"<plist><dict><key>CFBundleShort", ListProblem::Malformed},
      {"<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>"
       "<key>CFBundleShortVersionString</key><integer>45</integer>"
       "</dict></plist>",
       ListProblem::NoText}};
  for (const auto& [list, problem] : rows) {
    const test::ScopedDirectory copy;
    test::Copy(copy.path()).list(list);
    EXPECT_EQ(Platform::versionProblem(test::bundleIn(copy.path())), problem) << list;
  }
}

TEST_F(BundleVersion, NamesProgram) {
  test::Copy copy(folder());
  copy.list(test::propertyList({{"CFBundleExecutable", "Program"}}));
  EXPECT_EQ(Platform::executableName(test::bundleIn(copy)), "Program");
  const test::ScopedDirectory unnamed;
  test::Copy(unnamed.path()).list(test::propertyList({{"CFBundleName", "plug-in"}}));
  EXPECT_EQ(Platform::executableName(test::bundleIn(unnamed.path())), "OrlixVDIPlugin");
}

// --- Values under the key ---

struct Value {
  std::string xml;
  std::string version;
};

class BundleValue : public BundleVersion, public testing::WithParamInterface<Value> {};

TEST_P(BundleValue, GivesVersion) {
  const std::string list = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">"
                           "<dict><key>CFBundleShortVersionString</key>" +
                           GetParam().xml + "</dict></plist>\n";
  EXPECT_EQ(versionIn(list), GetParam().version);
}

INSTANTIATE_TEST_SUITE_P(
    Texts,
    BundleValue,
    testing::Values(
        Value{"<string>45.10.0.32950</string>", "45.10.0.32950"},
        Value{"<string> 45.x \n</string>", " 45.x \n"},
        Value{"<string>45.\xc3\xa9\xf0\x9f\x98\x80</string>", "45.\xc3\xa9\xf0\x9f\x98\x80"},
        Value{"<string></string>", ""}));

INSTANTIATE_TEST_SUITE_P(
    OtherTypes,
    BundleValue,
    testing::Values(
        Value{"<integer>45</integer>", ""},
        Value{"<real>45.1</real>", ""},
        Value{"<true/>", ""},
        Value{"<date>2026-03-07T14:05:09Z</date>", ""},
        Value{"<data>NDUuMQ==</data>", ""},
        Value{"<array><string>45.1</string></array>", ""},
        Value{"<dict><key>CFBundleShortVersionString</key><string>45.1</string></dict>", ""}));

} // namespace
