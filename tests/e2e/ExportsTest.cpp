// What the library's file exports and needs.

#include "Home.h"
#include "Process.h"

#include <gmock/gmock.h>

#include <set>
#include <string>
#include <vector>

using namespace testing;
using Names = std::set<std::string>;

namespace {

std::vector<std::string> linesPrintedBy(const std::vector<std::string>& words) {
  const test::Result result = test::run({words, {}, {{"LC_ALL", "C"}}});
  EXPECT_EQ(result.status, 0) << result.err;
  return test::splitLines(result.out);
}

std::vector<std::string> dynamicSection() {
  return linesPrintedBy({READELF_PROGRAM, "-d", LAUNCHER_LIBRARY});
}

// "000000000000f8c0 T ThinClientLauncherBase::splitVersion(std::string const&)": the name alone.
std::string symbolName(const std::string& line) {
  constexpr std::size_t ADDRESS_AND_KIND = 19;
  std::string name = line.substr(ADDRESS_AND_KIND);
  name = name.substr(0, name.find('('));
  return name.substr(0, name.find("[abi:"));
}

} // namespace

TEST(Library, ExportsDocumentedNames) {
  Names exported;
  for (const auto& line :
       linesPrintedBy({NM_PROGRAM, "-D", "-C", "--defined-only", LAUNCHER_LIBRARY}))
    exported.insert(symbolName(line));
  const Names expected{
      "ThinClientLauncherEntryPoint",
      "ThinClientLauncher::ThinClientLauncher",
      "ThinClientLauncher::~ThinClientLauncher",
      "ThinClientLauncher::launch",
      "vtable for ThinClientLauncher",
      "typeinfo for ThinClientLauncher",
      "typeinfo name for ThinClientLauncher",
      "ThinClientLauncherBase::splitVersion",
      "ThinClientLauncherBase::isGreaterVersion",
      "ThinClientLauncherBase::scanForPossibleDirectories",
      "ThinClientLauncherBase::isBelongLaunchDirectory",
      "ThinClientLauncherBase::filterInviableDirectories",
      "ThinClientLauncherBase::isDirectoryCorrupt",
      "ThinClientLauncherBase::isSupportCheckCorrupt",
      "ThinClientLauncherBase::filterIncompatibleDirectories",
      "ThinClientLauncherBase::findBestCandidate",
      "ThinClientLauncherBase::getLaunchCount",
      "ThinClientLauncherBase::incrementLaunchCount",
      "ThinClientLauncherBase::updateLaunchTime",
      "ThinClientLauncherBase::getLastLaunchTime",
      "ThinClientLauncherBase::updateLaunchInfo",
      "ThinClientLauncherBase::hasStartedSafely",
      "ThinClientLauncherBase::writeCorruptVersions",
      "ThinClientLauncherBase::cleanUpLauncherDirectory",
      "ThinClientLauncherBase::removeDirectory"};
  EXPECT_EQ(exported, expected);
}

TEST(Library, NeedsFewLibraries) {
  std::vector<std::string> needed;
  for (const auto& line : dynamicSection()) {
    const auto name = line.find("Shared library: [");
    if (name != std::string::npos)
      needed.push_back(line.substr(name + 17, line.rfind(']') - name - 17));
  }
  EXPECT_THAT(needed, Not(IsEmpty()));
  EXPECT_THAT(
      needed,
      Each(AnyOf(
          StartsWith("libglib-2.0.so"),
          StartsWith("libexpat.so"),
          MatchesRegex("lib(stdc\\+\\+|c\\+\\+|c\\+\\+abi|gcc_s|c|m|unwind)\\.so\\.[0-9]+"),
          MatchesRegex("ld-linux.*\\.so\\.[0-9]+"),
          MatchesRegex("lib(a|ub|t)san\\.so\\.[0-9]+"))));
}

TEST(Library, HasNoSearchPath) {
  EXPECT_THAT(dynamicSection(), Each(Not(AnyOf(HasSubstr("(RPATH)"), HasSubstr("(RUNPATH)")))));
}
