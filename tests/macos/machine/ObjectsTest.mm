// What the machine code retains or allocates, it gives back.

#include "BridgeTest.h"
#include "ThinClientLauncherEntryPoint.h"

#include <malloc.h>
#include <utility>

#undef NDEBUG // hides the functions that count objects
#import <Foundation/NSDebug.h>

namespace fs = std::filesystem;
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

// Neither for valgrind, whose heap reports no size, nor with zombies, which stay.
class Heap : public Objects {
protected:
  // The bytes in use after so many more rounds.
  static std::size_t sizeAfter(int rounds) {
    for (int round = 0; round < rounds; ++round) {
      launch(std::nullopt);
      launch("no such application");
      enter(ThinClientLauncherEntryPoint, {"app", "loadmode"});
      fake::reset();
    }
    return mallinfo2().uordblks;
  }
};

TEST_F(Heap, StaysTheSame) {
  fs::copy_file(MAIN_LIBRARY, frameworks() / "libnexal_vdi_main.dylib");
  test::Copy copy(launcherDirectory() / "45.12.0.900", "45.12.0.900");
  copy.startedSafely();
  std::size_t before = sizeAfter(40), after = sizeAfter(20);
  if (after != before) // a cache may grow once; what is lost is lost again
    before = std::exchange(after, sizeAfter(20));
  EXPECT_EQ(after, before);
}

} // namespace
