#include "BridgeTest.h"

#include "Enclosure.h"

#include <cstdlib>

namespace fs = std::filesystem;

namespace test {

constexpr const char* HOME_VARIABLE = "MACOS_BRIDGE_TEST_HOME";

// GNUstep reads the places of the user's folders from a file, before main runs.
static int runAgainInScopedHome(char** argv) {
  const ScopedFolder folder;
  const fs::path configuration = folder.path() / "GNUstep.conf";
  writeFile(
      configuration,
      "GNUSTEP_USER_DIR_LIBRARY=" + (folder.path() / "Library").string() +
          "\nGNUSTEP_USER_DEFAULTS_DIR=" + (folder.path() / "Defaults").string() + "\n");
  setenv("GNUSTEP_CONFIG_FILE", configuration.c_str(), 1);
  setenv(HOME_VARIABLE, folder.path().c_str(), 1);
  return Enclosure::runInside(argv);
}

static fs::path home() {
  return std::getenv(HOME_VARIABLE);
}

BridgeTest::BridgeTest() {
  fs::current_path(home()); // a launch without any candidate leaves its records there
  fs::remove_all(library());
  fs::create_directories(applicationSupport());
  const fs::path executable = frameworks().parent_path() / "MacOS";
  fs::create_directories(frameworks());
  fs::create_directory(executable);
  FakePlatform::reset();
  FakePlatform::setExecutableFolder(executable);
  unsetenv("PROBE");
}

fs::path BridgeTest::library() {
  return home() / "Library";
}

fs::path BridgeTest::applicationSupport() {
  return library() / "ApplicationSupport";
}

fs::path BridgeTest::launcherFolder() {
  return applicationSupport() / "VantuOrlixVDILauncher";
}

void writePropertyList(const fs::path& dir, const std::string& list) {
  writeFile(dir / "OrlixVDIPlugin.app" / "Resources" / "Info.plist", list);
}

void makeCopy(const fs::path& dir, const std::string& version) {
  writePropertyList(dir, propertyList({{"CFBundleShortVersionString", version}}));
}

std::vector<std::string> messagesIn(const fs::path& logFile) {
  std::vector<std::string> messages = readLines(logFile);
  for (std::string& line : messages)
    line.erase(0, std::string("2026-03-07 14:05:09.007 ").size());
  return messages;
}

} // namespace test

// GNUstep never frees some objects of its own, nor the runtime its tables of classes.
extern "C" const char* __lsan_default_suppressions() {
  return "leak:libobjc\nleak:libgnustep-base";
}

int main(int argc, char** argv) {
  if (!test::Enclosure::isInside())
    return test::runAgainInScopedHome(argv);
  testing::InitGoogleMock(&argc, argv);
  return RUN_ALL_TESTS();
}
