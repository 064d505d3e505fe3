#include "Fork.h"
#include "LauncherTest.h"
#include "Process.h"

namespace fs = std::filesystem;

using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::StartsWith;

namespace {

constexpr const char* MAIN_LIBRARY = "libnexal_vdi_main.dylib";
constexpr const char* LAUNCHER_LIBRARY = "libThinClientLauncher.dylib";
constexpr const char* FROM_LAUNCHER_FOLDER = "load launcherDLL from launcher folder";
constexpr const char* FROM_EXECUTABLE = "load launcherDLL from current executable folder";
constexpr const char* FAILED = " load library failed dleeror: ";

// An application of its own on disk, which loads libraries and writes down what happened.
class LibraryLoading : public test::LauncherTest {
protected:
  LibraryLoading() {
    Logger::close(); // the application writes the log
    fs::create_directories(frameworks);
    fs::create_directories(executable.parent_path());
    fs::copy_file(LOADER_PROGRAM, executable);
  }

  static void install(const char* library, const fs::path& folder, const char* name) {
    fs::create_directories(folder);
    fs::copy_file(library, folder / name);
  }

  void loadMain(int count = 1) const { run({"main", std::to_string(count)}); }

  // The launcher's argument vector holds these behind its argv[0], which is "1".
  void loadLauncher(std::vector<std::string> arguments = {}) const {
    arguments.insert(arguments.begin(), {"launcher", "1"});
    run(arguments);
  }

  void run(const std::vector<std::string>& arguments) const {
    fs::remove(recordFile);
    std::vector<std::string> words{executable.string()};
    words.insert(words.end(), arguments.begin(), arguments.end());
    EXPECT_EQ(test::run({words, workingFolder}).status, 0);
  }

  std::vector<std::string> recorded() const { return test::readLines(recordFile); }

  // What the loader is asked for: the notation for the Frameworks folder, and the name.
  std::string inFrameworks(const char* name) const {
    return (application / "MacOS").string() + "/../Frameworks/" + name;
  }

  static auto failureOf(const std::string& shownPath) {
    return testing::AllOf(
        StartsWith(shownPath + FAILED), testing::Ne(shownPath + FAILED)); // and a reason
  }

  const fs::path application = home.path() / "App";
  const fs::path executable = application / "MacOS" / "application";
  const fs::path frameworks = application / "Frameworks";
  const fs::path recordFile = home.path() / "record";
  fs::path workingFolder = "/";

private:
  const test::ScopedEnvironment log{"LOADER_LOG", logFile().string()};
  const test::ScopedEnvironment record{"LIBRARY_RECORD", recordFile.string()};
};

} // namespace

// --- The main library ---

TEST_F(LibraryLoading, OfTheMainLibraryCallsItsEntryWithOneAndNull) {
  install(MAIN_LIBRARY_FILE, frameworks, MAIN_LIBRARY);
  loadMain();
  EXPECT_THAT(recorded(), ElementsAre("call 1: 1 null", "visible"));
  EXPECT_THAT(messages(), IsEmpty());
}

TEST_F(LibraryLoading, OfTheMainLibraryGoesByTheExecutableNotByTheWorkingFolder) {
  install(MAIN_LIBRARY_FILE, frameworks, MAIN_LIBRARY);
  test::writeFile(home.path() / "elsewhere" / "Frameworks" / MAIN_LIBRARY, "no library");
  workingFolder = home.path() / "elsewhere" / "MacOS";
  fs::create_directory(workingFolder);
  loadMain();
  EXPECT_THAT(recorded(), ElementsAre("call 1: 1 null", "visible"));
}

TEST_F(LibraryLoading, OfTheMainLibraryTwiceCallsTheSameLibraryAgain) {
  install(MAIN_LIBRARY_FILE, frameworks, MAIN_LIBRARY);
  loadMain(2);
  EXPECT_THAT(recorded(), ElementsAre("call 1: 1 null", "call 2: 1 null", "visible"));
}

TEST_F(LibraryLoading, OfAMainLibraryWithoutEntryKeepsItLoadedAndLogsNothing) {
  install(LIBRARY_WITHOUT_ENTRY_FILE, frameworks, MAIN_LIBRARY);
  loadMain();
  EXPECT_THAT(recorded(), ElementsAre("loaded", "visible"));
  EXPECT_THAT(messages(), IsEmpty());
}

TEST_F(LibraryLoading, OfAMissingMainLibraryLogsItsPathWithoutQuotes) {
  loadMain();
  EXPECT_THAT(messages(), ElementsAre(failureOf(inFrameworks(MAIN_LIBRARY))));
  EXPECT_THAT(recorded(), IsEmpty());
}

TEST_F(LibraryLoading, OfABrokenMainLibraryLogsItsPathAsItStands) {
  const fs::path odd = home.path() / "a \"quoted\" \\ folder";
  fs::create_directories(odd);
  fs::rename(application, odd / "App");
  test::writeFile(odd / "App" / "Frameworks" / MAIN_LIBRARY, "no library");
  test::run({{odd / "App" / "MacOS" / "application", "main", "1"}, "/"});
  EXPECT_THAT(
      messages(),
      ElementsAre(failureOf((odd / "App" / "MacOS").string() + "/../Frameworks/" + MAIN_LIBRARY)));
}

TEST_F(LibraryLoading, BindsAllSymbolsAtOnce) {
  install(UNBINDABLE_LIBRARY_FILE, frameworks, MAIN_LIBRARY);
  loadMain();
  EXPECT_THAT(messages(), ElementsAre(failureOf(inFrameworks(MAIN_LIBRARY))));
  EXPECT_THAT(recorded(), IsEmpty());
}

TEST_F(LibraryLoading, LetsTheExceptionOfAnEntryThrough) {
  const test::ScopedEnvironment throwing("LIBRARY_THROWS", "1");
  install(MAIN_LIBRARY_FILE, frameworks, MAIN_LIBRARY);
  install(LAUNCHER_LIBRARY_FILE, frameworks, LAUNCHER_LIBRARY);
  loadMain();
  EXPECT_THAT(
      recorded(), ElementsAre("call 1: 1 null", "exception: thrown by the library", "visible"));
  loadLauncher();
  EXPECT_THAT(
      recorded(), ElementsAre("call 1: 1 [1] null", "exception: thrown by the library", "visible"));
}

TEST_F(LibraryLoading, InLoadModeKeepsTheLogOpenUntilTheMainLibraryReturns) {
  install(MAIN_LIBRARY_FILE, frameworks, MAIN_LIBRARY);
  const fs::path loadLog = home.logFolder() / "vdi-launch-loadmode-log.txt";
  const test::ScopedEnvironment watched("LIBRARY_LOG", loadLog.string());
  run({"entry", "1", "loadmode"});
  EXPECT_THAT(recorded(), ElementsAre("call 1: 1 null", "log open", "visible"));
  EXPECT_THAT(
      test::readMessages(loadLog),
      ElementsAre("ThinClientLauncher DLL entry point called", "load mode, load main dll"));
}

// --- The launcher library ---

TEST_F(LibraryLoading, OfTheLauncherPrefersTheLauncherFolderAndPassesTheArgumentsOn) {
  install(LAUNCHER_LIBRARY_FILE, launcherFolder(), LAUNCHER_LIBRARY);
  install(LIBRARY_WITHOUT_ENTRY_FILE, frameworks, LAUNCHER_LIBRARY);
  loadLauncher({"launchermode", "45.12 0", ""});
  EXPECT_THAT(recorded(), ElementsAre("call 1: 4 [1] [launchermode] [45.12 0] [] null", "visible"));
  EXPECT_THAT(messages(), ElementsAre(FROM_LAUNCHER_FOLDER));
}

TEST_F(LibraryLoading, OfTheLauncherTakesTheExecutablesOwnCopyOtherwise) {
  install(LAUNCHER_LIBRARY_FILE, frameworks, LAUNCHER_LIBRARY);
  loadLauncher({"launchermode"});
  EXPECT_THAT(recorded(), ElementsAre("call 1: 2 [1] [launchermode] null", "visible"));
  EXPECT_THAT(messages(), ElementsAre(FROM_EXECUTABLE));
}

TEST_F(LibraryLoading, OfTheLauncherInLoadModeNeverLooksInTheLauncherFolder) {
  install(LIBRARY_WITHOUT_ENTRY_FILE, launcherFolder(), LAUNCHER_LIBRARY);
  install(LAUNCHER_LIBRARY_FILE, frameworks, LAUNCHER_LIBRARY);
  loadLauncher({"loadmode", "more"});
  EXPECT_THAT(recorded(), ElementsAre("call 1: 3 [1] [loadmode] [more] null", "visible"));
  EXPECT_THAT(messages(), ElementsAre(FROM_EXECUTABLE));
}

TEST_F(LibraryLoading, OfTheLauncherLooksInTheLauncherFolderForAnyOtherArgument) {
  install(LAUNCHER_LIBRARY_FILE, launcherFolder(), LAUNCHER_LIBRARY);
  const std::vector<std::string> rows[] = {
      {}, {"Loadmode"}, {"loadmode "}, {"loadmodes"}, {"loadmod"}, {""}, {"other", "loadmode"}};
  for (const auto& arguments : rows) {
    SCOPED_TRACE(testing::PrintToString(arguments));
    loadLauncher(arguments);
    EXPECT_THAT(messages(), ElementsAre(FROM_LAUNCHER_FOLDER));
    EXPECT_EQ(recorded().size(), 2U);
  }
}

TEST_F(LibraryLoading, OfABrokenLauncherLogsItsQuotedPathAndTriesNoOther) {
  const fs::path candidate = launcherFolder() / LAUNCHER_LIBRARY;
  test::writeFile(candidate, "no library");
  install(LAUNCHER_LIBRARY_FILE, frameworks, LAUNCHER_LIBRARY);
  loadLauncher();
  EXPECT_THAT(
      messages(), ElementsAre(FROM_LAUNCHER_FOLDER, failureOf('"' + candidate.string() + '"')));
  EXPECT_THAT(recorded(), IsEmpty());
}

TEST_F(LibraryLoading, OfTheLauncherTakesAnyEntryOfThatNameForACopy) {
  install(LAUNCHER_LIBRARY_FILE, frameworks, LAUNCHER_LIBRARY);
  fs::create_directories(launcherFolder() / LAUNCHER_LIBRARY);
  loadLauncher();
  EXPECT_EQ(messages().front(), FROM_LAUNCHER_FOLDER);
  fs::remove(launcherFolder() / LAUNCHER_LIBRARY);
  fs::create_symlink(home.path() / "missing", launcherFolder() / LAUNCHER_LIBRARY);
  loadLauncher();
  EXPECT_THAT(messages(), ElementsAre(FROM_EXECUTABLE)) << "a dangling link is none";
}

TEST_F(LibraryLoading, OfAMissingLauncherLogsTheQuotedPathInTheExecutablesFrameworks) {
  loadLauncher();
  EXPECT_THAT(
      messages(),
      ElementsAre(FROM_EXECUTABLE, failureOf('"' + inFrameworks(LAUNCHER_LIBRARY) + '"')));
}

TEST_F(LibraryLoading, LogsQuotesAndBackslashesOfAPathBehindABackslash) {
  const fs::path odd = home.path() / "a \"quoted\" \\ folder";
  const test::ScopedEnvironment oddHome("HOME", odd.string());
  const fs::path folder = odd / fs::relative(launcherFolder(), home.path());
  test::writeFile(folder / LAUNCHER_LIBRARY, "no library");
  loadLauncher();
  const std::string shown = '"' + home.path().string() + "/a \\\"quoted\\\" \\\\ folder/" +
                            fs::relative(folder / LAUNCHER_LIBRARY, odd).string() + '"';
  EXPECT_THAT(messages(), ElementsAre(FROM_LAUNCHER_FOLDER, failureOf(shown)));
}

TEST_F(LibraryLoading, OfALauncherWithoutEntryLogsTheLoadersText) {
  install(LIBRARY_WITHOUT_ENTRY_FILE, launcherFolder(), LAUNCHER_LIBRARY);
  loadLauncher();
  EXPECT_THAT(
      messages(),
      ElementsAre(
          FROM_LAUNCHER_FOLDER, MatchesRegex("dlsym dlerror: .*ThinClientLauncherEntryPoint.*")));
  EXPECT_THAT(recorded(), ElementsAre("loaded", "visible"));
}

TEST_F(LibraryLoading, OfTheLauncherTakesABareNameWithoutApplicationSupport) {
  fs::remove_all(home.applicationSupport());
  workingFolder = home.path();
  loadLauncher();
  EXPECT_EQ(messages().front(), FROM_EXECUTABLE) << "no such file in the working folder";
  test::writeFile(workingFolder / LAUNCHER_LIBRARY, "no library");
  loadLauncher();
  EXPECT_THAT(
      messages(), ElementsAre(FROM_LAUNCHER_FOLDER, failureOf("\"libThinClientLauncher.dylib\"")));
}

TEST_F(LibraryLoading, OfTheLauncherRaisesAnErrorWhereItsFolderCannotBeExamined) {
  fs::create_directories(launcherFolder());
  test::asUnprivilegedUser(home.path(), [&] {
    const test::ScopedPermissions scoped(launcherFolder(), fs::perms::none);
    loadLauncher();
    EXPECT_THAT(recorded(), ElementsAre(StartsWith("exception: ")));
    EXPECT_THAT(messages(), IsEmpty());
  });
}
