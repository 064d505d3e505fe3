// What accompanies the command is complete and well-formed.

#include "Home.h"
#include "JsonReport.h"
#include "Messages.h"
#include "Process.h"
#include "Report.h"
#include "SampleFacts.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstdlib>
#include <regex>

namespace fs = std::filesystem;

using test::Result;
using ::testing::HasSubstr;
using ::testing::StartsWith;

namespace {

const fs::path SOURCES = INSPECT_SOURCES;
const fs::path JSON_DOCUMENT = SOURCES / "../../docs/launcher-inspect-json.md";
const fs::path MANUAL = SOURCES / "launcher-inspect.1";
const fs::path BASH_COMPLETION = SOURCES / "completions/launcher-inspect.bash";
const fs::path ZSH_COMPLETION = SOURCES / "completions/_launcher-inspect";
const fs::path FISH_COMPLETION = SOURCES / "completions/launcher-inspect.fish";
const fs::path SCHEMA = SOURCES / "launcher-inspect.schema.json";

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

// The commands in the manual page's examples, as a reader's terminal shows them.
std::vector<std::string> examples() {
  const Result page =
      test::run({{"groff", "-man", "-Tutf8", "-rLL=200n", "-P-c", "-P-b", "-P-u", MANUAL}});
  std::vector<std::string> commands;
  const std::string text = page.out.substr(page.out.find("\nEXAMPLES\n"));
  for (const auto& line : test::splitLines(text)) {
    if (const auto indent = line.find_first_not_of(' '); indent != std::string::npos && indent > 7)
      commands.push_back(line.substr(indent));
  }
  return commands;
}

// Validates the report in a file. Members that the schema does not name are errors here, although
// it admits them.
const char* const VALIDATE = R"python(
import json, jsonschema, sys
def close(schema):
    for part in schema.values() if isinstance(schema, dict) else schema:
        if isinstance(part, (dict, list)):
            close(part)
    if isinstance(schema, dict) and schema.get("type") == "object":
        schema.update(additionalProperties=False, patternProperties={"Bytes$": {"type": "string"}})
schema = json.load(open(sys.argv[1]))
jsonschema.Draft7Validator.check_schema(schema)
close(schema)
jsonschema.Draft7Validator(schema).validate(json.load(open(sys.argv[2])))
)python";

Result validate(const std::string& report) {
  const test::ScopedDirectory folder;
  test::writeFile(folder.path() / "report.json", report);
  return test::run({{"python3", "-c", VALIDATE, SCHEMA, folder.path() / "report.json"}});
}

// What bash offers for the last of these words, without what 3.2 lacks.
std::string completed(const std::string& words, const fs::path& folder) {
  const std::string script = "enable -n mapfile readarray compopt; source '" +
                             BASH_COMPLETION.string() + "'; COMP_WORDS=(launcher-inspect " + words +
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

} // namespace

TEST(Documentation, NamesEveryOption) {
  const auto options = matches(
      test::run({{LAUNCHER_INSPECT, "--help"}}).out, "(--[a-z-]+)[^\n]*(?:\n +)? ([A-Z][a-z]+ )");
  ASSERT_EQ(options.size(), 10u) << "each with a description";
  for (const auto& [option, description] : options) {
    EXPECT_THAT(manual(), HasSubstr(option));
    EXPECT_THAT(test::readFile(BASH_COMPLETION), HasSubstr(option));
    EXPECT_THAT(test::readFile(ZSH_COMPLETION), HasSubstr(option));
    EXPECT_THAT(test::readFile(FISH_COMPLETION), HasSubstr("-l " + option.substr(2)));
  }
}

TEST(Documentation, NamesEveryCode) {
  ASSERT_GT(codesInProgram().size(), 30u);
  EXPECT_EQ(codesInManual(), codesInProgram());
}

TEST(Documentation, NamesEveryMember) {
  const auto report = LauncherInspect::makeReport(test::sampleFacts());
  const auto members = matches(report.dump(), "\"([A-Za-z]+)\":()");
  ASSERT_GT(members.size(), 30u);
  for (const auto& [member, nothing] : members)
    EXPECT_THAT(test::readFile(JSON_DOCUMENT), HasSubstr("`" + member + "`"));
}

TEST(Documentation, SchemaFitsReports) {
  const test::ScopedHome home;
  const test::Copy chosen = home.copy("a").launches("7").startedSafely();
  home.copy("b\xff\n", "").launched(std::chrono::hours(1));
  home.copy("c", "44").launches("2");
  const std::vector<std::string> forms[] = {
      {"--mask"}, {"--explain", "a"}, {"--client-version", "\xff"}, {"--home", "/"}};
  for (const auto& form : forms) {
    std::vector<std::string> words{LAUNCHER_INSPECT, "--json"};
    words.insert(words.end(), form.begin(), form.end());
    const std::string report = test::run({words, home.path()}).out;
    EXPECT_EQ(validate(report).err, "") << report;
  }
}

TEST(Documentation, SchemaFitsSampleAlone) {
  auto facts = test::sampleFacts();
  facts.explained = 3;
  // Not in the order of Report, for which clang 22 warns of a deprecated look-up by a pointer.
  const nlohmann::json good =
      LauncherInspect::makeReport(facts, {}, LauncherInspect::Paths::Absolute);
  EXPECT_EQ(validate(good.dump()).err, "");
  const std::pair<const char*, const char*> rows[] = {
      {"/home", "\"~\""},
      {"/candidates/0/directory", "\"~/a\""},
      {"/candidates/0/launches", "\"3\""},
      {"/candidates/0/verdict", "{\"code\": \"Older\", \"text\": \"a\"}"},
      {"/candidates/2/lastLaunch", "\"today\""},
      {"/schemaVersion", "2"},
      {"/cleanUp/more", "1"}};
  for (const auto& [member, value] : rows) {
    auto report = good;
    report[nlohmann::json::json_pointer(member)] = nlohmann::json::parse(value);
    EXPECT_NE(validate(report.dump()).status, 0) << member;
  }
}

TEST(Documentation, ExamplesWorkWhenPasted) {
  const test::ScopedHome home;
  home.copy("a");
  const fs::path bin = fs::path(LAUNCHER_INSPECT).parent_path();
  const test::ScopedEnvironment path("PATH", bin.string() + ":" + std::getenv("PATH"));
  ASSERT_GE(examples().size(), 5u);
  for (const auto& example : examples()) {
    const Result result =
        test::run({{"bash", "-c", "set -e -o pipefail; " + example}, home.path()});
    EXPECT_EQ(result.status, 0) << example << "\n" << result.err;
    EXPECT_EQ(result.err, "") << example;
  }
}

TEST(Documentation, ManualIsWellFormed) {
  const Result result = test::run({{"groff", "-man", "-Tutf8", "-ww", "-z", MANUAL}});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.err, "");
}

TEST(Documentation, BashCompletes) {
  const test::ScopedHome home;
  home.copy("a copy");
  home.copy("other");
  fs::create_directory(home.path() / "a folder");
  test::writeFile(home.path() / "a file", "");
  const std::pair<const char*, const char*> rows[] = {
      {"--m", "--mask\n"},
      {"--home a", "a folder\n"},
      {"--home = a", "a folder\n"}, // bash splits the word so
      {"--client-version a", "\n"},
      {"--client-version = a", "\n"},
      {"--explain a", "a copy\n"}};
  for (const auto& [words, offered] : rows)
    EXPECT_EQ(completed(words, home.path()), offered) << words;
}

TEST(Documentation, FishCompletes) {
  const test::ScopedHome home; // in which fish writes files of its own
  home.copy("a copy");
  const auto offered = [](const std::string& words) {
    const Result result = test::run(
        {{"fish",
          "--no-config",
          "-c",
          "source $argv[1]; complete -C $argv[2]",
          FISH_COMPLETION,
          words}});
    EXPECT_EQ(result.err, "");
    return result.out;
  };
  EXPECT_EQ(offered("launcher-inspect --ma"), "--mask\tReplace the login name by stars\n");
  EXPECT_THAT(offered("launcher-inspect --explain a"), StartsWith("a copy\t"));
}

TEST(Documentation, ZshIsWellFormed) {
  const Result result = test::run({{"zsh", "-n", ZSH_COMPLETION}});
  EXPECT_EQ(result.status, 0) << result.err;
}
