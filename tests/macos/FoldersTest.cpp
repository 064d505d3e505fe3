#include "BridgeTest.h"
#include "LauncherHelper.h"
#include "Platform.h"
#include "PropertyLists.h"

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

// It need not exist.
TEST_F(Folders, LogFolder) {
  fs::remove_all(library());
  EXPECT_EQ(LauncherHelper::getLogPath(), library() / "Logs" / "VantuOrlixVDI");
  EXPECT_THAT(fake::calls(), ElementsAre("NSSearchPathForDirectoriesInDomains 5 1 YES"));
  EXPECT_FALSE(fs::exists(library()));
}

TEST_F(Folders, FirstOfSeveral) {
  fake::nameDirectories({folder() / "Zo\xc3\xab", applicationSupport()});
  fs::create_directory(folder() / "Zo\xc3\xab");
  EXPECT_EQ(LauncherHelper::getLauncherDirectory(), folder() / "Zo\xc3\xab/VantuOrlixVDILauncher");
  EXPECT_EQ(LauncherHelper::getLogPath(), folder() / "Zo\xc3\xab/Logs/VantuOrlixVDI");
}

TEST_F(Folders, None) {
  for (const auto& named :
       {std::vector<std::string>(), {"/Users/\xff"}}) { // that has no UTF-8 form
    fake::nameDirectories(named);
    EXPECT_EQ(LauncherHelper::getLauncherDirectory(), fs::path());
    EXPECT_EQ(LauncherHelper::getLogPath(), fs::path());
  }
}

// --- Lists of bundles ---

using Platform::ListProblem;

struct Row {
  std::string list;
  std::string version;
  ListProblem problem;
};

std::string listWith(const std::string& value) {
  return test::xmlWithEntries(test::xmlEntry(value));
}

class Bundle : public test::BridgeTest {};

TEST_F(Bundle, WithoutList) {
  EXPECT_EQ(LauncherHelper::getDirectoryVersion(folder() / "none"), "") << "no folder";
  const fs::path bundle = folder() / "OrlixVDIPlugin.app";
  EXPECT_EQ(LauncherHelper::getDirectoryVersion(folder()), "") << "no bundle";
  test::writeFile(bundle, "text");
  EXPECT_EQ(LauncherHelper::getDirectoryVersion(folder()), "") << "a file";
  fs::remove(bundle);
  fs::create_directory(bundle);
  EXPECT_EQ(LauncherHelper::getDirectoryVersion(folder()), "") << "no list";
}

TEST_F(Bundle, GivesVersion) {
  const Row rows[] = {
      {listWith("<string>45.10.0.32950</string>"), "45.10.0.32950", ListProblem::None},
      {listWith("<string> 45.x \n</string>"), " 45.x \n", ListProblem::None},
      {listWith("<string>45.\xc3\xa9\xf0\x9f\x98\x80</string>"),
       "45.\xc3\xa9\xf0\x9f\x98\x80",
       ListProblem::None},
      {listWith("<string></string>"), "", ListProblem::None},
      {listWith("<integer>45</integer>"), "", ListProblem::NoText},
      {listWith("<true/>"), "", ListProblem::NoText},
      {listWith("<date>2026-03-07T14:05:09Z</date>"), "", ListProblem::NoText},
      {listWith("<data>NDUuMQ==</data>"), "", ListProblem::NoText},
      {listWith("<array><string>45.1</string></array>"), "", ListProblem::NoText},
      {test::propertyList({{"CFBundleName", "plug-in"}}), "", ListProblem::NoKey},
      {test::xmlList("<array/>"), "", ListProblem::Malformed},
      {"<plist><dict><key>CFBundleShort", "", ListProblem::Malformed},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.list);
    const test::ScopedDirectory copy; // of this row's own: Foundation remembers bundles
    test::Copy(copy.path()).list(row.list);
    EXPECT_EQ(LauncherHelper::getDirectoryVersion(copy.path()), row.version);
    EXPECT_EQ(Platform::versionProblem(test::bundleIn(copy.path())), row.problem);
  }
}

TEST_F(Bundle, MayHaveAnyPath) {
  const fs::path named = folder() / "Gr\xc3\xbc\xc3\x9f" / "";
  EXPECT_EQ(LauncherHelper::getDirectoryVersion(test::Copy(named, "45.1")), "45.1");
  const fs::path notUtf8 = folder() / "\xff\xfe";
  EXPECT_EQ(LauncherHelper::getDirectoryVersion(test::Copy(notUtf8)), "");
}

TEST_F(Bundle, NamesProgram) {
  test::Copy copy(folder());
  copy.list(test::propertyList({{"CFBundleExecutable", "Program"}}));
  EXPECT_EQ(Platform::executableName(test::bundleIn(copy)), "Program");
  const test::ScopedDirectory unnamed;
  test::Copy(unnamed.path()).list(test::propertyList({{"CFBundleName", "plug-in"}}));
  EXPECT_EQ(Platform::executableName(test::bundleIn(unnamed.path())), "OrlixVDIPlugin");
}

} // namespace
