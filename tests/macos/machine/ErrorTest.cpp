// An error passes through the machine code, whose unwind entries and handlers are its own.

#include "BridgeTest.h"
#include "ThinClientLauncherEntryPoint.h"

namespace fs = std::filesystem;
using testing::Contains;
using testing::ElementsAre;

namespace {

class Error : public test::BridgeTest {
protected:
  static int launch() { return enter(ThinClientLauncherEntryPoint, {"host"}); }
};

TEST_F(Error, LeavesLogOpen) {
  test::writeFile(launcherDirectory(), "a file, so that the scan fails");
  EXPECT_THROW(launch(), fs::filesystem_error);
  const auto before = log("launchmode");
  EXPECT_THAT(before, ElementsAre("ThinClientLauncher DLL entry point called", "launcher mode"));

  fs::remove(launcherDirectory());
  const test::Copy copy(launcherDirectory() / "copy");
  EXPECT_EQ(launch(), 0);
  EXPECT_EQ(log("launchmode"), before);
  EXPECT_EQ(test::readFile(copy.dir() / "launchCount.dat"), "1");

  EXPECT_EQ(launch(), 0);
  EXPECT_THAT(
      log("launchmode"),
      Contains("VDI Launch count updated to: 2 for directory: " + copy.dir().string()));
}

} // namespace
