// What the code that ARC made retains, it releases.

#include "BridgeTest.h"
#include "ThinClientLauncherEntryPoint.h"

#undef NDEBUG // hides the functions that count objects
#import <Foundation/NSDebug.h>

namespace fake = test::FakePlatform;

namespace {

class Objects : public test::BridgeTest {
protected:
  static void launch(const std::optional<std::string>& failure) {
    EXPECT_EQ(enter(ThinClientLauncherEntryPoint, {"host", "launchermode", "45.12.0.1000"}), 0);
    fake::answerStart(failure);
  }

  // GNUstep's list of the classes of which there are more or fewer objects than at the last call.
  static std::string changes() { return GSDebugAllocationList(YES); }
};

TEST_F(Objects, Balance) {
  test::Copy copy(launcherDirectory() / "45.12.0.900", "45.12.0.900");
  copy.startedSafely();
  GSDebugAllocationActive(YES);
  for (const char* failure : {"", "no such application"}) { // the first ones fill caches
    launch(std::nullopt);
    launch(failure);
  }
  changes();
  for (int launches = 0; launches < 10; ++launches) {
    launch(std::nullopt);
    launch("no such application");
  }
  EXPECT_EQ(changes(), "There are NO newly allocated or deallocated object!\n");
}

} // namespace
