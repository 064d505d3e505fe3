#include "BridgeTest.h"
#include "ThinClientLauncherEntryPoint.h"

namespace fs = std::filesystem;
namespace fake = test::FakePlatform;
using testing::ElementsAre;
using testing::IsSupersetOf;

namespace {

class WholeLaunch : public test::BridgeTest {
protected:
  static int launch(const std::vector<std::string>& arguments) {
    return enter(ThinClientLauncherEntryPoint, arguments);
  }
};

TEST_F(WholeLaunch, StartsAndCleansUp) {
  const test::Copy chosen(launcherDirectory() / "45.12.0.900", "45.12.0.900");
  const test::Copy newer(launcherDirectory() / "45.13.0.10", "45.13.0.10");
  const auto old = [](const std::string& version, std::chrono::hours ago) {
    return test::Copy(launcherDirectory() / version, version).launched(ago);
  };
  const test::Copy oldest = old("45.11.0.1", std::chrono::hours(72));
  const test::Copy older = old("45.11.0.2", std::chrono::hours(48));
  const test::Copy recent = old("45.11.0.3", std::chrono::hours(24));

  EXPECT_EQ(launch({"host", "launchermode", "45.12.0.1000"}), 0);

  EXPECT_THAT(
      fake::calls("openApplicationAtURL: "),
      ElementsAre("file " + test::bundleIn(chosen).string() + " \"loadmode\""));
  EXPECT_EQ(test::readFile(chosen.dir() / "launchCount.dat"), "1");
  EXPECT_TRUE(fs::exists(chosen.dir() / "launch.dat"));
  EXPECT_FALSE(fs::exists(oldest));
  EXPECT_TRUE(fs::exists(older));
  EXPECT_TRUE(fs::exists(recent));
  EXPECT_FALSE(fs::exists(newer)); // never launched
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
  const test::Copy only(launcherDirectory() / "45.12.0.900");
  const std::string reason = "The application cannot be opened: 100 %% \u00FCber";
  fake::onPause([&] { fake::answerStart(reason); });
  EXPECT_EQ(launch({"host"}), 0);
  EXPECT_THAT(fake::calls("NSLog "), ElementsAre("Failed to run the app: " + reason));
  EXPECT_EQ(log("launchmode").size(), 7U) << "the start adds nothing to the launcher's own log";
  EXPECT_EQ(test::readFile(only.dir() / "launchCount.dat"), "1");
}

TEST_F(WholeLaunch, LoadMode) {
  fs::copy_file(MAIN_LIBRARY, frameworks() / "libnexal_vdi_main.dylib");
  EXPECT_EQ(launch({"app", "loadmode"}), 0);
  EXPECT_THAT(
      fake::calls("dlopen "),
      ElementsAre("NOW|GLOBAL @executable_path/../Frameworks/libnexal_vdi_main.dylib"));
  EXPECT_THAT(record(), ElementsAre("call 1: 1 null"));
  EXPECT_THAT(
      log("loadmode"),
      ElementsAre("ThinClientLauncher DLL entry point called", "load mode, load main dll"));
}

} // namespace
