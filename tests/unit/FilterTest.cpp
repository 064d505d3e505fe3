#include "Fork.h"
#include "LauncherTest.h"

namespace fs = std::filesystem;

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class Viability : public test::LauncherTest {
protected:
  fs::path corruptFile() const { return launcherDirectory() / "corrupt.dat"; }
};

class Compatibility : public test::LauncherTest {};

} // namespace

// --- Corrupt copies ---

TEST_F(Viability, SkipsCorruptCopy) {
  const fs::path copy = home.copy("new", "45.11.0.1").launches("1234567");
  EXPECT_THAT(launcher.filterInviableDirectories({copy}), IsEmpty());
  EXPECT_THAT(
      messages(),
      ElementsAre(
          "VDI supports CheckCorrupt: " + copy.string(),
          "VDI Directory marked as corrupt - Launch count: 1234567, Directory: " + copy.string(),
          "VDI Skipping corrupt directory: " + copy.string(),
          "VDI Wrote 1 corrupt versions to " + corruptFile().string()));
  EXPECT_EQ(test::readFile(corruptFile()), "45.11.0.1");
}

TEST_F(Viability, KeepsOtherCopies) {
  const fs::path fresh = home.copy("fresh", "45.11.0.1").launches("2");
  const fs::path safe = home.copy("safe", "46").launches("4294967295").startedSafely();
  const fs::path old = home.copy("old", "45.10.0.32950").launches("7");
  const fs::path unreadable = home.copy("unreadable", "").launches("7");
  const fs::path outside = test::Copy(home.path() / "elsewhere", "45.11.0.1").launches("7");
  const fs::path nested = test::Copy(fresh / "nested", "45.11.0.1").launches("7");
  const std::vector<fs::path> all{fresh, safe, old, unreadable, outside, nested};
  EXPECT_EQ(launcher.filterInviableDirectories(all), all);
  EXPECT_THAT(
      messages(),
      ElementsAre(
          "VDI supports CheckCorrupt: " + fresh.string(),
          "safe start Directory: " + fresh.string() + ", Launch Count: 2",
          "VDI supports CheckCorrupt: " + safe.string(),
          "safe start Directory: " + safe.string() + ", Launch Count: 4294967295",
          "VDI does not support CheckCorrupt: " + old.string(),
          "safe start Directory: " + old.string() + ", Launch Count: 7",
          "safe start Directory: " + unreadable.string() + ", Launch Count: 7",
          "safe start Directory: " + outside.string() + ", Launch Count: 7",
          "safe start Directory: " + nested.string() + ", Launch Count: 7"));
  EXPECT_FALSE(fs::exists(corruptFile()));
}

TEST_F(Viability, JudgesCorruption) {
  const struct {
    const char* version;
    const char* launchCount;
    bool startedSafely;
    bool isSupported;
    bool isCorrupt;
  } rows[] = {
      {"45.11.0.1", "3", false, true, true},
      {"45.11.0.1", "4294967295", false, true, true},
      {"45.10.0.32951", "3", false, true, true},
      {"46", "4", false, true, true},
      {"45.11.0.1", "2", false, true, false},
      {"45.11.0.1", "", false, true, false},
      {"45.11.0.1", "4294967295", true, true, false},
      {"45.10.0.32950", "7", false, false, false},
      {"45.10.0.32950.7", "7", false, false, false},
      {"45.10", "7", false, false, false},
      {"44.99", "7", false, false, false},
      {"45.x", "7", false, false, false},
      {"x", "7", false, false, false},
      {"", "7", false, false, false},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(
        std::string("version ") + row.version + ", launched " + row.launchCount +
        (row.startedSafely ? ", started safely" : ""));
    fs::remove_all(launcherDirectory());
    auto copy = home.copy("copy", row.version).launches(row.launchCount);
    if (row.startedSafely)
      copy.startedSafely();
    EXPECT_EQ(launcher.isSupportCheckCorrupt(copy), row.isSupported);
    EXPECT_EQ(launcher.isDirectoryCorrupt(copy), row.isCorrupt);
  }
  // Outside the launcher folder too: membership is another question.
  EXPECT_TRUE(launcher.isSupportCheckCorrupt(test::Copy(home.path() / "elsewhere", "46")));
}

// --- The filter as a whole ---

TEST_F(Viability, SkipsOtherFolders) {
  fs::create_directories(launcherDirectory() / "empty");
  test::writeFile(launcherDirectory() / "empty" / "launchCount.dat", "7");
  EXPECT_THAT(
      launcher.filterInviableDirectories(
          {launcherDirectory() / "empty", home.path() / "missing", ""}),
      IsEmpty());
  EXPECT_THAT(messages(), IsEmpty());
  EXPECT_FALSE(fs::exists(corruptFile()));
}

TEST_F(Viability, KeepsOrderAndDuplicates) {
  const fs::path old = home.copy("old", "45.9");
  const fs::path good = home.copy("good", "45.11");
  const fs::path a = home.copy("a", "45.12.0.1").launches("3");
  const fs::path b = home.copy("b", "45.11.0.1").launches("3");
  const fs::path c = home.copy("c", "45.12.0.1").launches("3");
  EXPECT_THAT(
      launcher.filterInviableDirectories({good, a, b, old, c, good}), ElementsAre(good, old, good));
  EXPECT_EQ(test::readFile(corruptFile()), "45.11.0.1|45.12.0.1");
  EXPECT_EQ(messages().back(), "VDI Wrote 2 corrupt versions to " + corruptFile().string());
  EXPECT_EQ(messages().size(), 3 * 2 + 3 * 3 + 1U);
}

TEST_F(Viability, KeepsCorruptFile) {
  test::writeFile(corruptFile(), "45.11.0.1");
  launcher.filterInviableDirectories({home.copy("good", "45.12")});
  EXPECT_THAT(launcher.filterInviableDirectories({}), IsEmpty());
  EXPECT_EQ(test::readFile(corruptFile()), "45.11.0.1");
}

TEST_F(Viability, RaisesForLockedFolder) {
  const fs::path copy = home.copy("locked", "45.11.0.1");
  test::asUnprivilegedUser(home.path(), [&] {
    const test::ScopedPermissions scoped(copy, fs::perms::none);
    EXPECT_THROW(launcher.filterInviableDirectories({copy}), fs::filesystem_error);
    EXPECT_THROW(launcher.findBestCandidate({copy}), fs::filesystem_error);
  });
}

// --- Compatibility with the client ---

TEST_F(Compatibility, KeepsAllForAnyClient) {
  const std::vector<fs::path> all{
      home.copy("new", "99.0"), home.copy("unreadable", ""), home.path() / "missing", ""};
  EXPECT_EQ(launcher.filterIncompatibleDirectories(all, ""), all);
  EXPECT_EQ(launcher.filterIncompatibleDirectories(all, "1.0.0.1"), all);
}

TEST_F(Compatibility, KnowsAnyClientByExactText) {
  const fs::path copy = home.copy("new", "99.0");
  for (const char* version :
       {"1.0.0.1 ", "1.0.0.1.", "1.0.0.10", "1.0.0", " 1.0.0.1", "1.0.0.01"}) {
    SCOPED_TRACE(version);
    EXPECT_THAT(launcher.filterIncompatibleDirectories({copy}, version), IsEmpty());
  }
}

TEST_F(Compatibility, ComparesTwoComponents) {
  const struct {
    const char* client;
    const char* version;
    bool kept;
  } rows[] = {
      {"45.10.0.1", "45.10.9.9", true},
      {"45.10.0.1", "45.11.0.0", false},
      {"45.10.0.1", "45.9.99", true},
      {"45.10.0.1", "46", false},
      {"45.10.0.1", "", false},
      {"45.10.0.1", "45.x", true},
      {"45", "45.10", false},
      {"x", "99", true},
      {"x", "", false},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(std::string("client ") + row.client + ", copy " + row.version);
    const fs::path copy = home.copy("copy", row.version);
    const auto compatible = launcher.filterIncompatibleDirectories({copy}, row.client);
    EXPECT_EQ(compatible, row.kept ? std::vector{copy} : std::vector<fs::path>());
  }
}

TEST_F(Compatibility, KeepsOrderSilently) {
  const fs::path a = home.copy("a", "45.9");
  const fs::path b = home.copy("b", "46");
  const fs::path c = home.copy("c", "44");
  EXPECT_THAT(launcher.filterIncompatibleDirectories({c, b, a, c}, "45.10"), ElementsAre(c, a, c));
  EXPECT_THAT(launcher.filterIncompatibleDirectories({b}, "45.10"), IsEmpty());
  EXPECT_THAT(messages(), IsEmpty());
}
