// What accompanies the command names its options and is well-formed.

#include "Home.h"
#include "Process.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <set>

namespace fs = std::filesystem;

using test::Result;
using ::testing::HasSubstr;

namespace {

const fs::path SOURCES = INSPECT_SOURCES;
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

} // namespace

TEST(Documentation, NamesEveryOption) {
  ASSERT_EQ(options().size(), 7u);
  for (const auto& option : options()) {
    EXPECT_THAT(manual(), HasSubstr(option));
    EXPECT_THAT(test::readFile(BASH_COMPLETION), HasSubstr(option));
    EXPECT_THAT(test::readFile(ZSH_COMPLETION), HasSubstr(option));
  }
}

TEST(Documentation, TheManualIsFormattedWithoutAWarning) {
  const Result result = test::run({{"groff", "-man", "-Tutf8", "-ww", "-z", MANUAL}});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.err, "");
}

TEST(Documentation, BashCompletesOptionsAndFolders) {
  const test::ScopedFolder folder;
  fs::create_directory(folder.path() / "a folder");
  test::writeFile(folder.path() / "a file", "");
  EXPECT_EQ(completed("--m", folder.path()), "--mask\n");
  EXPECT_EQ(completed("--home a", folder.path()), "a folder\n");
  EXPECT_EQ(completed("--client-version a", folder.path()), "\n");
}

TEST(Documentation, TheCompletionForZshIsWellFormed) {
  const Result result = test::run({{"zsh", "-n", ZSH_COMPLETION}});
  EXPECT_EQ(result.status, 0) << result.err;
}
