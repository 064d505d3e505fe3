#include "Disclosure.h"
#include "Home.h"
#include "Inspection.h"
#include "Wording.h"

#include <gmock/gmock.h>

#include <optional>
#include <ostream>

using namespace LauncherInspect;
using test::ScopedHome;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

struct Copy {
  std::string folder;
  std::string version; // "-": no bundle
  std::optional<std::string> launchCount = std::nullopt;
  bool startedSafely = false;
};

struct Case {
  const char* behaviour;
  std::string clientVersion;
  std::vector<Copy> copies;
  // For each copy.
  std::vector<std::string> verdicts;
};

std::ostream& operator<<(std::ostream& stream, const Case& row) {
  return stream << row.behaviour;
}

void layOut(const ScopedHome& home, const std::vector<Copy>& copies) {
  for (const auto& copy : copies) {
    const auto dir = home.launcherFolder() / copy.folder;
    std::filesystem::create_directories(dir);
    if (copy.version != "-")
      test::Copy(dir, copy.version);
    if (copy.launchCount)
      test::writeFile(dir / "launchCount.dat", *copy.launchCount);
    if (copy.startedSafely)
      test::writeFile(dir / "started.dat", "");
  }
}

const Candidate& candidateIn(const Inspection& inspection, const std::string& folder) {
  for (const auto& candidate : inspection.candidates) {
    if (candidate.records && candidate.directory.filename() == folder)
      return candidate;
  }
  throw std::runtime_error("not a candidate: " + folder);
}

std::string verdictText(const Inspection& inspection, const std::string& folder) {
  const Disclosure disclosure(inspection.home, "");
  const Statement verdict = verdictOf(candidateIn(inspection, folder), inspection, disclosure);
  return verdict.code + ": " + verdict.text;
}

std::vector<std::string> codes(const std::vector<Statement>& statements) {
  std::vector<std::string> list;
  for (const auto& statement : statements)
    list.push_back(statement.code);
  return list;
}

const std::string CLIENT = "45.12.0.1000";

const Case CASES[] = {
    {"TheOnlyCopyWouldStart",
     "",
     {{"a", "45.12.0.900"}},
     {"would-start: would start: the only viable copy"}},
    {"TheHighestVersionWouldStartAndTheOtherIsOlder",
     CLIENT,
     {{"a", "45.12.0.900"}, {"b", "45.9.0.1"}},
     {"would-start: would start: the highest version of 2 compatible copies",
      "older: viable, older than the chosen copy (45.9.0.1 < 45.12.0.900)"}},
    {"AnInstalledVersionAboveTheClientsIsNewer",
     CLIENT,
     {{"a", "45.12.0.900"}, {"b", "45.13.0.10"}},
     {"would-start: would start: the only compatible copy",
      "newer-than-client: newer than the client (45.13 > 45.12)"}},
    {"AClientVersionOfOneComponentIsShownAsItIs",
     "45",
     {{"a", "44.0.0.0"}, {"b", "45.10"}},
     {"would-start: would start: the only compatible copy",
      "newer-than-client: newer than the client (45.10 > 45)"}},
    {"ThreeLaunchesWithoutASafeStartAreCorrupt",
     CLIENT,
     {{"a", "45.12.0.900"}, {"b", "45.12.0.950", "3"}},
     {"would-start: would start: the only compatible copy",
      "corrupt: corrupt (launched 3 times, never started safely)"}},
    {"ThreeLaunchesWithASafeStartAreNotCorrupt",
     CLIENT,
     {{"a", "45.12.0.900"}, {"b", "45.12.0.950", "7", true}},
     {"older: viable, older than the chosen copy (45.12.0.900 < 45.12.0.950)",
      "would-start: would start: the highest version of 2 compatible copies"}},
    {"AnOldVersionIsNeverCorrupt",
     CLIENT,
     {{"a", "45.10.0.32950", "9"}},
     {"would-start: would start: the only compatible copy"}},
    {"AFolderWithoutBundleIsNoCopy",
     CLIENT,
     {{"a", "45.12.0.900"}, {"b", "-"}},
     {"would-start: would start: the only compatible copy",
      "no-bundle: no application bundle (no OrlixVDIPlugin.app)"}},
    {"ACopyWithoutVersionIsNotCompatible",
     CLIENT,
     {{"a", "45.12.0.900"}, {"b", ""}},
     {"would-start: would start: the only compatible copy",
      "no-readable-version: no readable version (none in the bundle's Info.plist)"}},
    {"ACopyWithoutVersionNeverWinsAgainstAVersion",
     "",
     {{"a", "0.0.0.1"}, {"b", ""}},
     {"would-start: would start: the highest version of 2 viable copies",
      "no-readable-version: no readable version (none in the bundle's Info.plist)"}},
    {"ACopyWithoutVersionStartsWhenThereIsNoOther",
     "",
     {{"a", ""}},
     {"would-start: would start: no copy has a version above 0.0.0.0, so the first one is taken"}},
    {"WhereNothingIsCompatibleAllViableCopiesCompete",
     "40.1.0.0",
     {{"a", "45.12.0.900"}, {"b", "45.9.0.1"}},
     {"would-start: would start: the highest version of 2 viable copies",
      "older: viable, older than the chosen copy (45.9.0.1 < 45.12.0.900)"}},
    {"ALongerVersionExceedsItsBeginning",
     "",
     {{"a", "45.10.0"}, {"b", "45.10"}},
     {"would-start: would start: the highest version of 2 viable copies",
      "older: viable, older than the chosen copy (45.10 < 45.10.0)"}},
};

class VerdictTable : public ::testing::TestWithParam<Case> {};

} // namespace

TEST_P(VerdictTable, NamesTheReason) {
  const Case& row = GetParam();
  const ScopedHome home;
  layOut(home, row.copies);
  const Inspection inspection = inspect(row.clientVersion);
  std::vector<std::string> verdicts;
  for (const auto& copy : row.copies)
    verdicts.push_back(verdictText(inspection, copy.folder));
  EXPECT_EQ(verdicts, row.verdicts);
}

INSTANTIATE_TEST_SUITE_P(Verdict, VerdictTable, ::testing::ValuesIn(CASES), [](const auto& row) {
  return std::string(row.param.behaviour);
});

// Which of two equal copies is listed first is the file system's business.
TEST(Verdict, TheLaterOfTwoEqualVersionsComesLater) {
  const ScopedHome home;
  layOut(home, {{"a", "45.12.0.900.1"}, {"b", "45.12.0.0900.2"}});
  const Inspection inspection = inspect("");
  ASSERT_EQ(inspection.candidates.size(), 4u);
  EXPECT_EQ(inspection.chosen, 2u);
  EXPECT_EQ(inspection.candidates[3].verdict, Verdict::SameVersion);
}

TEST(Verdict, AVersionWhoseComparisonFailsIsNotCalledEqualOrOlder) {
  const ScopedHome home;
  layOut(home, {{"a", "45.x"}, {"b", "45.9"}});
  const Inspection inspection = inspect("");
  EXPECT_EQ(inspection.chosen, 2u);
  EXPECT_EQ(inspection.candidates[3].verdict, Verdict::NotComparable);
}

TEST(Verdict, WithoutAnyVersionAboveTheLowestTheFirstCopyIsTaken) {
  const ScopedHome home;
  layOut(home, {{"a", "x.1"}, {"b", "y.1"}});
  const Inspection inspection = inspect("");
  EXPECT_EQ(inspection.chosen, 2u);
  EXPECT_TRUE(inspection.choseWithoutVersion);
  EXPECT_EQ(inspection.candidates[3].verdict, Verdict::NotAboveLowest);
}

TEST(Verdict, FoldersOutsideOfTheLauncherFolderHaveNoRecords) {
  const ScopedHome home;
  const Inspection inspection = inspect("");
  ASSERT_EQ(inspection.candidates.size(), 2u);
  EXPECT_EQ(inspection.candidates[0].directory, "/Applications");
  EXPECT_EQ(inspection.candidates[1].directory, std::filesystem::current_path());
  EXPECT_FALSE(inspection.candidates[0].records);
  EXPECT_FALSE(inspection.candidates[1].records);
}

TEST(Choice, FallingBackToAllViableCopiesIsSaid) {
  const ScopedHome home;
  layOut(home, {{"a", "45.12.0.900"}});
  const Inspection inspection = inspect("40.1");
  EXPECT_TRUE(inspection.fellBackToViable);
  EXPECT_THAT(codes(notesOn(inspection, {home.path(), ""})), ElementsAre("nothing-compatible"));
}

TEST(Choice, NothingViableIsSaid) {
  const ScopedHome home;
  layOut(home, {{"a", "45.12.0.900", "3"}, {"b", "-"}});
  const Inspection inspection = inspect("");
  const Disclosure disclosure(home.path(), "");
  EXPECT_FALSE(inspection.chosen);
  EXPECT_EQ(outcomeOf(inspection, disclosure).code, "nothing-viable");
  EXPECT_EQ(
      notesOn(inspection, disclosure).at(0).text,
      "4 candidates: 3 without application bundle, 1 corrupt. There is nothing to fall back to.");
}

TEST(Choice, AClientVersionThatIsNoNumberIsSaid) {
  const ScopedHome home;
  layOut(home, {{"a", "45.12.0.900"}});
  const Inspection inspection = inspect("v45.12");
  EXPECT_THAT(codes(notesOn(inspection, {home.path(), ""})), ElementsAre("odd-client-version"));
  EXPECT_THAT(codes(notesOn(inspect("45.12x"), {home.path(), ""})), IsEmpty());
}

TEST(EarlyWarning, TwoLaunchesWithoutASafeStartAreWarnedOf) {
  const ScopedHome home;
  layOut(
      home,
      {{"one", "45.12.0.1", "1"},
       {"two", "45.12.0.2", "2"},
       {"safe", "45.12.0.3", "2", true},
       {"old", "45.10.0.32950", "2"},
       {"none", "-", "2"},
       {"corrupt", "45.12.0.4", "3"}});
  const auto warnings = warningsOn(inspect(""), {home.path(), ""});
  ASSERT_EQ(codes(warnings), std::vector<std::string>{"nearly-corrupt"});
  EXPECT_EQ(
      warnings[0].text,
      "45.12.0.2 has used 2 of its 3 launches without a safe start; after one more it counts as "
      "corrupt. It lies in ~/Library/Application Support/VantuOrlixVDILauncher/two");
}

namespace {

std::vector<std::string> names(const CleanUpPreview::Folders& folders) {
  std::vector<std::string> list;
  for (const auto& folder : folders)
    list.push_back(folder.dir.filename());
  return list;
}

void recordLaunch(const std::filesystem::path& dir, std::chrono::hours ago) {
  test::writeFile(dir / "launch.dat", "1");
  std::filesystem::last_write_time(dir / "launch.dat", FileTime::clock::now() - ago);
}

} // namespace

TEST(CleanUpPreview, NamesTheLeastRecentlyLaunchedFolders) {
  const ScopedHome home;
  layOut(
      home, {{"chosen", "45.12.0.900"}, {"a", "-"}, {"b", "44.0"}, {"c", "44.1"}, {"d", "44.2"}});
  int hours = 1;
  for (const char* name : {"a", "b", "c", "d"})
    recordLaunch(home.launcherFolder() / name, std::chrono::hours(hours++));
  const CleanUpPreview cleanUp = inspect("").cleanUp;
  EXPECT_THAT(names(cleanUp.removed), ElementsAre("d", "c"));
  EXPECT_THAT(names(cleanUp.kept), ElementsAre("b", "a"));
  EXPECT_THAT(cleanUp.undefined, IsEmpty());
}

TEST(CleanUpPreview, ReportsTiesThatLeaveTheOutcomeUndefined) {
  const ScopedHome home;
  layOut(home, {{"chosen", "45.12.0.900"}, {"a", "44.0"}, {"b", "44.1"}, {"c", "44.2"}});
  recordLaunch(home.launcherFolder() / "a", std::chrono::hours(1));
  const CleanUpPreview cleanUp = inspect("").cleanUp;
  EXPECT_THAT(names(cleanUp.undefined), ::testing::UnorderedElementsAre("b", "c"));
  EXPECT_EQ(cleanUp.undefinedKept, 1u);
  EXPECT_THAT(names(cleanUp.removed), IsEmpty());
  EXPECT_THAT(names(cleanUp.kept), ElementsAre("a"));
}

TEST(CleanUpPreview, ATieOnOneSideOfTheCutIsNoMatter) {
  const ScopedHome home;
  layOut(
      home,
      {{"chosen", "45.12.0.900"}, {"a", "44.0"}, {"b", "44.1"}, {"c", "44.2"}, {"d", "44.3"}});
  recordLaunch(home.launcherFolder() / "a", std::chrono::hours(1));
  recordLaunch(home.launcherFolder() / "b", std::chrono::hours(2));
  const CleanUpPreview cleanUp = inspect("").cleanUp;
  EXPECT_THAT(names(cleanUp.removed), ::testing::UnorderedElementsAre("c", "d"));
  EXPECT_THAT(names(cleanUp.kept), ElementsAre("b", "a"));
  EXPECT_THAT(cleanUp.undefined, IsEmpty());
}

TEST(CleanUpPreview, ALinkToTheStartedCopyCountsAsLaunchedNow) {
  const ScopedHome home;
  layOut(home, {{"a", "44.0"}, {"b", "44.1"}, {"c", "44.2"}});
  test::Copy(home.path() / "elsewhere", "45.12.0.900");
  for (const char* name : {"link", "other link"})
    std::filesystem::create_directory_symlink(
        home.path() / "elsewhere", home.launcherFolder() / name);
  recordLaunch(home.launcherFolder() / "a", std::chrono::hours(1));
  const Inspection inspection = inspect("");
  EXPECT_EQ(names(inspection.cleanUp.kept).at(0), "a");
  EXPECT_THAT(names(inspection.cleanUp.kept).at(1), ::testing::HasSubstr("link"));
}

TEST(CleanUpPreview, DoesNotHappenForACopyOutsideOfTheLauncherFolder) {
  const ScopedHome home;
  layOut(home, {{"a", "-"}, {"b", "-"}, {"c", "-"}});
  const auto before = std::filesystem::current_path();
  test::Copy(home.path(), "45.12.0.900");
  std::filesystem::current_path(home.path());
  const Inspection inspection = inspect("");
  std::filesystem::current_path(before);
  EXPECT_EQ(inspection.chosen, 1u);
  EXPECT_EQ(cleanUpOf(inspection, {home.path(), ""}).code, "not-in-launcher-folder");
  EXPECT_THAT(inspection.cleanUp.removed, IsEmpty());
}
