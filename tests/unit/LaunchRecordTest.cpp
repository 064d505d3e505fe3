#include "Fork.h"
#include "LauncherTest.h"

#include <algorithm>
#include <ctime>
#include <fstream>
#include <sys/stat.h>

namespace fs = std::filesystem;

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class LaunchRecord : public test::LauncherTest {
protected:
  LaunchRecord() {
    fs::create_directories(copy);
    fs::create_directories(outside);
  }

  static std::string content(const fs::path& dir, const char* name) {
    return test::readFile(dir / name);
  }

  std::string updatedTo(const char* count) const {
    return "VDI Launch count updated to: " + std::string(count) +
           " for directory: " + copy.string();
  }

  const fs::path copy = launcherDirectory() / "45.11.0.1";
  const fs::path outside = home.path() / "elsewhere";
};

std::size_t bytesReadSoFar() {
  std::string name;
  std::size_t bytes = 0;
  std::ifstream("/proc/self/io") >> name >> bytes;
  return bytes;
}

} // namespace

// --- Count ---

TEST_F(LaunchRecord, ReadsFormattedCount) {
  const struct {
    const char* content;
    std::uint32_t expected;
  } rows[] = {
      {"3", 3},
      {"7\n", 7},
      {" \t\r\n 7", 7},
      {"12a", 12},
      {"1,234", 1},
      {"1 2", 1},
      {"007", 7},
      {"0x10", 0},
      {"+5", 5},
      {"-5", 4294967291U},
      {"+-5", 0},
      {"-99999999999", 4294967295U},
      {"letters", 0},
      {"", 0},
      {" ", 0},
      {"4294967295", 4294967295U},
      {"4294967296", 4294967295U},
      {"99999999999999999999999999", 4294967295U},
  };
  for (const auto& row : rows) {
    for (const auto& dir : {copy, outside}) {
      SCOPED_TRACE(row.content + (" in " + dir.string()));
      test::writeFile(dir / "launchCount.dat", row.content);
      EXPECT_EQ(launcher.getLaunchCount(dir), row.expected);
    }
  }
}

TEST_F(LaunchRecord, CountsNothingUnreadable) {
  EXPECT_EQ(launcher.getLaunchCount(copy), 0U);
  EXPECT_EQ(launcher.getLaunchCount(home.path() / "missing"), 0U);
  fs::create_directory(copy / "launchCount.dat");
  EXPECT_EQ(launcher.getLaunchCount(copy), 0U);
  launcher.incrementLaunchCount(copy);
  EXPECT_TRUE(fs::is_empty(copy / "launchCount.dat"));
  EXPECT_THAT(messages(), IsEmpty());
}

TEST_F(LaunchRecord, ReadsOnlyStartOfHugeCount) {
  NEEDS_LINUX("/proc counts the bytes");
  constexpr std::size_t MEBIBYTE = 1024 * 1024;
  test::writeFile(copy / "launchCount.dat", std::string(16 * MEBIBYTE, '9'));
  const std::size_t before = bytesReadSoFar();
  EXPECT_EQ(launcher.getLaunchCount(copy), 4294967295U);
  EXPECT_LT(bytesReadSoFar() - before, 2 * MEBIBYTE);
  for (const auto& [spaces, count] : {std::pair(MEBIBYTE - 1, 7U), {MEBIBYTE, 0U}}) {
    test::writeFile(copy / "launchCount.dat", std::string(spaces, ' ') + "7");
    EXPECT_EQ(launcher.getLaunchCount(copy), count);
  }
}

TEST_F(LaunchRecord, TreatsPipesAsLocked) {
  for (const char* name : {"launchCount.dat", "launch.dat"})
    ASSERT_EQ(::mkfifo((copy / name).c_str(), 0666), 0);
  EXPECT_EQ(launcher.getLaunchCount(copy), 0U);
  launcher.updateLaunchInfo(copy);
  EXPECT_THAT(messages(), IsEmpty());
}

TEST_F(LaunchRecord, CountsOneMore) {
  const struct {
    const char* before;
    const char* after;
  } rows[] = {
      {"", "1"},
      {"1", "2"},
      {"9\n", "10"},
      {"garbage that is longer", "1"},
      {"4294967294", "4294967295"},
      {"4294967295", "0"},
      {"99999999999", "0"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.before);
    test::writeFile(copy / "launchCount.dat", row.before);
    launcher.incrementLaunchCount(copy);
    EXPECT_EQ(content(copy, "launchCount.dat"), row.after);
    EXPECT_EQ(messages().back(), updatedTo(row.after));
  }
  EXPECT_FALSE(fs::exists(copy / "launch.dat"));
}

TEST_F(LaunchRecord, LogsCountOnFullDisk) {
  NEEDS_LINUX("/dev/full");
  fs::create_symlink("/dev/full", copy / "launchCount.dat");
  launcher.incrementLaunchCount(copy);
  EXPECT_THAT(messages(), testing::SizeIs(1));
}

// --- Time ---

TEST_F(LaunchRecord, WritesTimeInSeconds) {
  test::writeFile(copy / "launch.dat", "something longer than any time");
  const std::time_t before = std::time(nullptr);
  launcher.updateLaunchTime(copy);
  const std::time_t after = std::time(nullptr);
  const std::string text = content(copy, "launch.dat");
  EXPECT_EQ(std::to_string(std::stoll(text)), text);
  EXPECT_LE(before, std::stoll(text));
  EXPECT_GE(after, std::stoll(text));
  EXPECT_FALSE(fs::exists(copy / "launchCount.dat"));
  EXPECT_THAT(messages(), IsEmpty());
}

TEST_F(LaunchRecord, ReadsModificationTime) {
  test::writeFile(copy / "launch.dat", "12");
  const auto weekAgo = fs::file_time_type::clock::now() - std::chrono::hours(24 * 7);
  fs::last_write_time(copy / "launch.dat", weekAgo);
  const auto reported = fs::last_write_time(copy / "launch.dat");
  EXPECT_EQ(launcher.getLastLaunchTime(copy), reported);
  launcher.updateLaunchTime(copy);
  EXPECT_GT(launcher.getLastLaunchTime(copy), reported);
}

TEST_F(LaunchRecord, OrdersTimesOfAllCenturies) {
  NEEDS_LINUX("a Mac's file system holds the years 1678 to 2262");
  // The years 1, 1400, 1800, 1900, 2026, 2300 and 292277026596.
  const std::int64_t moments[] = {
      -62135596800, -17987443200, -5364662400, -2208988800, 1772892309, 10413792000, INT64_MAX};
  std::vector<fs::file_time_type> times{fs::file_time_type::min()};
  for (const std::int64_t seconds : moments) {
    test::writeFile(copy / "launch.dat", "12");
    test::setModificationTime(copy / "launch.dat", seconds);
    times.push_back(launcher.getLastLaunchTime(copy));
  }
  EXPECT_TRUE(std::is_sorted(times.begin(), times.end()));
  EXPECT_LT(times.front(), times[1]) << "never is before all";
  EXPECT_LT(times[3], times[5]);
  EXPECT_LT(times[5], times[6]);
  EXPECT_LT(times[6], times.back());
}

TEST_F(LaunchRecord, ReportsUnknownTime) {
  test::writeFile(outside / "launch.dat", "12");
  for (const auto& dir :
       {copy, outside, launcherDirectory() / "missing", fs::path("/Applications")})
    EXPECT_EQ(launcher.getLastLaunchTime(dir), fs::file_time_type::min()) << dir;
}

// --- Safe start ---

TEST_F(LaunchRecord, TakesAnySafeStartMark) {
  expectAnyEntryCounts(copy / "started.dat", [this] { return launcher.hasStartedSafely(copy); });
  EXPECT_FALSE(launcher.hasStartedSafely(home.path() / "missing"));
  test::writeFile(outside / "started.dat", "content");
  EXPECT_TRUE(launcher.hasStartedSafely(outside)) << "outside the launcher folder";
}

// --- Both records ---

// A count that cannot be examined stops the update before the time is written.
TEST_F(LaunchRecord, CountsBeforeItWritesTime) {
  fs::create_symlink("launchCount.dat", copy / "launchCount.dat");
  EXPECT_THROW(launcher.updateLaunchInfo(copy), fs::filesystem_error);
  EXPECT_FALSE(fs::exists(copy / "launch.dat"));
}

TEST_F(LaunchRecord, IsWrittenInLauncherFolder) {
  const fs::path nested = copy / "nested";
  const fs::path missing = launcherDirectory() / "missing";
  fs::create_directory(nested);
  for (const auto& dir :
       {outside, launcherDirectory(), nested, copy / "", missing, fs::path("/Applications")}) {
    SCOPED_TRACE(dir);
    launcher.updateLaunchInfo(dir);
    EXPECT_FALSE(fs::exists(dir / "launchCount.dat"));
    EXPECT_FALSE(fs::exists(dir / "launch.dat"));
  }
  EXPECT_FALSE(fs::exists(missing));
  EXPECT_THAT(messages(), IsEmpty());
}

TEST_F(LaunchRecord, LandsInWorkingFolder) {
  fs::remove_all(home.path() / "Library");
  test::inChildProcessAt(outside, [&] {
    launcher.updateLaunchInfo("");
    EXPECT_EQ(content(outside, "launchCount.dat"), "1");
    EXPECT_TRUE(fs::exists(outside / "launch.dat"));
    EXPECT_THAT(messages(), ElementsAre("VDI Launch count updated to: 1 for directory: "));
    EXPECT_NE(launcher.getLastLaunchTime(""), fs::file_time_type::min());
  });
}

// --- Denied permission ---

TEST_F(LaunchRecord, LeavesLockedFilesAlone) {
  test::asUnprivilegedUser(home.path(), [&] {
    test::writeFile(copy / "launchCount.dat", "7");
    test::writeFile(copy / "launch.dat", "12");
    {
      const test::ScopedPermissions count(copy / "launchCount.dat", fs::perms::owner_read);
      const test::ScopedPermissions time(copy / "launch.dat", fs::perms::owner_read);
      launcher.updateLaunchInfo(copy);
    }
    EXPECT_EQ(content(copy, "launchCount.dat"), "7");
    EXPECT_EQ(content(copy, "launch.dat"), "12");
    EXPECT_THAT(messages(), IsEmpty());
    const test::ScopedPermissions unreadable(copy / "launchCount.dat", fs::perms::owner_write);
    EXPECT_EQ(launcher.getLaunchCount(copy), 0U);
  });
}

TEST_F(LaunchRecord, RaisesForLockedFolder) {
  test::asUnprivilegedUser(home.path(), [&] {
    const test::ScopedPermissions scoped(copy, fs::perms::owner_read);
    EXPECT_THROW(launcher.getLaunchCount(copy), fs::filesystem_error);
    EXPECT_THROW(launcher.incrementLaunchCount(copy), fs::filesystem_error);
    EXPECT_THROW(launcher.getLastLaunchTime(copy), fs::filesystem_error);
    EXPECT_THROW(launcher.hasStartedSafely(copy), fs::filesystem_error);
    EXPECT_THROW(launcher.updateLaunchInfo(copy), fs::filesystem_error);
    EXPECT_NO_THROW(launcher.updateLaunchTime(copy));
  });
}
