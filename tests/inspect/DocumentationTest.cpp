// What accompanies the command is complete and well-formed.

#include "Home.h"
#include "Messages.h"
#include "Process.h"
#include "Report.h"
#include "SampleFacts.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <regex>

namespace fs = std::filesystem;

using test::Result;
using ::testing::HasSubstr;

namespace {

const fs::path SOURCES = INSPECT_SOURCES;
const fs::path JSON_DOCUMENT = SOURCES / "../../docs/launcher-inspect-json.md";
const fs::path MANUAL = SOURCES / "launcher-inspect.1";
const fs::path BASH_COMPLETION = SOURCES / "completions/launcher-inspect.bash";
const fs::path ZSH_COMPLETION = SOURCES / "completions/_launcher-inspect";

using Pairs = std::vector<std::pair<std::string, std::string>>;

// What the two groups of this pattern match, wherever it matches.
Pairs matches(const std::string& text, const char* pattern) {
  const std::regex regex(pattern);
  Pairs pairs;
  for (std::sregex_iterator match(text.begin(), text.end(), regex), end; match != end; ++match)
    pairs.emplace_back((*match)[1], (*match)[2]);
  return pairs;
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

// Each code after the member that holds it.
Pairs codesInProgram() {
  Pairs codes;
  for (const auto& [member, topic] : LauncherInspect::allTopics()) {
    for (const auto& message : topic({}, {})) {
      const std::pair<std::string, std::string> code(member, message.code);
      if (codes.empty() || codes.back() != code) // rows with other words may share a code
        codes.push_back(code);
    }
  }
  return codes;
}

Pairs codesInManual() {
  const std::string text = manual();
  const auto start = text.find(".SH CODES");
  Pairs codes;
  std::string member;
  for (const auto& [request, name] :
       matches(text.substr(start, text.find(".SH EXIT") - start), "\\.(SS|B) (.*)")) {
    if (request == "SS")
      member = name;
    else
      codes.emplace_back(member, name);
  }
  return codes;
}

Pairs codesInJsonDocument() {
  const std::string text = test::readFile(JSON_DOCUMENT);
  return matches(text.substr(text.find("## Codes")), "\\| `([^`]*)` \\| `([^`]*)` \\|");
}

} // namespace

TEST(Documentation, NamesEveryOption) {
  const auto options = matches(test::run({{LAUNCHER_INSPECT, "--help"}}).out, "(--[a-z-]+)()");
  ASSERT_GE(options.size(), 7u);
  for (const auto& [option, nothing] : options) {
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
  const auto report = LauncherInspect::makeReport(test::sampleFacts(), "");
  const auto members = matches(report.dump(), "\"([A-Za-z]+)\":()");
  ASSERT_GT(members.size(), 30u);
  for (const auto& [member, nothing] : members)
    EXPECT_THAT(test::readFile(JSON_DOCUMENT), HasSubstr("`" + member + "`"));
}

TEST(Documentation, ManualIsWellFormed) {
  const Result result = test::run({{"groff", "-man", "-Tutf8", "-ww", "-z", MANUAL}});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.err, "");
}

TEST(Documentation, BashCompletes) {
  const test::ScopedDirectory folder;
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
