#include "BridgeTest.h"

#include <cstdlib>

namespace fs = std::filesystem;

// The thread sanitizer asks for it. GNUstep and the Objective-C runtime take locks of their own in
// differing order and are not instrumented.
extern "C" const char* __tsan_default_suppressions() {
  return "deadlock:libgnustep-base\ndeadlock:libobjc\nrace:libgnustep-base\nrace:libobjc\n";
}

namespace test {

// One home for all tests: GNUstep asks only once where the user's folders lie.
static const fs::path& home() {
  static const ScopedDirectory folder;
  return folder.path();
}

BridgeTest::BridgeTest() {
  static const bool once = (FakePlatform::setUserDirectories(library(), home() / "Defaults"), true);
  static_cast<void>(once);
  propertyListPlace = "Resources/Info.plist";
  fs::current_path(home()); // a launch without any candidate leaves its records there
  fs::remove_all(library());
  fs::create_directories(applicationSupport());
  const fs::path executable = frameworks().parent_path() / "MacOS";
  fs::create_directories(frameworks());
  fs::create_directory(executable);
  FakePlatform::reset();
  FakePlatform::setExecutableDirectory(executable);
  setenv("LIBRARY_RECORD", (folder() / "record").c_str(), 1);
}

fs::path BridgeTest::library() {
  return home() / "Library";
}

fs::path BridgeTest::applicationSupport() {
  return library() / "ApplicationSupport";
}

fs::path BridgeTest::launcherDirectory() {
  return applicationSupport() / "VantuOrlixVDILauncher";
}

} // namespace test

// GNUstep never frees some objects of its own, nor the runtime its tables of classes.
extern "C" const char* __lsan_default_suppressions() {
  return "leak:libobjc\nleak:libgnustep-base";
}
