// What accompanies the command is complete and well-formed.

#include "Home.h"
#include "Messages.h"
#include "Process.h"
#include "Report.h"
#include "SampleFacts.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <regex>
#include <set>

namespace fs = std::filesystem;

using test::Result;
using ::testing::HasSubstr;

namespace {

const fs::path SOURCES = INSPECT_SOURCES;
const fs::path JSON_DOCUMENT = SOURCES / "../../docs/launcher-inspect-json.md";
const fs::path MANUAL = SOURCES / "launcher-inspect.1";
const fs::path BASH_COMPLETION = SOURCES / "completions/launcher-inspect.bash";
const fs::path ZSH_COMPLETION = SOURCES / "completions/_launcher-inspect";

std::set<std::string> options() {
  const std::string help = test::run({{LAUNCHER_INSPECT, "--help"}}).out;
  std::set<std::string> names;
  for (auto at = help.find("--"); at != std::string::npos; at = help.find("--", at + 2))
    names.insert(help.substr(at, help.find_first_not_of("abcdefghijklmnopqrstuvwxyz-", at) - at));
  return names;
}

std::string manual() {
  std::string text = test::readFile(MANUAL);
  text.erase(std::remove(text.begin(), text.end(), '\\'), text.end());
  return text;
}

// What bash offers for the last of these words.
std::string completed(const std::string& words, const fs::path& folder) {
  const std::string script = "source '" + BASH_COMPLETION.string() +
                             "'; COMP_WORDS=(launcher-inspect " + words +
                             "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _launcher_inspect; "
                             "printf '%s\\n' \"${COMPREPLY[@]}\"";
  return test::run({{"bash", "-c", script}, folder}).out;
}

using Codes = std::vector<std::pair<std::string, std::string>>; // member and code

Codes codesInProgram() {
  Codes codes;
  for (const auto& [member, topic] : LauncherInspect::allTopics()) {
    for (const auto& message : topic({}, {})) {
      const std::pair<std::string, std::string> code(member, message.code);
      if (codes.empty() || codes.back() != code) // rows with other words may share a code
        codes.push_back(code);
    }
  }
  return codes;
}

Codes codesInManual() {
  const std::string text = manual();
  Codes codes;
  std::string member;
  for (const auto& line : test::splitLines(text.substr(text.find(".SH CODES")))) {
    if (line == ".SH EXIT STATUS")
      break;
    if (line.substr(0, 4) == ".SS ")
      member = line.substr(4);
    if (line.substr(0, 3) == ".B ")
      codes.emplace_back(member, line.substr(3));
  }
  return codes;
}

Codes codesInJsonDocument() {
  const std::string text = test::readFile(JSON_DOCUMENT);
  const std::string table = text.substr(text.find("## Codes"));
  const std::regex row("\\| `([^`]*)` \\| `([^`]*)` \\|");
  Codes codes;
  for (std::sregex_iterator match(table.begin(), table.end(), row), end; match != end; ++match)
    codes.emplace_back((*match)[1], (*match)[2]);
  return codes;
}

void collectMembers(const LauncherInspect::Report& value, std::set<std::string>& members) {
  for (const auto& [member, content] : value.items()) {
    if (value.is_object())
      members.insert(member);
    if (content.is_structured())
      collectMembers(content, members);
  }
}

} // namespace

TEST(Documentation, NamesEveryOption) {
  ASSERT_EQ(options().size(), 7u);
  for (const auto& option : options()) {
    EXPECT_THAT(manual(), HasSubstr(option));
    EXPECT_THAT(test::readFile(BASH_COMPLETION), HasSubstr(option));
    EXPECT_THAT(test::readFile(ZSH_COMPLETION), HasSubstr(option));
  }
}

TEST(Documentation, NamesEveryCode) {
  ASSERT_GT(codesInProgram().size(), 30u);
  EXPECT_EQ(codesInManual(), codesInProgram());
  EXPECT_EQ(codesInJsonDocument(), codesInProgram());
}

TEST(Documentation, NamesEveryMember) {
  std::set<std::string> members;
  collectMembers(LauncherInspect::makeReport(test::sampleFacts(), ""), members);
  ASSERT_GT(members.size(), 30u);
  const std::string text = test::readFile(JSON_DOCUMENT);
  for (const auto& member : members)
    EXPECT_THAT(text, HasSubstr("`" + member + "`"));
}

TEST(Documentation, ManualIsWellFormed) {
  const Result result = test::run({{"groff", "-man", "-Tutf8", "-ww", "-z", MANUAL}});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.err, "");
}

TEST(Documentation, BashCompletes) {
  const test::ScopedFolder folder;
  fs::create_directory(folder.path() / "a folder");
  test::writeFile(folder.path() / "a file", "");
  EXPECT_EQ(completed("--m", folder.path()), "--mask\n");
  EXPECT_EQ(completed("--home a", folder.path()), "a folder\n");
  EXPECT_EQ(completed("--client-version a", folder.path()), "\n");
}

TEST(Documentation, ZshIsWellFormed) {
  const Result result = test::run({{"zsh", "-n", ZSH_COMPLETION}});
  EXPECT_EQ(result.status, 0) << result.err;
}
