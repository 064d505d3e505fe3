#include "BridgeTest.h"
#include "LauncherHelper.h"

namespace fs = std::filesystem;
namespace fake = test::FakePlatform;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class Start : public test::BridgeTest {
protected:
  static std::string opened(const fs::path& dir, const std::string& arguments) {
    return "file " + (dir / "OrlixVDIPlugin.app").string() + arguments;
  }

  static auto startsOf(const fs::path& dir, const std::string& argument = "loadmode") {
    LauncherHelper::launchFromDirectory(dir, argument);
    return fake::calls("openApplicationAtURL: ");
  }
};

TEST_F(Start, AsksInOrderAndPauses) {
  LauncherHelper::launchFromDirectory(test::Copy(folder()), "loadmode");
  EXPECT_THAT(
      fake::calls(),
      ElementsAre(
          "NSWorkspaceOpenConfiguration configuration",
          "setEnvironment: 0 variables",
          "setPromptsUserIfNeeded: YES",
          "setArguments:",
          "setCreatesNewApplicationInstance: YES",
          "NSWorkspace sharedWorkspace",
          "openApplicationAtURL: " + opened(folder(), " \"loadmode\""),
          "pause"));
  EXPECT_EQ(fake::liveConfigurations(), 0u);
}

TEST_F(Start, PassesBoth) {
  const fs::path none = folder() / "none";
  const fs::path odd = folder() / "Gr\xc3\xbc\xc3\x9f Gott %20";
  startsOf(none, " load mode ");
  startsOf("", "");
  startsOf(odd, "load\xffmode");
  EXPECT_THAT(
      startsOf(odd),
      ElementsAre(
          opened(none, " \" load mode \""),
          opened(fs::current_path(), " \"\""),
          opened(odd, ""),
          opened(odd, " \"loadmode\"")));
  EXPECT_THAT(fake::calls("NSLog "), IsEmpty());
  fake::answerStart(std::nullopt);
  EXPECT_THAT(fake::calls("NSLog "), ElementsAre("launch app succeed"));
}

TEST_F(Start, PathNotUtf8) {
  LauncherHelper::launchFromDirectory(folder() / "\xff\xfe", "loadmode");
  EXPECT_THAT(
      fake::calls(), ElementsAre("NSLog Failed to run the app: its path is not UTF-8", "pause"));
}

} // namespace
