#include "BridgeTest.h"
#include "ThinClientLauncherEntryPoint.h"

#include <cstdlib>

namespace fs = std::filesystem;
namespace fake = test::FakePlatform;
using testing::ElementsAre;
using testing::IsSupersetOf;
using testing::StrEq;

namespace {

class WholeLaunch : public test::BridgeTest {
protected:
  WholeLaunch() : user("USER", std::nullopt) {}

  static int launch(const std::vector<std::string>& arguments) {
    return enter(ThinClientLauncherEntryPoint, arguments);
  }

  static std::vector<std::string> log(const std::string& mode) {
    const std::string name = "vdi-launch-" + mode + "-log.txt";
    return test::messagesIn(library() / "Logs" / "VantuOrlixVDI" / name);
  }

  test::ScopedEnvironment user;
};

TEST_F(WholeLaunch, StartsAndCleansUp) {
  const fs::path chosen = launcherFolder() / "45.12.0.900";
  test::makeCopy(chosen, "45.12.0.900");
  test::makeCopy(launcherFolder() / "45.13.0.10", "45.13.0.10");
  for (const char* old : {"45.11.0.1", "45.11.0.2", "45.11.0.3"}) {
    test::makeCopy(launcherFolder() / old, old);
    test::writeFile(launcherFolder() / old / "launch.dat", "1");
  }
  const auto longAgo = fs::last_write_time(launcherFolder()) - std::chrono::hours(24);
  fs::last_write_time(launcherFolder() / "45.11.0.1" / "launch.dat", longAgo);

  EXPECT_EQ(launch({"host", "launchermode", "45.12.0.1000"}), 0);

  EXPECT_THAT(
      fake::calls("openApplicationAtURL: "),
      ElementsAre("file " + (chosen / "OrlixVDIPlugin.app").string() + " \"loadmode\""));
  EXPECT_EQ(test::readFile(chosen / "launchCount.dat"), "1");
  EXPECT_TRUE(fs::exists(chosen / "launch.dat"));
  EXPECT_TRUE(fs::exists(launcherFolder() / "45.11.0.2"));
  EXPECT_TRUE(fs::exists(launcherFolder() / "45.11.0.3"));
  EXPECT_FALSE(fs::exists(launcherFolder() / "45.11.0.1"));
  EXPECT_FALSE(fs::exists(launcherFolder() / "45.13.0.10")); // never launched
  EXPECT_THAT(
      log("launchmode"),
      IsSupersetOf(
          {"ThinClientLauncher DLL entry point called",
           "launcher mode",
           "hvd Client Version provided: 45.12.0.1000"}));

  // The application comes up only after the host has its result and the log is closed.
  fake::answerStart(std::nullopt);
  EXPECT_THAT(fake::calls("NSLog "), ElementsAre("launch app succeed"));
}

TEST_F(WholeLaunch, GoesOnAfterFailure) {
  const fs::path only = launcherFolder() / "45.12.0.900";
  test::makeCopy(only, "45.12.0.900");
  fake::onPause([] { fake::answerStart("no such application"); });
  EXPECT_EQ(launch({"host"}), 0);
  EXPECT_THAT(fake::calls("NSLog "), ElementsAre("Failed to run the app: no such application"));
  EXPECT_EQ(test::readFile(only / "launchCount.dat"), "1");
}

TEST_F(WholeLaunch, LoadMode) {
  fs::copy_file(PROBE_LIBRARY, frameworks() / "libnexal_vdi_main.dylib");
  EXPECT_EQ(launch({"app", "loadmode"}), 0);
  EXPECT_THAT(std::getenv("PROBE"), StrEq("main 1 null"));
  EXPECT_THAT(
      log("loadmode"),
      ElementsAre("ThinClientLauncher DLL entry point called", "load mode, load main dll"));
}

} // namespace
