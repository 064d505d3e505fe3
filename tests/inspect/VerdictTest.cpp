// What the rules decide in real homes, and the messages on it.

#include "Home.h"
#include "Report.h"
#include "SampleFacts.h"

#include <gmock/gmock.h>

#include <regex>
#include <sstream>

namespace fs = std::filesystem;

using namespace LauncherInspect;
using namespace testing;
using test::codes;
using test::findFactsAt;
using test::ScopedHome;

namespace {

// Lays out copies in folders a, b, c ... of the launcher folder. Each is described by a word:
// its version ("-": no bundle, "?": none to read), ":" and its launches, "s" if it has started
// safely, "@" and the hours since its last launch.
void layOut(const ScopedHome& home, const std::string& copies) {
  const std::regex pattern("([^:@s]*)(:([^@s]*))?(s?)(@(.*))?");
  std::istringstream words(copies);
  char folder = 'a';
  for (std::string word; words >> word; ++folder) {
    std::smatch part;
    std::regex_match(word, part, pattern);
    test::Copy copy = home.copy(std::string(1, folder), part[1] == "?" ? "" : part.str(1));
    if (part[1] == "-")
      fs::remove_all(test::bundleIn(copy));
    if (part[2].matched)
      copy.launches(part[3]);
    if (part[4] == "s")
      copy.startedSafely();
    if (part[5].matched)
      copy.launched(std::chrono::hours(std::stoi(part[6])));
  }
}

Report reportOn(const std::string& copies, const std::string& clientVersion = "") {
  const ScopedHome home;
  layOut(home, copies);
  return makeReport(findFacts(clientVersion));
}

// This member of the verdict on each copy, by folder.
std::vector<std::string> verdicts(const Report& report, const char* member) {
  std::map<std::string, std::string> byDirectory;
  for (const auto& candidate : report["candidates"]) {
    if (candidate["inLauncherDirectory"])
      byDirectory[candidate["directory"]] = candidate["verdict"][member];
  }
  std::vector<std::string> list;
  for (const auto& [folder, text] : byDirectory)
    list.push_back(text);
  return list;
}

} // namespace

TEST(Verdict, NamesReason) {
  const struct {
    const char* behaviour;
    const char* clientVersion;
    const char* copies;
    std::vector<std::string> verdicts;
  } rows[] = {
      {"only copy", "", "45.12", {"would-start"}},
      {"highest version", "45.12", "45.12.0.900 45.9.0.1", {"would-start", "older"}},
      {"newer than client", "45.12", "45.12.0.9 45.13.0.1", {"would-start", "newer-than-client"}},
      {"short client", "45", "44.0.0.0 45.10", {"would-start", "newer-than-client"}},
      {"corrupt", "45.12", "45.12.0.900 45.12.0.950:3", {"would-start", "corrupt"}},
      {"safely started", "45.12", "45.12.0.900 45.12.0.950:7s", {"older", "would-start"}},
      {"never corrupt", "45.12", "45.10.0.32950:9", {"would-start"}},
      {"no bundle", "45.12", "45.12.0.900 -", {"would-start", "no-bundle"}},
      {"no version for client", "45.12", "45.12.0.900 ?", {"would-start", "no-readable-version"}},
      {"no version", "", "0.0.0.1 ?", {"would-start", "no-readable-version"}},
      {"no version at all", "", "?", {"would-start"}},
      {"fallback", "40.1.0.0", "45.12.0.900 45.9.0.1", {"would-start", "older"}},
      {"longer version", "", "45.10.0 45.10", {"would-start", "older"}}};
  for (const auto& [behaviour, clientVersion, copies, expected] : rows)
    EXPECT_EQ(verdicts(reportOn(copies, clientVersion), "code"), expected) << behaviour;
}

TEST(Verdict, SaysWhyItWon) {
  const char* const rows[][3] = {
      {"", "45.12", "the only viable copy"},
      {"45.12", "45.12", "the only compatible copy"},
      {"", "45.12 45.9", "of 2 viable copies"},
      {"1.0.0.1", "45.12 45.9", "of 2 viable copies"},
      {"40.1", "45.12 45.9", "of 2 viable copies"},
      {"", "?", "no viable copy has a version"}};
  for (const auto& [clientVersion, copies, text] : rows)
    EXPECT_THAT(verdicts(reportOn(copies, clientVersion), "text")[0], HasSubstr(text));
}

// The working folder is scanned first, so this does not depend on the order of the file system.
TEST(Verdict, SaysWhyItCameSecond) {
  const char* const rows[][3] = {
      {"45.12.0.900.1", "45.12.0.0900.2", "same-version"},
      {"45.x", "45.x", "same-version"},
      {"45.x", "45.9", "not-comparable"},
      {"45.9", "45.x", "not-comparable"},
      {"x.1", "y.1", "not-above-lowest"}};
  for (const auto& [first, second, code] : rows) {
    const ScopedHome home;
    const test::Copy copy(home.path() / "work", first);
    layOut(home, second);
    const Facts facts = findFactsAt(copy);
    EXPECT_EQ(facts.decisions.chosen, 1u);
    EXPECT_THAT(verdicts(makeReport(facts), "code"), ElementsAre(code));
  }
}

TEST(Messages, NoteTheUnusual) {
  const struct {
    const char* clientVersion;
    const char* copies;
    std::vector<std::string> notes;
  } rows[] = {
      {"45.12x", "45.12", {"odd-client-version"}},
      {"45,12", "44 45.12", {"odd-client-version", "short-client-version"}},
      {"v45", "45.12", {"odd-client-version"}},
      {"40.1", "45.12", {"nothing-compatible"}},
      {"45", "44 45.12", {"short-client-version"}},
      {"45", "44 46", {}},
      {"45.11", "44 45.12", {}},
      {"45", "45.12", {"nothing-compatible", "short-client-version"}},
      {"40.1", "45.12:3 - -", {"nothing-viable"}}};
  for (const auto& [clientVersion, copies, notes] : rows)
    EXPECT_EQ(codes(reportOn(copies, clientVersion)["notes"]), notes) << clientVersion;
}

TEST(Messages, WarnEarly) {
  const Report report =
      reportOn("45.12.0.1:1 45.12.0.2:2 45.12.0.3:2s 45.10.0.32950:2 -:2 45.12.0.4:3");
  const auto all = codes(report["warnings"]);
  ASSERT_EQ(std::count(all.begin(), all.end(), "nearly-corrupt"), 1);
  const auto at = std::find(all.begin(), all.end(), "nearly-corrupt") - all.begin();
  EXPECT_THAT(report["warnings"][std::size_t(at)]["text"].get<std::string>(), EndsWith("/b"));
}

TEST(Facts, RecordsInLauncherFolder) {
  const ScopedHome home;
  layOut(home, "-:word");
  fs::create_symlink("launch.dat", home.launcherDirectory() / "a/launch.dat");
  const auto candidates = findFactsAt(home.path()).decisions.candidates;
  ASSERT_EQ(candidates.size(), 3u);
  EXPECT_EQ(candidates[0].decision.dir, "/Applications");
  EXPECT_EQ(candidates[1].decision.dir, home.path());
  EXPECT_FALSE(candidates[0].records);
  EXPECT_FALSE(candidates[1].records);
  ASSERT_TRUE(candidates[2].records);
  EXPECT_EQ(candidates[2].records->launches, 0u);
  EXPECT_FALSE(candidates[2].records->lastLaunch);
  EXPECT_EQ(candidates[2].records->startedSafely, false);
}

TEST(Facts, LauncherFolder) {
  const ScopedHome home;
  EXPECT_EQ(findFacts("").places.launcherDirectory, home.launcherDirectory());
  EXPECT_FALSE(findFacts("").places.launcherDirectoryExists);
  layOut(home, "-");
  EXPECT_TRUE(findFacts("").places.launcherDirectoryExists);
  fs::remove_all(home.applicationSupport());
  EXPECT_EQ(findFacts("").places.launcherDirectory, "");
}

// --- Clean-up: the copy in folder a is chosen ---

namespace {

std::vector<std::string> names(const CleanUpPreview::Folders& folders) {
  std::vector<std::string> list;
  for (const auto& folder : folders)
    list.push_back(folder.dir.filename());
  return list;
}

} // namespace

TEST(CleanUpPreview, RemovesTheEarliest) {
  const struct {
    const char* copies;
    std::vector<std::string> removed, tied, kept;
  } rows[] = {
      {"45.12 44.0@1 44.0@2 44.0@3 44.0@4", {"e", "d"}, {}, {"c", "b"}},
      {"45.12 44.0@1 44.0 44.0 44.0", {}, {"c", "d", "e"}, {"b"}},
      {"45.12 44.0@1 44.0@2 44.0@3 44.0", {"e", "d"}, {}, {"c", "b"}},
      {"45.12 44.0@1 44.0@2 44.0 44.0", {"d", "e"}, {}, {"c", "b"}}};
  for (const auto& [copies, removed, tied, kept] : rows) {
    const ScopedHome home;
    layOut(home, copies);
    const CleanUpPreview cleanUp = findFacts("").cleanUp;
    EXPECT_TRUE(cleanUp.happens);
    EXPECT_THAT(names(cleanUp.removed), UnorderedElementsAreArray(removed)) << copies;
    EXPECT_THAT(names(cleanUp.tied), UnorderedElementsAreArray(tied)) << copies;
    EXPECT_EQ(cleanUp.tiedKept, tied.empty() ? 0u : 1u);
    EXPECT_EQ(names(cleanUp.kept), kept) << copies;
  }
}

TEST(CleanUpPreview, KnowsLinksToStarted) {
  const ScopedHome home;
  layOut(home, "44.0@1 44.0 44.0");
  const test::Copy elsewhere(home.path() / "elsewhere");
  for (const char* name : {"link", "other link", "third link"})
    fs::create_directory_symlink(elsewhere, home.launcherDirectory() / name);
  EXPECT_THAT(names(findFacts("").cleanUp.kept), ElementsAre(EndsWith("link"), EndsWith("link")));
}

// Whatever the listing's order, a link is chosen. The folder has the oldest launch time.
TEST(CleanUpPreview, KnowsTargetOfChosenLink) {
  const ScopedHome home;
  layOut(home, "44.0@1 44.0@2");
  fs::create_directory_symlink("real", home.launcherDirectory() / "first");
  const fs::path real = home.copy("real");
  fs::create_directory_symlink("real", home.launcherDirectory() / "last");
  const fs::path time = real / "launch.dat";
  EXPECT_EQ(findFacts("").cleanUp.chosenTarget, "");
  fs::create_directory(time); // which cannot be written
  fs::last_write_time(time, fs::file_time_type::clock::now() - std::chrono::hours(1'000));
  const Facts facts = findFacts("");
  EXPECT_THAT(names(facts.cleanUp.kept), ElementsAre("b", "a"));
  EXPECT_EQ(facts.cleanUp.chosenTarget, real);
  const std::string warnings = makeReport(facts)["warnings"].dump();
  EXPECT_THAT(warnings, HasSubstr("\"removes-chosen\""));
}

TEST(CleanUpPreview, ChosenElsewhere) {
  const ScopedHome home;
  layOut(home, "- - -");
  const Facts facts = findFactsAt(test::Copy(home.path()));
  EXPECT_EQ(facts.decisions.chosen, 1u);
  EXPECT_FALSE(facts.cleanUp.happens);
  EXPECT_THAT(facts.cleanUp.removed, IsEmpty());
}
