#include "Fork.h"
#include "LauncherTest.h"

#include <sys/stat.h>

namespace fs = std::filesystem;

using testing::ElementsAre;

namespace {

class CorruptVersions : public test::LauncherTest {
protected:
  CorruptVersions() { fs::create_directories(launcherDirectory()); }

  std::string content() const { return test::readFile(file); }
  std::string failure() const { return "VDI Failed to write corrupt versions to " + file.string(); }
  std::string success(int count) const {
    return "VDI Wrote " + std::to_string(count) + " corrupt versions to " + file.string();
  }

  const fs::path file = launcherDirectory() / "corrupt.dat";
};

} // namespace

TEST_F(CorruptVersions, AreDistinctInByteOrder) {
  const struct {
    const char* name;
    std::vector<std::string> versions;
    std::string expected;
    int distinct;
  } rows[] = {
      {"one", {"45.11.0.1"}, "45.11.0.1", 1},
      {"duplicates",
       {"45.10.0.32950", "44.2.0.100", "45.10.0.32950"},
       "44.2.0.100|45.10.0.32950",
       2},
      {"byte order, not version order", {"9.0", "45.1"}, "45.1|9.0", 2},
      {"odd bytes", {"b|a", std::string("\0", 1), "\xFF", " "}, std::string("\0| |b|a|\xFF", 9), 4},
      {"an empty version", {"1", ""}, "|1", 2},
      {"ten", {"9", "8", "7", "6", "5", "4", "3", "2", "1", "0"}, "0|1|2|3|4|5|6|7|8|9", 10},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    launcher.writeCorruptVersions(row.versions);
    EXPECT_EQ(content(), row.expected);
    EXPECT_EQ(messages().back(), success(row.distinct));
  }
}

TEST_F(CorruptVersions, CreateNoFolder) {
  fs::remove(launcherDirectory());
  launcher.writeCorruptVersions({"45.11.0.1"});
  EXPECT_FALSE(fs::exists(launcherDirectory()));
  EXPECT_THAT(messages(), ElementsAre(failure()));
}

TEST_F(CorruptVersions, AreReportedOnFullDisk) {
  NEEDS_LINUX("/dev/full");
  fs::create_symlink("/dev/full", file);
  launcher.writeCorruptVersions({"45.11.0.1"});
  EXPECT_THAT(messages(), ElementsAre(success(1)));
}

TEST_F(CorruptVersions, StayOutOfPipe) {
  ASSERT_EQ(::mkfifo(file.c_str(), 0666), 0);
  launcher.writeCorruptVersions({"45.11.0.1"});
  EXPECT_THAT(messages(), ElementsAre(failure()));
}

TEST_F(CorruptVersions, LandInWorkingFolder) {
  fs::remove_all(home.path() / "Library");
  test::inChildProcessAt(home.path(), [&] {
    launcher.writeCorruptVersions({"45.11.0.1"});
    EXPECT_EQ(test::readFile(home.path() / "corrupt.dat"), "45.11.0.1");
    EXPECT_THAT(messages(), ElementsAre("VDI Wrote 1 corrupt versions to corrupt.dat"));
  });
}

TEST_F(CorruptVersions, StayInLockedFile) {
  test::asUnprivilegedUser(home.path(), [&] {
    test::writeFile(file, "45.11.0.1");
    {
      const test::ScopedPermissions scoped(file, fs::perms::owner_read);
      launcher.writeCorruptVersions({"45.12.0.1"});
    }
    EXPECT_EQ(content(), "45.11.0.1");
    EXPECT_THAT(messages(), ElementsAre(failure()));
  });
}
