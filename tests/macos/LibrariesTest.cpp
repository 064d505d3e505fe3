#include "BridgeTest.h"
#include "LauncherHelper.h"
#include "Logger.h"
#include "Platform.h"

#include <dlfcn.h>

namespace fs = std::filesystem;
namespace fake = test::FakePlatform;
using namespace testing;

namespace {

const std::string MAIN_NAME = "libnexal_vdi_main.dylib";
const std::string LAUNCHER_NAME = "libThinClientLauncher.dylib";
const std::string OWN_FRAMEWORKS = "@executable_path/../Frameworks/";

// With a launcher folder of the test's own and an open log.
class Libraries : public test::BridgeTest {
protected:
  Libraries() {
    fake::nameDirectories({folder()});
    Logger::open(folder() / "log.txt", true);
  }
  ~Libraries() override { Logger::close(); }

  fs::path launcherDirectory() const { return folder() / "VantuOrlixVDILauncher"; }

  static void install(const fs::path& library, const char* original = FAKE_LAUNCHER_LIBRARY) {
    fs::create_directories(library.parent_path());
    fs::copy_file(original, library);
  }

  static void loadLauncher(const std::vector<std::string>& arguments) {
    enter(LauncherHelper::loadLauncherDll, arguments);
  }

  std::vector<std::string> log() const { return test::readMessages(folder() / "log.txt"); }
};

// --- The main library ---

TEST_F(Libraries, LogFailure) {
  LauncherHelper::loadMainDllFromCurrentDirectory();
  EXPECT_THAT(
      log(),
      ElementsAre(AllOf(
          StartsWith(OWN_FRAMEWORKS + MAIN_NAME + " load library failed dleeror: "),
          HasSubstr("cannot open shared object file"))));
}

// --- The launcher library ---

TEST_F(Libraries, AreOwnInLoadModeElseShared) {
  const fs::path shared = launcherDirectory() / LAUNCHER_NAME;
  install(shared);
  install(frameworks() / LAUNCHER_NAME);
  loadLauncher({"app", "loadmode"});
  loadLauncher({"app", "launchermode", "45.1"});
  EXPECT_THAT(
      fake::calls("dlopen NOW|GLOBAL "),
      ElementsAre(OWN_FRAMEWORKS + LAUNCHER_NAME, shared.string()));
  EXPECT_THAT(
      log(),
      ElementsAre(
          "load launcherDLL from current executable folder",
          "load launcherDLL from launcher folder"));
  EXPECT_THAT(
      record(), ElementsAre("launcher 2 [loadmode] null", "launcher 3 [launchermode] [45.1] null"));
}

TEST_F(Libraries, LogMissingEntry) {
  install(launcherDirectory() / LAUNCHER_NAME, ENTRYLESS_LIBRARY);
  loadLauncher({"app"});
  EXPECT_THAT(
      log().back(),
      AllOf(
          StartsWith("dlsym dlerror: "),
          HasSubstr("undefined symbol: ThinClientLauncherEntryPoint")));
}

TEST_F(Libraries, MayLackError) {
  dlerror();
  EXPECT_EQ(Platform::loaderError(), "");
}

TEST_F(Libraries, KnowStartedProgram) {
  EXPECT_EQ(Platform::startedProgram(), fs::read_symlink("/proc/self/exe"));
}

} // namespace
