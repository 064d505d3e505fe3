#include "LauncherTest.h"

namespace fs = std::filesystem;

namespace {

constexpr const char* NO_BUNDLE = "no bundle";

class BestCandidate : public test::LauncherTest {
protected:
  fs::path makeCandidate(std::size_t position, const std::string& version) const {
    const std::string name = "copy " + std::to_string(position);
    if (version != NO_BUNDLE)
      return home.copy(name, version);
    fs::create_directories(launcherDirectory() / name);
    return launcherDirectory() / name;
  }
};

} // namespace

TEST_F(BestCandidate, IsHighestThenEarliest) {
  const struct {
    const char* name;
    std::vector<std::string> versions; // in list order
    std::size_t best;
    const char* bestVersion;
  } rows[] = {
      {"highest first", {"45.10.0.0", "45.9.0.0"}, 0, "45.10.0.0"},
      {"equal ones", {"45.9", "45.11.0.1", "45.10", "45.11.0.1"}, 1, "45.11.0.1"},
      {"equal over four components", {"45.11.0.1", "45.11.0.1.9"}, 0, "45.11.0.1"},
      {"no bundle in the first", {NO_BUNDLE, "1.0"}, 1, "1.0"},
      {"no bundle anywhere", {NO_BUNDLE, NO_BUNDLE}, 0, "0.0.0.0"},
      {"no bundle in the first, no version elsewhere", {NO_BUNDLE, ""}, 0, "0.0.0.0"},
      {"no versions", {"", "", ""}, 0, "0.0.0.0"},
      {"nothing above the lowest", {"0", "0.0.0.0", "0.0.0.0.9"}, 0, "0.0.0.0"},
      {"no version in the first", {"", "0.0.0.1"}, 1, "0.0.0.1"},
      {"no numbers", {"x", "y"}, 0, "0.0.0.0"},
      {"no number in the best, decided before it", {"45.x", "46"}, 1, "46"},
      {"no number in the best, reached", {"45.x", "45.99"}, 0, "45.x"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    fs::remove_all(launcherDirectory());
    emptyLog();
    std::vector<fs::path> candidates;
    std::vector<std::string> expected;
    for (const auto& version : row.versions) {
      candidates.push_back(makeCandidate(candidates.size(), version));
      if (version != NO_BUNDLE)
        expected.push_back("find a candidate with Version: " + version);
    }
    const fs::path best = launcher.findBestCandidate(candidates);
    EXPECT_EQ(best, candidates[row.best]);
    expected.push_back("Best candidate: " + best.string() + " (version: " + row.bestVersion + ")");
    EXPECT_EQ(messages(), expected);
  }
}
