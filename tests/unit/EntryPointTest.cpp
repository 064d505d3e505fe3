#include "Eventually.h"
#include "FakeSleep.h"
#include "Fork.h"
#include "LauncherTest.h"
#include "Sandbox.h"
#include "ThinClientLauncher.h"
#include "ThinClientLauncherEntryPoint.h"

#include <type_traits>

namespace fs = std::filesystem;

using testing::Contains;
using testing::ElementsAre;
using testing::StartsWith;

static_assert(std::is_empty_v<ThinClientLauncherBase>);
static_assert(!std::is_polymorphic_v<ThinClientLauncherBase>);
static_assert(std::has_virtual_destructor_v<ThinClientLauncher>);
static_assert(sizeof(ThinClientLauncher) == sizeof(void*), "the virtual table alone");
static_assert(std::is_base_of_v<ThinClientLauncherBase, ThinClientLauncher>);
static_assert(!std::is_convertible_v<ThinClientLauncher*, ThinClientLauncherBase*>, "private");

namespace {

constexpr const char* CALLED = "ThinClientLauncher DLL entry point called";
constexpr const char* LAUNCHER_MODE = "launcher mode";
constexpr const char* LOAD_MODE = "load mode, load main dll";
constexpr const char* NOTHING_FOUND = "Best candidate:  (version: 0.0.0.0)";
constexpr const char* NOT_CLEANED = "not started from launcher folder, do not clean";

// Counted once a thread has run: with the first one, a sanitizer may start its own for good.
std::size_t threadCount() {
  std::thread([] {}).join();
  return static_cast<std::size_t>(std::distance(fs::directory_iterator("/proc/self/task"), {}));
}

class EntryPoint : public test::LauncherTest {
protected:
  EntryPoint() { Logger::close(); }

  // The start of an application ends with its thread.
  ~EntryPoint() override {
    test::FakeSleep::setAction(nullptr);
    EXPECT_TRUE(test::eventually([&] { return threadCount() <= threadsBefore; }));
  }

  fs::path launchLog() const { return home.logFolder() / "vdi-launch-launchmode-log.txt"; }
  fs::path loadLog() const { return home.logFolder() / "vdi-launch-loadmode-log.txt"; }

  // Calls the entry point with an argument vector that ends at the last argument, so that a
  // sanitizer sees any read beyond; argv[0] cannot be read.
  static int call(std::vector<std::string> arguments) {
    std::vector<char*> argv{nullptr};
    for (auto& argument : arguments)
      argv.push_back(argument.data());
    return ThinClientLauncherEntryPoint(static_cast<int>(argv.size()), argv.data());
  }

  static std::vector<std::string> firstOf(std::vector<std::string> lines, std::size_t count) {
    lines.resize(std::min(lines.size(), count));
    return lines;
  }

  static fs::path corrupt(const fs::path& copy) {
    test::writeFile(copy / "launchCount.dat", "3");
    return copy;
  }

  std::size_t pauses() const { return test::FakeSleep::count() - pausesBefore; }

private:
  const std::size_t threadsBefore = threadCount();
  const std::size_t pausesBefore = test::FakeSleep::count();
};

} // namespace

// --- Arguments ---

TEST_F(EntryPoint, TakesLauncherModeWithoutReadingArgumentsBelowACountOfTwo) {
  for (const int argc : {1, 0, -1, -2147483647 - 1}) {
    SCOPED_TRACE(argc);
    fs::remove_all(home.logFolder());
    EXPECT_EQ(ThinClientLauncherEntryPoint(argc, nullptr), 0);
    EXPECT_THAT(
        test::readMessages(launchLog()),
        ElementsAre(CALLED, LAUNCHER_MODE, NOTHING_FOUND, NOT_CLEANED));
    EXPECT_FALSE(fs::exists(loadLog()));
  }
}

TEST_F(EntryPoint, TakesLoadModeForTheExactFirstArgumentAlone) {
  const struct {
    std::vector<std::string> arguments;
    bool loadMode;
  } rows[] = {
      {{"loadmode"}, true},
      {{"loadmode", "45.11", "c", "d"}, true},
      {{"loadmode", "launchermode"}, true},
      {{"Loadmode"}, false},
      {{"LOADMODE"}, false},
      {{"loadmode "}, false},
      {{" loadmode"}, false},
      {{"loadmodes"}, false},
      {{"loadmod"}, false},
      {{""}, false},
      {{"launchermode", "loadmode"}, false},
      {{"other", "loadmode"}, false},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::PrintToString(row.arguments));
    fs::remove_all(home.logFolder());
    EXPECT_EQ(call(row.arguments), 0);
    EXPECT_EQ(fs::exists(loadLog()), row.loadMode);
    EXPECT_EQ(fs::exists(launchLog()), !row.loadMode);
    EXPECT_THAT(
        firstOf(test::readMessages(row.loadMode ? loadLog() : launchLog()), 2),
        ElementsAre(CALLED, row.loadMode ? LOAD_MODE : LAUNCHER_MODE));
  }
}

TEST_F(EntryPoint, TakesAClientVersionBehindTheExactWordAlone) {
  const struct {
    std::vector<std::string> arguments;
    const char* logged; // null for no line
    bool keepsNewerCopy;
  } rows[] = {
      {{"launchermode", "45.10"}, "45.10", false},
      {{"launchermode", "45.10", "45.12"}, "45.10", false},
      {{"launchermode", "45.12"}, "45.12", true},
      {{"launchermode", "1.0.0.1"}, "1.0.0.1", true},
      {{"launchermode", ""}, "", true},
      {{"launchermode"}, nullptr, true},
      {{"Launchermode", "45.10"}, nullptr, true},
      {{"launchermode ", "45.10"}, nullptr, true},
      {{"launchermodes", "45.10"}, nullptr, true},
      {{"launcher", "45.10"}, nullptr, true},
      {{"", "45.10"}, nullptr, true},
      {{"45.10", "launchermode"}, nullptr, true},
  };
  const fs::path newer = makeCopy("newer", "45.11");
  const fs::path older = makeCopy("older", "45.9");
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::PrintToString(row.arguments));
    EXPECT_EQ(call(row.arguments), 0);
    const auto lines = test::readMessages(launchLog());
    std::vector<std::string> expected{CALLED, LAUNCHER_MODE};
    if (row.logged != nullptr)
      expected.push_back(std::string("hvd Client Version provided: ") + row.logged);
    EXPECT_EQ(firstOf(lines, expected.size()), expected);
    EXPECT_THAT(lines[expected.size()], StartsWith("VDI ")) << "the filter follows at once";
    const auto best = row.keepsNewerCopy ? "Best candidate: " + newer.string() + " (version: 45.11)"
                                         : "Best candidate: " + older.string() + " (version: 45.9)";
    EXPECT_THAT(lines, Contains(best));
    fs::remove(newer / "launchCount.dat");
  }
}

TEST_F(EntryPoint, TakesAnArgumentThatIsMissingInTheVectorForNone) {
  std::string word = "launchermode";
  char* withoutVersion[] = {nullptr, word.data(), nullptr};
  EXPECT_EQ(ThinClientLauncherEntryPoint(3, withoutVersion), 0);
  char* withoutWord[] = {nullptr, nullptr};
  EXPECT_EQ(ThinClientLauncherEntryPoint(2, withoutWord), 0);
  EXPECT_THAT(
      test::readMessages(launchLog()),
      ElementsAre(CALLED, LAUNCHER_MODE, NOTHING_FOUND, NOT_CLEANED));
}

// --- The sequence of a launch ---

TEST_F(EntryPoint, RunsTheWholeSequenceInOrder) {
  const fs::path copy = makeCopy("copy", "45.11.0.1");
  EXPECT_EQ(call({"launchermode", "45.12.0.1000"}), 0);
  EXPECT_THAT(
      test::readMessages(launchLog()),
      ElementsAre(
          CALLED,
          LAUNCHER_MODE,
          "hvd Client Version provided: 45.12.0.1000",
          "VDI supports CheckCorrupt: " + copy.string(),
          "safe start Directory: " + copy.string() + ", Launch Count: 0",
          "find a candidate with Version: 45.11.0.1",
          "Best candidate: " + copy.string() + " (version: 45.11.0.1)",
          "VDI Launch count updated to: 1 for directory: " + copy.string()));
  EXPECT_EQ(test::readFile(copy / "launchCount.dat"), "1");
  EXPECT_TRUE(fs::exists(copy / "launch.dat"));
  EXPECT_EQ(pauses(), 1U);
}

TEST_F(EntryPoint, RecordsAndCleansAfterThePauseAlone) {
  const fs::path copy = makeCopy("copy", "45.11.0.1");
  for (const char* name : {"a", "b", "c"})
    fs::create_directory(launcherFolder() / name);
  test::FakeSleep::setAction([&] {
    EXPECT_THAT(test::readMessages(launchLog()).back(), StartsWith("Best candidate: "));
    EXPECT_FALSE(fs::exists(copy / "launchCount.dat"));
    EXPECT_EQ(std::distance(fs::directory_iterator(launcherFolder()), {}), 4);
  });
  EXPECT_EQ(call({}), 0);
  EXPECT_TRUE(fs::exists(copy / "launchCount.dat"));
  EXPECT_EQ(std::distance(fs::directory_iterator(launcherFolder()), {}), 3);
}

TEST_F(EntryPoint, RecordsTheLaunchBeforeItCleans) {
  const fs::path copy = makeCopy("copy", "45.11.0.1");
  for (const char* name : {"a", "b", "c"})
    test::writeFile(launcherFolder() / name / "content" / "file", "");
  test::asUnprivilegedUser(home.path(), [&] {
    const auto stuck = fs::perms::owner_read | fs::perms::owner_exec;
    const test::ScopedPermissions a(launcherFolder() / "a" / "content", stuck);
    const test::ScopedPermissions b(launcherFolder() / "b" / "content", stuck);
    const test::ScopedPermissions c(launcherFolder() / "c" / "content", stuck);
    EXPECT_EQ(call({}), 0);
    const auto lines = test::readMessages(launchLog());
    ASSERT_GE(lines.size(), 2U);
    EXPECT_THAT(lines[lines.size() - 2], StartsWith("VDI Launch count updated to: 1 "));
    EXPECT_THAT(lines.back(), StartsWith("remove directory failed: "));
  });
}

TEST_F(EntryPoint, ChoosesFiltersRecordsAndCleans) {
  const fs::path newer = makeCopy("newer than the client", "45.13.0.10");
  const fs::path broken = corrupt(makeCopy("broken", "45.12.0.999"));
  const fs::path best = makeCopy("best", "45.12.0.900");
  for (const char* name : {"old 1", "old 2"})
    test::writeFile(makeCopy(name, "45.9") / "launch.dat", "");
  EXPECT_EQ(call({"launchermode", "45.12.0.1000"}), 0);
  EXPECT_THAT(
      test::readMessages(launchLog()),
      Contains("Best candidate: " + best.string() + " (version: 45.12.0.900)"));
  EXPECT_EQ(test::readFile(launcherFolder() / "corrupt.dat"), "45.12.0.999");
  EXPECT_EQ(test::readFile(best / "launchCount.dat"), "1");
  EXPECT_FALSE(fs::exists(newer)) << "never launched";
  EXPECT_FALSE(fs::exists(broken)) << "never launched";
  EXPECT_TRUE(fs::exists(best));
  EXPECT_TRUE(fs::exists(launcherFolder() / "old 1"));
  EXPECT_TRUE(fs::exists(launcherFolder() / "old 2"));
}

TEST_F(EntryPoint, FallsBackToAllViableCopiesWhenNoneIsCompatible) {
  const fs::path a = makeCopy("a", "45.11.0.1");
  const fs::path b = makeCopy("b", "45.12.0.1");
  const fs::path broken = corrupt(makeCopy("broken", "45.13.0.1"));
  EXPECT_EQ(call({"launchermode", "45.10"}), 0);
  const auto lines = test::readMessages(launchLog());
  EXPECT_THAT(lines, Contains("Best candidate: " + b.string() + " (version: 45.12.0.1)"));
  EXPECT_THAT(lines, testing::Not(Contains("find a candidate with Version: 45.13.0.1")));
  // Three of the entry, two per viable copy, four of the broken one, four of the choice: none of
  // the fallback.
  EXPECT_EQ(lines.size(), 3 + 2 * 2 + 4 + 4U);
  EXPECT_EQ(test::readFile(b / "launchCount.dat"), "1");
}

TEST_F(EntryPoint, ChoosesTheFirstListedOfEqualCopies) {
  for (const char* name : {"x", "c", "m", "a"})
    makeCopy(name, "45.11.0.1");
  const fs::path first = fs::directory_iterator(launcherFolder())->path();
  EXPECT_EQ(call({}), 0);
  EXPECT_EQ(test::readFile(first / "launchCount.dat"), "1");
}

TEST_F(EntryPoint, PrefersTheInstallersCopyAmongEqualOnesAndWritesNoRecord) {
  makeCopy("copy", "45.11.0.1");
  const test::Sandbox::ScopedApplications applications;
  test::Copy("/Applications", "45.11.0.1");
  EXPECT_EQ(call({}), 0);
  const auto lines = test::readMessages(launchLog());
  EXPECT_THAT(lines, Contains("Best candidate: /Applications (version: 45.11.0.1)"));
  EXPECT_EQ(lines.back(), NOT_CLEANED);
  EXPECT_FALSE(fs::exists("/Applications/launchCount.dat"));
  EXPECT_FALSE(fs::exists(launcherFolder() / "copy" / "launchCount.dat"));
}

TEST_F(EntryPoint, RunsEveryStepWithoutACandidate) {
  fs::create_directories(launcherFolder() / "no bundle");
  EXPECT_EQ(call({"launchermode", "45.12"}), 0);
  EXPECT_THAT(
      test::readMessages(launchLog()),
      ElementsAre(
          CALLED, LAUNCHER_MODE, "hvd Client Version provided: 45.12", NOTHING_FOUND, NOT_CLEANED));
  EXPECT_EQ(pauses(), 1U) << "the start is still asked";
}

TEST_F(EntryPoint, RecordsInTheWorkingFolderWithoutCandidateAndApplicationSupport) {
  fs::remove_all(home.applicationSupport());
  const fs::path working = home.path() / "working";
  fs::create_directory(working);
  test::inChildProcessAt(working, [&] {
    EXPECT_EQ(call({}), 0);
    EXPECT_EQ(test::readFile(working / "launchCount.dat"), "1");
    EXPECT_TRUE(fs::exists(working / "launch.dat"));
    EXPECT_THAT(
        test::readMessages(launchLog()),
        ElementsAre(
            CALLED,
            LAUNCHER_MODE,
            NOTHING_FOUND,
            "VDI Launch count updated to: 1 for directory: "));
  });
}

TEST_F(EntryPoint, LaunchesWithoutALogWhereItCannotBeOpened) {
  const fs::path copy = makeCopy("copy", "45.11.0.1");
  fs::create_directories(launchLog());
  EXPECT_EQ(call({}), 0);
  EXPECT_EQ(test::readFile(copy / "launchCount.dat"), "1");
}

TEST_F(EntryPoint, RunsNothingOfTheSequenceInLoadMode) {
  const fs::path copy = makeCopy("copy", "45.11.0.1");
  EXPECT_EQ(call({"loadmode"}), 0);
  EXPECT_FALSE(fs::exists(copy / "launchCount.dat"));
  EXPECT_EQ(pauses(), 0U);
  EXPECT_THAT(
      test::readMessages(loadLog()),
      ElementsAre(CALLED, LOAD_MODE, testing::HasSubstr(" load library failed dleeror: ")));
}

// --- One call after the other ---

TEST_F(EntryPoint, EmptiesTheModesLogAtEveryCall) {
  call({"launchermode", "45.12"});
  call({"loadmode"});
  EXPECT_THAT(firstOf(test::readMessages(launchLog()), 2), ElementsAre(CALLED, LAUNCHER_MODE));
  call({});
  EXPECT_THAT(
      test::readMessages(launchLog()),
      ElementsAre(CALLED, LAUNCHER_MODE, NOTHING_FOUND, NOT_CLEANED));
  EXPECT_THAT(firstOf(test::readMessages(loadLog()), 2), ElementsAre(CALLED, LOAD_MODE));
}

TEST_F(EntryPoint, ClosesTheLogAtItsEnd) {
  call({});
  const std::string before = test::readFile(launchLog());
  Logger::log("after the call");
  EXPECT_EQ(test::readFile(launchLog()), before);
}

TEST_F(EntryPoint, LetsAnErrorOutAndLeavesTheLogOpenForOneMoreCall) {
  test::writeFile(launcherFolder(), "a file, so that the scan fails");
  EXPECT_THROW(call({}), fs::filesystem_error);
  EXPECT_THAT(test::readMessages(launchLog()), ElementsAre(CALLED, LAUNCHER_MODE));
  fs::remove(launcherFolder());
  const fs::path copy = makeCopy("copy", "45.11.0.1");

  EXPECT_EQ(call({}), 0);
  EXPECT_THAT(test::readMessages(launchLog()), ElementsAre(CALLED, LAUNCHER_MODE))
      << "logs nothing";
  EXPECT_EQ(test::readFile(copy / "launchCount.dat"), "1") << "but launches";

  EXPECT_EQ(call({}), 0);
  EXPECT_THAT(
      test::readMessages(launchLog()),
      Contains("VDI Launch count updated to: 2 for directory: " + copy.string()));
}

TEST_F(EntryPoint, LetsOutTheErrorOfALogFolderThatCannotBeCreated) {
  test::writeFile(home.path() / "Library" / "Logs", "a file");
  EXPECT_THROW(call({}), fs::filesystem_error);
  EXPECT_THROW(call({"loadmode"}), fs::filesystem_error);
}

TEST_F(EntryPoint, LetsOutTheErrorOfDeniedPermission) {
  const fs::path copy = makeCopy("copy", "45.11.0.1");
  test::asUnprivilegedUser(home.path(), [&] {
    {
      const test::ScopedPermissions scoped(copy, fs::perms::none);
      EXPECT_THROW(call({}), fs::filesystem_error);
      EXPECT_THAT(test::readMessages(launchLog()), ElementsAre(CALLED, LAUNCHER_MODE));
    }
    EXPECT_EQ(call({}), 0);
    EXPECT_EQ(call({}), 0);
    EXPECT_EQ(test::readMessages(launchLog()).size(), 7U);
  });
}
