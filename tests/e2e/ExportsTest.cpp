// What the library's file offers and asks for.

#include <gmock/gmock.h>

#include <array>
#include <cstdio>
#include <set>
#include <string>
#include <vector>

using testing::AnyOf;
using testing::Each;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::Not;
using testing::StartsWith;
using Names = std::set<std::string>;

namespace {

std::vector<std::string> linesPrintedBy(const std::string& command) {
  std::vector<std::string> lines(1);
  FILE* const output = ::popen(command.c_str(), "r");
  for (int c = std::fgetc(output); c != EOF; c = std::fgetc(output)) {
    if (c == '\n')
      lines.emplace_back();
    else
      lines.back() += static_cast<char>(c);
  }
  EXPECT_EQ(::pclose(output), 0) << command;
  lines.pop_back();
  return lines;
}

std::vector<std::string> dynamicSection() {
  return linesPrintedBy("LC_ALL=C '" READELF_PROGRAM "' -d '" LAUNCHER_LIBRARY "'");
}

// "000000000000f8c0 T ThinClientLauncherBase::splitVersion(std::string const&)": the name alone.
std::string symbolName(const std::string& line) {
  constexpr std::size_t ADDRESS_AND_KIND = 19;
  std::string name = line.substr(ADDRESS_AND_KIND);
  name = name.substr(0, name.find('('));
  return name.substr(0, name.find("[abi:"));
}

} // namespace

TEST(Exports, AreTheEntryPointTheClassAndTheOperationsOfItsBase) {
  Names exported;
  for (const auto& line :
       linesPrintedBy("'" NM_PROGRAM "' -D -C --defined-only '" LAUNCHER_LIBRARY "'"))
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

TEST(Dependencies, AreTheStandardLibrariesAndGLib) {
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
          MatchesRegex("lib(stdc\\+\\+|c\\+\\+|c\\+\\+abi|gcc_s|c|m|unwind)\\.so\\.[0-9]+"),
          MatchesRegex("ld-linux.*\\.so\\.[0-9]+"),
          MatchesRegex("lib(a|ub|t)san\\.so\\.[0-9]+"))));
}

TEST(Dependencies, AreLookedForWhereTheSystemSaysAlone) {
  for (const auto& line : dynamicSection()) {
    EXPECT_EQ(line.find("(RPATH)"), std::string::npos);
    EXPECT_EQ(line.find("(RUNPATH)"), std::string::npos);
  }
}
