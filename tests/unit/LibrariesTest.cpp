#include "Fork.h"
#include "LauncherTest.h"
#include "Process.h"

namespace fs = std::filesystem;

using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::StartsWith;

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

  const fs::path application = home.path() / "App";
  const fs::path executable = application / "MacOS" / "application";
  const fs::path frameworks = application / "Frameworks";
  const fs::path shared = launcherDirectory() / LAUNCHER_NAME;
  const fs::path recordFile = home.path() / "record";
  fs::path workingDirectory = "/";
};

} // namespace

// --- The main library ---

TEST_F(Libraries, CallsMainEntry) {
  installMain(MAIN_LIBRARY);
  loadMain();
  EXPECT_THAT(recorded(), ElementsAre("call 1: 1 null", "visible"));
  EXPECT_THAT(messages(), IsEmpty());
}

TEST_F(Libraries, IgnoresWorkingFolder) {
  installMain(MAIN_LIBRARY);
  test::writeFile(home.path() / "elsewhere" / "Frameworks" / MAIN_NAME, "no library");
  workingDirectory = home.path() / "elsewhere" / "MacOS";
  fs::create_directory(workingDirectory);
  loadMain();
  EXPECT_THAT(recorded(), ElementsAre("call 1: 1 null", "visible"));
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

TEST_F(Libraries, StayLoaded) {
  installMain(MAIN_LIBRARY);
  run({{executable}, "/", {{"LOADER_OPERATIONS", "main main"}}});
  EXPECT_THAT(recorded(), ElementsAre("call 1: 1 null", "call 2: 1 null", "visible"));
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

TEST_F(Libraries, LogMainPathUnquoted) {
  const fs::path odd = home.path() / "a \"quoted\" \\ folder";
  fs::create_directory(odd);
  fs::rename(application, odd / "App");
  test::writeFile(odd / "App" / "Frameworks" / MAIN_NAME, "no library");
  const fs::path program = odd / "App" / "MacOS" / "application";
  run({{program}, "/", {{"LOADER_OPERATIONS", "main"}}});
  EXPECT_THAT(
      messages(),
      ElementsAre(failureOf(program.parent_path().string() + "/../Frameworks/" + MAIN_NAME)));
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

TEST_F(Libraries, RunMainWithLogOpen) {
  installMain(MAIN_LIBRARY);
  const test::ScopedEnvironment watched("LIBRARY_LOG", home.loadLog().string());
  run({{executable, "loadmode"}, "/", {{"LOADER_OPERATIONS", "entry"}, {"LOADER_LOG", "/"}}});
  EXPECT_THAT(recorded(), ElementsAre("call 1: 1 null", "log open", "visible"));
  EXPECT_THAT(
      test::readMessages(home.loadLog()),
      ElementsAre("ThinClientLauncher DLL entry point called", "load mode, load main dll"));
}

// --- The launcher library ---

TEST_F(Libraries, PreferLauncherFolder) {
  install(FAKE_LAUNCHER_LIBRARY, launcherDirectory(), LAUNCHER_NAME);
  install(ENTRYLESS_LIBRARY, frameworks, LAUNCHER_NAME);
  loadLauncher({"launchermode", "45.12 0", ""});
  EXPECT_THAT(recorded(), ElementsAre("launcher 4 [launchermode] [45.12 0] [] null", "visible"));
  EXPECT_THAT(messages(), ElementsAre(FROM_LAUNCHER_DIRECTORY));
}

TEST_F(Libraries, FallBackToOwnLauncher) {
  install(FAKE_LAUNCHER_LIBRARY, frameworks, LAUNCHER_NAME);
  loadLauncher({"launchermode"});
  EXPECT_THAT(recorded(), ElementsAre("launcher 2 [launchermode] null", "visible"));
  EXPECT_THAT(messages(), ElementsAre(FROM_EXECUTABLE));
}

TEST_F(Libraries, TakeOwnLauncherInLoadMode) {
  install(ENTRYLESS_LIBRARY, launcherDirectory(), LAUNCHER_NAME);
  install(FAKE_LAUNCHER_LIBRARY, frameworks, LAUNCHER_NAME);
  loadLauncher({"loadmode", "more"});
  EXPECT_THAT(recorded(), ElementsAre("launcher 3 [loadmode] [more] null", "visible"));
  EXPECT_THAT(messages(), ElementsAre(FROM_EXECUTABLE));
}

TEST_F(Libraries, RaiseForUnexaminableLauncher) {
  install(FAKE_LAUNCHER_LIBRARY, frameworks, LAUNCHER_NAME);
  fs::create_directories(launcherDirectory());
  fs::create_symlink(LAUNCHER_NAME, shared);
  loadLauncher({"loadmode"});
  EXPECT_THAT(recorded(), ElementsAre("launcher 2 [loadmode] null", "visible")) << "not examined";
  loadLauncher();
  EXPECT_THAT(recorded(), ElementsAre(StartsWith("exception: ")));
  EXPECT_THAT(messages(), IsEmpty());
}

TEST_F(Libraries, RaiseForLockedLauncherFolder) {
  fs::create_directories(launcherDirectory());
  test::asUnprivilegedUser(home.path(), [&] {
    const test::ScopedPermissions scoped(launcherDirectory(), fs::perms::none);
    loadLauncher();
    EXPECT_THAT(recorded(), ElementsAre(StartsWith("exception: ")));
    EXPECT_THAT(messages(), IsEmpty());
  });
}

TEST_F(Libraries, TryNoOtherThanBrokenLauncher) {
  test::writeFile(shared, "no library");
  install(FAKE_LAUNCHER_LIBRARY, frameworks, LAUNCHER_NAME);
  loadLauncher();
  EXPECT_THAT(
      messages(), ElementsAre(FROM_LAUNCHER_DIRECTORY, failureOf('"' + shared.string() + '"')));
  EXPECT_THAT(recorded(), IsEmpty());
}

TEST_F(Libraries, TakeAnyEntryForALauncher) {
  install(FAKE_LAUNCHER_LIBRARY, frameworks, LAUNCHER_NAME);
  fs::create_directories(shared);
  loadLauncher();
  EXPECT_EQ(messages().front(), FROM_LAUNCHER_DIRECTORY);
  fs::remove(shared);
  fs::create_symlink(home.path() / "missing", shared);
  loadLauncher();
  EXPECT_THAT(messages(), ElementsAre(FROM_EXECUTABLE)) << "but a dangling link";
}

TEST_F(Libraries, LogMissingLauncherQuoted) {
  loadLauncher();
  EXPECT_THAT(
      messages(), ElementsAre(FROM_EXECUTABLE, failureOf('"' + inFrameworks(LAUNCHER_NAME) + '"')));
}

TEST_F(Libraries, EscapeQuotesInLauncherPath) {
  const fs::path odd = home.path() / "a \"quoted\" \\ folder";
  const test::ScopedEnvironment oddHome("HOME", odd.string());
  const fs::path below = fs::relative(shared, home.path());
  test::writeFile(odd / below, "no library");
  loadLauncher();
  const std::string shown =
      '"' + home.path().string() + "/a \\\"quoted\\\" \\\\ folder/" + below.string() + '"';
  EXPECT_THAT(messages(), ElementsAre(FROM_LAUNCHER_DIRECTORY, failureOf(shown)));
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
