#include "Fork.h"
#include "LauncherTest.h"
#include "Selection.h"

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
  const fs::path copy = makeCopy("new", "45.11.0.1").launches("3");
  EXPECT_THAT(launcher.filterInviableDirectories({copy}), IsEmpty());
  EXPECT_THAT(
      messages(),
      ElementsAre(
          "VDI supports CheckCorrupt: " + copy.string(),
          "VDI Directory marked as corrupt - Launch count: 3, Directory: " + copy.string(),
          "VDI Skipping corrupt directory: " + copy.string(),
          "VDI Wrote 1 corrupt versions to " + corruptFile().string()));
  EXPECT_EQ(test::readFile(corruptFile()), "45.11.0.1");
}

TEST_F(Viability, KeepsCopyLaunchedTwice) {
  const fs::path copy = makeCopy("new", "45.11.0.1").launches("2");
  EXPECT_THAT(launcher.filterInviableDirectories({copy}), ElementsAre(copy));
  EXPECT_THAT(
      messages(),
      ElementsAre(
          "VDI supports CheckCorrupt: " + copy.string(),
          "safe start Directory: " + copy.string() + ", Launch Count: 2"));
  EXPECT_FALSE(fs::exists(corruptFile()));
}

TEST_F(Viability, KeepsSafelyStartedCopy) {
  const fs::path copy = makeCopy("new", "45.11.0.1").launches("4294967295").startedSafely();
  EXPECT_THAT(launcher.filterInviableDirectories({copy}), ElementsAre(copy));
  EXPECT_THAT(
      messages(),
      ElementsAre(
          "VDI supports CheckCorrupt: " + copy.string(),
          "safe start Directory: " + copy.string() + ", Launch Count: 4294967295"));
}

TEST_F(Viability, KeepsOldVersions) {
  for (const char* version :
       {"45.10.0.32950", "45.10.0.32949", "45.10.0.32950.7", "45.10", "44.99", "45.x", "x"}) {
    SCOPED_TRACE(version);
    const fs::path copy = makeCopy(version, version).launches("7");
    EXPECT_THAT(launcher.filterInviableDirectories({copy}), ElementsAre(copy));
    EXPECT_THAT(
        messages(),
        ElementsAre(
            "VDI does not support CheckCorrupt: " + copy.string(),
            "safe start Directory: " + copy.string() + ", Launch Count: 7"));
    emptyLog();
  }
}

TEST_F(Viability, KeepsUnreadableVersion) {
  const fs::path copy = makeCopy("unreadable", "").launches("7");
  EXPECT_THAT(launcher.filterInviableDirectories({copy}), ElementsAre(copy));
  EXPECT_THAT(
      messages(), ElementsAre("safe start Directory: " + copy.string() + ", Launch Count: 7"));
}

TEST_F(Viability, KeepsCopiesElsewhere) {
  const fs::path outside = home.path() / "elsewhere";
  const fs::path nested = launcherDirectory() / "nested" / "copy";
  for (const auto& dir : {outside, nested})
    test::Copy(dir, "45.11.0.1").launches("7");
  EXPECT_THAT(launcher.filterInviableDirectories({outside, nested}), ElementsAre(outside, nested));
  EXPECT_THAT(
      messages(),
      ElementsAre(
          "safe start Directory: " + outside.string() + ", Launch Count: 7",
          "safe start Directory: " + nested.string() + ", Launch Count: 7"));
}

TEST_F(Viability, JudgesCorruption) {
  const struct {
    const char* version;
    const char* launchCount;
    bool startedSafely;
    bool expected;
  } rows[] = {
      {"45.11.0.1", "3", false, true},
      {"45.11.0.1", "4", false, true},
      {"45.11.0.1", "4294967295", false, true},
      {"45.10.0.32951", "3", false, true},
      {"46", "3", false, true},
      {"45.11.0.1", "2", false, false},
      {"45.11.0.1", "", false, false},
      {"45.11.0.1", "3", true, false},
      {"45.10.0.32950", "3", false, false},
      {"", "3", false, false},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(
        std::string("version ") + row.version + ", launched " + row.launchCount +
        (row.startedSafely ? ", started safely" : ""));
    fs::remove_all(launcherDirectory());
    auto copy = makeCopy("copy", row.version).launches(row.launchCount);
    if (row.startedSafely)
      copy.startedSafely();
    EXPECT_EQ(launcher.isDirectoryCorrupt(copy), row.expected);
  }
}

TEST_F(Viability, JudgesVersionGate) {
  const struct {
    const char* version;
    bool expected;
  } rows[] = {
      {"45.10.0.32951", true},
      {"45.10.1", true},
      {"46", true},
      {"45.10.0.32950", false},
      {"45.10", false},
      {"45.x", false},
      {"", false},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.version);
    EXPECT_EQ(
        launcher.isSupportCheckCorrupt(makeCopy(std::string("v") + row.version, row.version)),
        row.expected);
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
  const fs::path a = makeCopy("a", "45.9");
  const fs::path b = makeCopy("b", "45.11");
  const fs::path corrupt = makeCopy("corrupt", "45.12").launches("3");
  EXPECT_THAT(launcher.filterInviableDirectories({b, corrupt, a, b}), ElementsAre(b, a, b));
}

TEST_F(Viability, WritesCorruptVersionsOnce) {
  const auto viable = launcher.filterInviableDirectories(
      {makeCopy("a", "45.12.0.1").launches("3"),
       makeCopy("b", "45.11.0.1").launches("3"),
       makeCopy("c", "45.12.0.1").launches("3")});
  EXPECT_THAT(viable, IsEmpty());
  EXPECT_EQ(test::readFile(corruptFile()), "45.11.0.1|45.12.0.1");
  EXPECT_EQ(messages().back(), "VDI Wrote 2 corrupt versions to " + corruptFile().string());
  EXPECT_EQ(messages().size(), 3 * 3 + 1U);
}

TEST_F(Viability, ListsEveryCorruptVersion) {
  const std::vector<fs::path> folders{
      makeCopy("a", "45.12").launches("3"),
      makeCopy("b", "45.11").launches("3"),
      makeCopy("c", "45.12").launches("3"),
      makeCopy("good", "45.13")};
  EXPECT_THAT(
      Selection::corruptVersions(Selection::judgeViability(launcher, folders)),
      ElementsAre("45.12", "45.11", "45.12"));
}

TEST_F(Viability, KeepsCorruptFile) {
  test::writeFile(corruptFile(), "45.11.0.1");
  launcher.filterInviableDirectories({makeCopy("good", "45.12")});
  launcher.filterInviableDirectories({});
  EXPECT_EQ(test::readFile(corruptFile()), "45.11.0.1");
}

TEST_F(Viability, AcceptsEmptyList) {
  EXPECT_THAT(launcher.filterInviableDirectories({}), IsEmpty());
  EXPECT_THAT(messages(), IsEmpty());
}

TEST_F(Viability, RaisesForLockedFolder) {
  const fs::path copy = makeCopy("locked", "45.11.0.1");
  test::asUnprivilegedUser(home.path(), [&] {
    const test::ScopedPermissions scoped(copy, fs::perms::none);
    EXPECT_THROW(launcher.filterInviableDirectories({copy}), fs::filesystem_error);
    EXPECT_THROW(launcher.findBestCandidate({copy}), fs::filesystem_error);
  });
}

// --- Compatibility with the client ---

TEST_F(Compatibility, KeepsAllForAnyClient) {
  const std::vector<fs::path> all{
      makeCopy("new", "99.0"), makeCopy("unreadable", ""), home.path() / "missing", ""};
  EXPECT_EQ(launcher.filterIncompatibleDirectories(all, ""), all);
  EXPECT_EQ(launcher.filterIncompatibleDirectories(all, "1.0.0.1"), all);
}

TEST_F(Compatibility, KnowsAnyClientByExactText) {
  const fs::path copy = makeCopy("new", "99.0");
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
      {"45.10.0.1", "45.10.0.1", true},
      {"45.10.0.1", "45.11.0.0", false},
      {"45.10.0.1", "45.9.99", true},
      {"45.10.0.1", "44.99", true},
      {"45.10.0.1", "46", false},
      {"45.10.0.1", "45", true},
      {"45.10.0.1", "", false},
      {"45.10.0.1", "45.x", true},
      {"45.10.0.1", "x", true},
      {"45.10.0.1", "46.x", false},
      {"45", "45.10", false},
      {"45", "45", true},
      {"45", "44.10", true},
      {"45.x", "45.11", true},
      {"45.x", "46.11", false},
      {"x", "99", true},
      {"x", "", false},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(std::string("client ") + row.client + ", copy " + row.version);
    const fs::path copy = makeCopy("copy", row.version);
    const auto compatible = launcher.filterIncompatibleDirectories({copy}, row.client);
    EXPECT_EQ(compatible, row.kept ? std::vector{copy} : std::vector<fs::path>());
  }
}

TEST_F(Compatibility, KeepsOrderSilently) {
  const fs::path a = makeCopy("a", "45.9");
  const fs::path b = makeCopy("b", "46");
  const fs::path c = makeCopy("c", "44");
  EXPECT_THAT(launcher.filterIncompatibleDirectories({c, b, a, c}, "45.10"), ElementsAre(c, a, c));
  EXPECT_THAT(launcher.filterIncompatibleDirectories({b}, "45.10"), IsEmpty());
  EXPECT_THAT(messages(), IsEmpty());
}
