#include "BridgeTest.h"
#include "LauncherHelper.h"
#include "Platform.h"
#include "PlatformCalls.h"

#include <cstdlib>
#include <dlfcn.h>

namespace fs = std::filesystem;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;
using testing::StrEq;

namespace {

const std::string MAIN_LIBRARY = "@executable_path/../Frameworks/libnexal_vdi_main.dylib";
const std::string OWN_LAUNCHER = "@executable_path/../Frameworks/libThinClientLauncher.dylib";
const char* const LAUNCHER_NAME = "libThinClientLauncher.dylib";

class Libraries : public test::BridgeTest {
protected:
  Libraries() : log(folder() / "log.txt") {
    fs::create_directories(frameworks());
    fs::create_directories(contents() / "MacOS");
    test::setExecutableFolder(contents() / "MacOS");
    test::nameFolders({{folder()}}); // the loader remembers libraries by their path
  }

  fs::path launcherFolder() const { return folder() / "VantuOrlixVDILauncher"; }

  fs::path contents() const { return folder() / "App.app" / "Contents"; }
  fs::path frameworks() const { return contents() / "Frameworks"; }

  void installMainLibrary(const char* probe) const {
    fs::copy_file(probe, frameworks() / "libnexal_vdi_main.dylib");
  }

  static void installLauncher(const fs::path& dir, const char* probe = PROBE_LIBRARY) {
    fs::create_directories(dir);
    fs::copy_file(probe, dir / LAUNCHER_NAME);
  }

  static void loadLauncher(std::vector<std::string> arguments) {
    std::vector<char*> argv;
    for (std::string& argument : arguments)
      argv.push_back(argument.data());
    const int argc = static_cast<int>(argv.size());
    argv.push_back(nullptr);
    LauncherHelper::loadLauncherDll(argc, argv.data());
  }

  static std::string mode() { return std::to_string(RTLD_NOW | RTLD_GLOBAL); }

  // The loads so far, as path and mode.
  static std::vector<std::string> loads() {
    std::vector<std::string> texts;
    for (const test::LibraryLoad& load : test::libraryLoads())
      texts.push_back(load.path + " " + std::to_string(load.mode));
    return texts;
  }

  test::OpenLog log;
};

class WorkingFolder {
public:
  explicit WorkingFolder(const fs::path& dir) : before(fs::current_path()) {
    fs::current_path(dir);
  }
  ~WorkingFolder() { fs::current_path(before); }
  WorkingFolder(const WorkingFolder&) = delete;
  WorkingFolder& operator=(const WorkingFolder&) = delete;

private:
  fs::path before;
};

// --- The main library ---

TEST_F(Libraries, MainLibraryIsLoadedFromTheFrameworksFolderOfTheExecutable) {
  installMainLibrary(PROBE_LIBRARY);
  const WorkingFolder elsewhere("/");
  LauncherHelper::loadMainDllFromCurrentDirectory();
  EXPECT_THAT(loads(), ElementsAre(MAIN_LIBRARY + " " + mode()));
  EXPECT_THAT(std::getenv("PROBE_MAIN"), StrEq("1 null"));
  EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(Libraries, MainLibraryWithoutItsEntryStaysLoadedAndNothingIsLogged) {
  installMainLibrary(PROBE_LIBRARY_WITHOUT_ENTRY);
  LauncherHelper::loadMainDllFromCurrentDirectory();
  const fs::path file = frameworks() / "libnexal_vdi_main.dylib";
  EXPECT_NE(dlopen(file.c_str(), RTLD_NOW | RTLD_NOLOAD), nullptr);
  EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(Libraries, MainLibraryThatFailsToLoadIsLoggedWithItsPathUnquoted) {
  LauncherHelper::loadMainDllFromCurrentDirectory();
  EXPECT_THAT(
      log.messages(),
      ElementsAre(AllOf(
          StartsWith(MAIN_LIBRARY + " load library failed dleeror: "),
          HasSubstr("cannot open shared object file"))));
}

// --- The launcher library ---

TEST_F(Libraries, LauncherInLoadModeIsTheExecutablesOwnEvenWithACopyInTheLauncherFolder) {
  installLauncher(launcherFolder());
  installLauncher(frameworks());
  loadLauncher({"app", "loadmode"});
  EXPECT_THAT(loads(), ElementsAre(OWN_LAUNCHER + " " + mode()));
  EXPECT_THAT(log.messages(), ElementsAre("load launcherDLL from current executable folder"));
  EXPECT_THAT(std::getenv("PROBE_LAUNCHER"), StrEq("2 app loadmode"));
}

class LauncherOutsideLoadMode : public Libraries,
                                public testing::WithParamInterface<std::vector<std::string>> {};

TEST_P(LauncherOutsideLoadMode, IsTheCopyInTheLauncherFolder) {
  installLauncher(launcherFolder());
  installLauncher(frameworks());
  loadLauncher(GetParam());
  EXPECT_THAT(loads(), ElementsAre((launcherFolder() / LAUNCHER_NAME).string() + " " + mode()));
  EXPECT_THAT(log.messages(), ElementsAre("load launcherDLL from launcher folder"));
}

INSTANTIATE_TEST_SUITE_P(
    Arguments,
    LauncherOutsideLoadMode,
    testing::Values(
        std::vector<std::string>{},
        std::vector<std::string>{"app"},
        std::vector<std::string>{"app", "LoadMode"},
        std::vector<std::string>{"app", "loadmode "},
        std::vector<std::string>{"app", "launchermode", "45.1"}));

TEST_F(Libraries, LauncherGetsTheArgumentsUnchanged) {
  installLauncher(launcherFolder());
  loadLauncher({"app", "launchermode", "45.12.0.1000"});
  EXPECT_THAT(std::getenv("PROBE_LAUNCHER"), StrEq("3 app launchermode 45.12.0.1000"));
}

TEST_F(Libraries, LauncherWithoutACopyInTheLauncherFolderIsTheExecutablesOwn) {
  installLauncher(frameworks());
  loadLauncher({"app"});
  EXPECT_THAT(loads(), ElementsAre(OWN_LAUNCHER + " " + mode()));
  EXPECT_THAT(log.messages(), ElementsAre("load launcherDLL from current executable folder"));
}

TEST_F(Libraries, LauncherThatFailsToLoadIsLoggedWithItsPathQuotedAndNoOtherIsTried) {
  test::writeFile(launcherFolder() / LAUNCHER_NAME, "no library");
  installLauncher(frameworks());
  loadLauncher({"app"});
  const std::string path = (launcherFolder() / LAUNCHER_NAME).string();
  EXPECT_THAT(
      log.messages(),
      ElementsAre(
          "load launcherDLL from launcher folder",
          AllOf(
              StartsWith("\"" + path + "\" load library failed dleeror: "),
              HasSubstr("file too short"))));
  EXPECT_THAT(loads(), ElementsAre(path + " " + mode()));
}

TEST_F(Libraries, LauncherPathWithADoubleQuoteIsLoggedWithABackslashBeforeIt) {
  const fs::path odd = folder() / "say \"so\"";
  test::writeFile(odd / "VantuOrlixVDILauncher" / LAUNCHER_NAME, "no library");
  test::nameFolders({{odd}});
  loadLauncher({"app"});
  EXPECT_THAT(log.messages().back(), HasSubstr("say \\\"so\\\"/VantuOrlixVDILauncher"));
}

TEST_F(Libraries, LauncherWithoutItsEntryIsLoggedWithTheLoadersText) {
  installLauncher(launcherFolder(), PROBE_LIBRARY_WITHOUT_ENTRY);
  loadLauncher({"app"});
  EXPECT_THAT(
      log.messages().back(),
      AllOf(
          StartsWith("dlsym dlerror: "),
          HasSubstr("undefined symbol: ThinClientLauncherEntryPoint")));
}

TEST_F(Libraries, LauncherIsLookedForInTheWorkingFolderWithoutApplicationSupport) {
  test::nameFolders({{folder() / "none"}});
  installLauncher(folder() / "here");
  const WorkingFolder here(folder() / "here");
  loadLauncher({"app"});
  EXPECT_THAT(loads(), ElementsAre(LAUNCHER_NAME + (" " + mode())));
  EXPECT_THAT(log.messages().front(), "load launcherDLL from launcher folder");
}

TEST_F(Libraries, NoErrorOfTheLoaderIsAnEmptyText) {
  dlerror();
  EXPECT_EQ(Platform::loaderError(), "");
}

} // namespace
