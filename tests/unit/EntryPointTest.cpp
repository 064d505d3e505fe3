#include "FakeSleep.h"
#include "Fork.h"
#include "LauncherTest.h"
#include "ThinClientLauncher.h"
#include "ThinClientLauncherEntryPoint.h"
#include "Threads.h"

#include <type_traits>

namespace fs = std::filesystem;

using namespace testing;

static_assert(std::is_empty_v<ThinClientLauncherBase>);
static_assert(!std::is_polymorphic_v<ThinClientLauncherBase>);
static_assert(std::has_virtual_destructor_v<ThinClientLauncher>);
static_assert(sizeof(ThinClientLauncher) == sizeof(void*), "the virtual table alone");
static_assert(std::is_base_of_v<ThinClientLauncherBase, ThinClientLauncher>);
static_assert(!std::is_convertible_v<ThinClientLauncher*, ThinClientLauncherBase*>, "private");

namespace {

using Lines = std::vector<std::string>;

constexpr const char* CALLED = "ThinClientLauncher DLL entry point called";
constexpr const char* LAUNCHER_MODE = "launcher mode";
constexpr const char* LOAD_MODE = "load mode, load main dll";
constexpr const char* NOTHING_FOUND = "Best candidate:  (version: 0.0.0.0)";
constexpr const char* NOT_CLEANED = "not started from launcher folder, do not clean";

class EntryPoint : public test::LauncherTest {
protected:
  EntryPoint() {
    Logger::close();
    test::noteThreadsAtRest();
  }

  // The start of an application ends with its thread.
  ~EntryPoint() override {
    test::FakeSleep::setAction(nullptr);
    EXPECT_TRUE(test::eventually([] { return test::countThreads() == 1; }));
  }

  // Calls the entry point with an argument vector that ends at the last argument, so that a
  // sanitizer sees any read beyond; argv[0] cannot be read.
  static int call(Lines arguments) {
    std::vector<char*> argv{nullptr};
    for (auto& argument : arguments)
      argv.push_back(argument.data());
    return ThinClientLauncherEntryPoint(static_cast<int>(argv.size()), argv.data());
  }

  Lines launchLog() const { return test::readMessages(home.launchLog()); }
  Lines loadLog() const { return test::readMessages(home.loadLog()); }

  static std::string launchCount(const fs::path& copy) {
    return test::readFile(copy / "launchCount.dat");
  }

  static Lines firstOf(Lines lines, std::size_t count) {
    lines.resize(std::min(lines.size(), count));
    return lines;
  }

  static std::string best(const fs::path& copy, const std::string& version) {
    return "Best candidate: " + copy.string() + " (version: " + version + ")";
  }
};

} // namespace

// --- Arguments ---

TEST_F(EntryPoint, ReadsNoArgumentBelowTwo) {
  for (const int argc : {1, 0, -1, -2147483647 - 1}) {
    SCOPED_TRACE(argc);
    fs::remove_all(home.logDirectory());
    EXPECT_EQ(ThinClientLauncherEntryPoint(argc, nullptr), 0);
    EXPECT_THAT(launchLog(), ElementsAre(CALLED, LAUNCHER_MODE, NOTHING_FOUND, NOT_CLEANED));
    EXPECT_FALSE(fs::exists(home.loadLog()));
  }
}

TEST_F(EntryPoint, KnowsLoadModeByItsWord) {
  const struct {
    Lines arguments;
    bool loadMode;
  } rows[] = {
      {{"loadmode"}, true},
      {{"loadmode", "45.11", "c", "d"}, true},
      {{"loadmode", "launchermode"}, true},
      {{"Loadmode"}, false},
      {{"loadmode "}, false},
      {{"loadmodes"}, false},
      {{"loadmod"}, false},
      {{""}, false},
      {{"launchermode", "loadmode"}, false},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::PrintToString(row.arguments));
    fs::remove_all(home.logDirectory());
    EXPECT_EQ(call(row.arguments), 0);
    EXPECT_EQ(fs::exists(home.loadLog()), row.loadMode);
    EXPECT_EQ(fs::exists(home.launchLog()), !row.loadMode);
    if (row.loadMode)
      EXPECT_THAT(loadLog(), ElementsAre(CALLED, LOAD_MODE, HasSubstr(" load library failed ")));
    else
      EXPECT_THAT(firstOf(launchLog(), 2), ElementsAre(CALLED, LAUNCHER_MODE));
  }
}

TEST_F(EntryPoint, KnowsClientVersionByItsWord) {
  const struct {
    Lines arguments;
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
      {{"launcher", "45.10"}, nullptr, true},
      {{"", "45.10"}, nullptr, true},
      {{"45.10", "launchermode"}, nullptr, true},
  };
  const fs::path newer = home.copy("newer", "45.11");
  const fs::path older = home.copy("older", "45.9");
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::PrintToString(row.arguments));
    EXPECT_EQ(call(row.arguments), 0);
    const auto lines = launchLog();
    Lines expected{CALLED, LAUNCHER_MODE};
    if (row.logged != nullptr)
      expected.push_back(std::string("hvd Client Version provided: ") + row.logged);
    EXPECT_EQ(firstOf(lines, expected.size()), expected);
    EXPECT_THAT(lines[expected.size()], StartsWith("VDI ")) << "the filter follows at once";
    EXPECT_THAT(lines, Contains(row.keepsNewerCopy ? best(newer, "45.11") : best(older, "45.9")));
    fs::remove(newer / "launchCount.dat");
  }
}

TEST_F(EntryPoint, TakesNullForNoArgument) {
  std::string word = "launchermode";
  char* withoutVersion[] = {nullptr, word.data(), nullptr};
  EXPECT_EQ(ThinClientLauncherEntryPoint(3, withoutVersion), 0);
  char* withoutWord[] = {nullptr, nullptr};
  EXPECT_EQ(ThinClientLauncherEntryPoint(2, withoutWord), 0);
  EXPECT_THAT(launchLog(), ElementsAre(CALLED, LAUNCHER_MODE, NOTHING_FOUND, NOT_CLEANED));
}

// --- The sequence of a launch ---

TEST_F(EntryPoint, PausesBeforeItRecords) {
  const fs::path copy = home.copy("copy", "45.11.0.1");
  for (const char* name : {"a", "b", "c"})
    fs::create_directory(launcherDirectory() / name);
  test::FakeSleep::setAction([&] {
    EXPECT_THAT(launchLog().back(), StartsWith("Best candidate: "));
    EXPECT_FALSE(fs::exists(copy / "launchCount.dat"));
    EXPECT_EQ(test::directoriesIn(launcherDirectory()).size(), 4U);
  });
  const auto pauses = test::FakeSleep::count();
  EXPECT_EQ(call({}), 0);
  EXPECT_EQ(test::FakeSleep::count(), pauses + 1);
  EXPECT_TRUE(fs::exists(copy / "launchCount.dat"));
  EXPECT_EQ(test::directoriesIn(launcherDirectory()).size(), 3U);
}

TEST_F(EntryPoint, RecordsBeforeItCleans) {
  const fs::path copy = home.copy("copy", "45.11.0.1");
  for (const char* name : {"a", "b"})
    home.copy(name, "45.9").launched(std::chrono::hours(1));
  const fs::path content = launcherDirectory() / "old" / "content";
  test::writeFile(content / "file", "");
  test::asUnprivilegedUser(home.path(), [&] {
    const test::ScopedPermissions stuck(content, fs::perms::owner_read | fs::perms::owner_exec);
    EXPECT_EQ(call({}), 0);
    const auto lines = launchLog();
    ASSERT_GE(lines.size(), 2U);
    EXPECT_THAT(lines[lines.size() - 2], StartsWith("VDI Launch count updated to: 1 "));
    EXPECT_THAT(lines.back(), StartsWith("remove directory failed: "));
  });
}

TEST_F(EntryPoint, FallsBackToViableCopies) {
  home.copy("a", "45.11.0.1");
  const fs::path b = home.copy("b", "45.12.0.1");
  home.copy("broken", "45.13.0.1").launches("3");
  EXPECT_EQ(call({"launchermode", "45.10"}), 0);
  const auto lines = launchLog();
  EXPECT_THAT(lines, Contains(best(b, "45.12.0.1")));
  EXPECT_THAT(lines, Not(Contains("find a candidate with Version: 45.13.0.1")));
  // Three of the entry, two per viable copy, four of the broken one, four of the choice: none of
  // the fallback.
  EXPECT_EQ(lines.size(), 3 + 2 * 2 + 4 + 4U);
  EXPECT_EQ(launchCount(b), "1");
}

TEST_F(EntryPoint, RecordsInWorkingFolderWithoutApplicationSupport) {
  fs::remove_all(home.applicationSupport());
  const fs::path working = home.path() / "working";
  fs::create_directory(working);
  test::inChildProcessAt(working, [&] {
    EXPECT_EQ(call({}), 0);
    EXPECT_EQ(launchCount(working), "1");
    EXPECT_TRUE(fs::exists(working / "launch.dat"));
    EXPECT_EQ(launchLog().back(), "VDI Launch count updated to: 1 for directory: ");
  });
}

TEST_F(EntryPoint, LaunchesWithoutLog) {
  const fs::path copy = home.copy("copy", "45.11.0.1");
  fs::create_directories(home.launchLog());
  EXPECT_EQ(call({}), 0);
  EXPECT_EQ(launchCount(copy), "1");
}

// --- One call after the other ---

TEST_F(EntryPoint, EmptiesAndClosesItsLog) {
  call({"launchermode", "45.12"});
  call({"loadmode"});
  EXPECT_THAT(firstOf(launchLog(), 2), ElementsAre(CALLED, LAUNCHER_MODE));
  call({});
  Logger::log("after the call");
  EXPECT_THAT(launchLog(), ElementsAre(CALLED, LAUNCHER_MODE, NOTHING_FOUND, NOT_CLEANED));
  EXPECT_THAT(firstOf(loadLog(), 2), ElementsAre(CALLED, LOAD_MODE));
}

TEST_F(EntryPoint, RaisesForLogFolder) {
  test::writeFile(home.path() / "Library" / "Logs", "a file");
  EXPECT_THROW(call({}), fs::filesystem_error);
  EXPECT_THROW(call({"loadmode"}), fs::filesystem_error);
}
