#include "LauncherTest.h"
#include "Process.h"

namespace fs = std::filesystem;

using namespace testing;

namespace {

constexpr const char* MAIN_NAME = "libnexal_vdi_main.dylib";
constexpr const char* LAUNCHER_NAME = "libThinClientLauncher.dylib";
constexpr const char* FROM_LAUNCHER_DIRECTORY = "load launcherDLL from launcher folder";
constexpr const char* FROM_EXECUTABLE = "load launcherDLL from current executable folder";

auto failureOf(const std::string& shownPath) {
  const std::string text = shownPath + " load library failed dleeror: ";
  return testing::AllOf(StartsWith(text), testing::Ne(text)); // a reason follows
}

// Runs an application with a folder of its own, which loads libraries and records what happened.
class Libraries : public test::LauncherTest {
protected:
  Libraries() {
    Logger::close(); // the application writes the log
    fs::create_directories(executable.parent_path());
    fs::copy_file(APPLICATION_PROGRAM, executable);
  }

  static void install(const char* library, const fs::path& folder, const char* name) {
    fs::create_directories(folder);
    fs::copy_file(library, folder / name);
  }
  void installMain(const char* library) const { install(library, frameworks, MAIN_NAME); }

  void loadMain() const { run({{executable}, workingDirectory, {{"LOADER_OPERATIONS", "main"}}}); }

  void loadLauncher(std::vector<std::string> arguments = {}) const {
    arguments.insert(arguments.begin(), executable.string());
    run({arguments, workingDirectory});
  }

  void run(test::Command command) const {
    fs::remove(recordFile);
    command.environment.insert({"LIBRARY_RECORD", recordFile.string()});
    command.environment.insert({"LOADER_LOG", logFile().string()});
    EXPECT_EQ(test::run(command).status, 0);
  }

  std::vector<std::string> recorded() const { return test::readLines(recordFile); }

  // How the launcher names a library in the Frameworks folder to the loader.
  std::string inFrameworks(const char* name) const {
    return executable.parent_path().string() + "/../Frameworks/" + name;
  }

  // Shown as it is for the main library, quoted for the launcher.
  const fs::path application = home.path() / "a \"quoted\" \\ folder";
  const fs::path executable = application / "MacOS" / "application";
  const fs::path frameworks = application / "Frameworks";
  const fs::path shared = launcherDirectory() / LAUNCHER_NAME;
  const fs::path recordFile = home.path() / "record";
  fs::path workingDirectory = "/";
};

} // namespace

// --- The main library ---

TEST_F(Libraries, CallMainEntryEachTime) {
  installMain(MAIN_LIBRARY);
  const fs::path elsewhere = home.path() / "elsewhere" / "MacOS";
  fs::create_directories(elsewhere);
  test::writeFile(elsewhere.parent_path() / "Frameworks" / MAIN_NAME, "no library");
  run({{executable}, elsewhere, {{"LOADER_OPERATIONS", "main main"}}});
  EXPECT_THAT(recorded(), ElementsAre("call 1: 1 null", "call 2: 1 null", "visible"));
  EXPECT_THAT(messages(), IsEmpty());
}

// Without /proc the folder of the executable is unknown.
TEST_F(Libraries, AreNeverFoundInWorkingFolder) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "a sanitizer needs /proc";
#endif
  workingDirectory = home.path() / "elsewhere";
  for (const char* own : {"@executable_path", "proc/self/exe"}) {
    fs::create_directories(workingDirectory / own);
    install(MAIN_LIBRARY, (workingDirectory / own).parent_path() / "Frameworks", MAIN_NAME);
  }
  run(
      {{"unshare",
        "--map-root-user",
        "--mount",
        "sh",
        "-c",
        "mount -t tmpfs none /proc && exec \"$0\"",
        executable},
       workingDirectory,
       {{"LOADER_OPERATIONS", "main"}}});
  EXPECT_THAT(messages(), ElementsAre(MatchesRegex("/.* load library failed dleeror: .+")));
  EXPECT_THAT(recorded(), IsEmpty());
}

TEST_F(Libraries, AcceptMainWithoutEntry) {
  installMain(ENTRYLESS_LIBRARY);
  loadMain();
  EXPECT_THAT(recorded(), ElementsAre("loaded", "visible"));
  EXPECT_THAT(messages(), IsEmpty());
}

// The application has an entry of the same name, which a look-up without a library would find.
TEST_F(Libraries, CallNothingForMissingMain) {
  loadMain();
  EXPECT_THAT(messages(), ElementsAre(failureOf(inFrameworks(MAIN_NAME))));
  EXPECT_THAT(recorded(), IsEmpty());
}

TEST_F(Libraries, BindAllSymbolsAtOnce) {
  installMain(UNBINDABLE_LIBRARY);
  loadMain();
  EXPECT_THAT(messages(), ElementsAre(failureOf(inFrameworks(MAIN_NAME))));
  EXPECT_THAT(recorded(), IsEmpty());
}

TEST_F(Libraries, LetExceptionsThrough) {
  const test::ScopedEnvironment throwing("LIBRARY_THROWS", "1");
  installMain(MAIN_LIBRARY);
  install(FAKE_LAUNCHER_LIBRARY, frameworks, LAUNCHER_NAME);
  const char* const exception = "exception: thrown by the library";
  loadMain();
  EXPECT_THAT(recorded(), ElementsAre("call 1: 1 null", exception, "visible"));
  loadLauncher();
  EXPECT_THAT(recorded(), ElementsAre("launcher 1 null", exception, "visible"));
}

// --- The launcher library ---

TEST_F(Libraries, PreferLauncherFolder) {
  install(FAKE_LAUNCHER_LIBRARY, launcherDirectory(), LAUNCHER_NAME);
  install(ENTRYLESS_LIBRARY, frameworks, LAUNCHER_NAME);
  loadLauncher({"launchermode", "45.12 0", ""});
  EXPECT_THAT(recorded(), ElementsAre("launcher 4 [launchermode] [45.12 0] [] null", "visible"));
  EXPECT_THAT(messages(), ElementsAre(FROM_LAUNCHER_DIRECTORY));
}

// In load mode it is not examined.
TEST_F(Libraries, RaiseForUnexaminableLauncher) {
  install(FAKE_LAUNCHER_LIBRARY, frameworks, LAUNCHER_NAME);
  fs::create_directories(launcherDirectory());
  fs::create_symlink(LAUNCHER_NAME, shared);
  loadLauncher();
  EXPECT_THAT(recorded(), ElementsAre(StartsWith("exception: ")));
  EXPECT_THAT(messages(), IsEmpty());
  loadLauncher({"loadmode", "more"});
  EXPECT_THAT(recorded(), ElementsAre("launcher 3 [loadmode] [more] null", "visible"));
  EXPECT_THAT(messages(), ElementsAre(FROM_EXECUTABLE));
}

// If it cannot be loaded, no other one is tried.
TEST_F(Libraries, TakeAnyEntryForALauncher) {
  install(FAKE_LAUNCHER_LIBRARY, frameworks, LAUNCHER_NAME);
  fs::create_directories(shared);
  loadLauncher();
  EXPECT_THAT(
      messages(), ElementsAre(FROM_LAUNCHER_DIRECTORY, failureOf('"' + shared.string() + '"')));
  EXPECT_THAT(recorded(), IsEmpty());
  fs::remove(shared);
  fs::create_symlink(home.path() / "missing", shared);
  loadLauncher({"launchermode"});
  EXPECT_THAT(messages(), ElementsAre(FROM_EXECUTABLE)) << "but a dangling link";
  EXPECT_THAT(recorded(), ElementsAre("launcher 2 [launchermode] null", "visible"));
}

TEST_F(Libraries, LogMissingLauncherQuoted) {
  loadLauncher();
  const std::string shown = '"' + home.path().string() +
                            "/a \\\"quoted\\\" \\\\ folder/MacOS/../Frameworks/" + LAUNCHER_NAME +
                            '"';
  EXPECT_THAT(messages(), ElementsAre(FROM_EXECUTABLE, failureOf(shown)));
}

TEST_F(Libraries, LogLauncherWithoutEntry) {
  install(ENTRYLESS_LIBRARY, launcherDirectory(), LAUNCHER_NAME);
  loadLauncher();
  EXPECT_THAT(
      messages(),
      ElementsAre(
          FROM_LAUNCHER_DIRECTORY,
          MatchesRegex("dlsym dlerror: .*ThinClientLauncherEntryPoint.*")));
  EXPECT_THAT(recorded(), ElementsAre("loaded", "visible"));
}

TEST_F(Libraries, LookInWorkingFolderWithoutApplicationSupport) {
  fs::remove_all(home.applicationSupport());
  workingDirectory = home.path();
  loadLauncher();
  EXPECT_EQ(messages().front(), FROM_EXECUTABLE) << "no such file in the working folder";
  test::writeFile(workingDirectory / LAUNCHER_NAME, "no library");
  loadLauncher();
  EXPECT_THAT(
      messages(),
      ElementsAre(FROM_LAUNCHER_DIRECTORY, failureOf("\"libThinClientLauncher.dylib\"")));
}
