// The same reports by launcher-inspect for Linux and by the machine code of the one for macOS. The
// environment names that program, MACHINE_COMMAND, and how many random HOMES are compared.

#include "Home.h"
#include "Process.h"
#include "RandomHome.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstdlib>
#include <random>
#include <stdexcept>

namespace fs = std::filesystem;

using test::Result;
using test::ScopedEnvironment;
using Words = std::vector<std::string>;

namespace {

std::string setting(const char* name) {
  const char* const value = std::getenv(name);
  return value != nullptr ? value : throw std::runtime_error(std::string("Set ") + name + ".");
}

const std::string MACHINE_COMMAND = setting("MACHINE_COMMAND");
const unsigned long HOMES = std::stoul(setting("HOMES"));

// Each system has its own command to show its log.
std::string withoutLogCommand(std::string text) {
  for (const char* command : {"journalctl", "log show"}) {
    for (std::size_t at; (at = text.find(command)) != std::string::npos;)
      text.erase(at, text.find_first_of("\r\n", at) - at);
  }
  return text;
}

Words with(const std::string& program, Words words) {
  words.insert(words.begin(), program);
  return words;
}

std::vector<std::string> outcome(const std::string& program, const Words& words) {
  const Result result = test::run({with(program, words), "/"});
  return {std::to_string(result.status), withoutLogCommand(result.out), result.err};
}

void compare(const Words& words) {
  EXPECT_EQ(outcome(MACHINE_COMMAND, words), outcome(LAUNCHER_INSPECT, words))
      << testing::PrintToString(words);
}

void compareOnTerminal(const Words& words, unsigned short columns) {
  const auto text = [&](const std::string& program) {
    return withoutLogCommand(test::runOnTerminal(with(program, words), columns));
  };
  EXPECT_EQ(text(MACHINE_COMMAND), text(LAUNCHER_INSPECT)) << testing::PrintToString(words);
}

constexpr unsigned short WIDTHS[] = {0, 30, 69, 80, 132, 4000};

const std::string SLICE_FOR_ARM64("\xcf\xfa\xed\xfe\x0c\0\0\x01", 8);
const std::string PROGRAMS[] = {"x", "#!/bin/sh\n", SLICE_FOR_ARM64 + std::string(24, '\0')};

const std::string FAILING_LINKS[] = {"link", std::string(300, 'a')};

const std::string STAMP = "2026-03-07 14:05:09.007 ";
const std::string ENTERED = STAMP + "ThinClientLauncher DLL entry point called\n" + STAMP;
const std::string LOGS[] = {
    "",
    "no log",
    ENTERED + "launcher mode\n" + STAMP + "hvd Client Version provided: 45.12.0.1000\n" + STAMP +
        "Best candidate: /a (version: 45.12.0.900)\n"};

class Comparison : public testing::Test {
protected:
  // Lays the home of this number out, and returns the options that lead there.
  Words layOut(unsigned number) {
    folder = scratch.path() / std::to_string(number);
    std::mt19937 random(number);
    const auto below = [&](std::size_t limit) { return random() % limit; };
    const test::RandomHome home(below, folder);
    names.clear();
    for (const auto& entry : home.entries) {
      names.push_back(entry.name);
      addProgram(home.launcherDirectory / entry.name, below);
    }
    if (below(8) == 0 && fs::exists(home.launcherDirectory))
      fs::create_symlink(FAILING_LINKS[below(2)], home.launcherDirectory / "link");
    const fs::path log = folder / "Library/Logs/VantuOrlixVDI/vdi-launch-launchmode-log.txt";
    if (const std::size_t kind = below(std::size(LOGS) + 2); kind < std::size(LOGS))
      test::writeFile(log, LOGS[kind]);
    else if (kind == std::size(LOGS))
      test::writeFile(log.parent_path(), "a file");
    return {
        "--home",
        folder,
        "--working-directory",
        home.workingDirectory,
        "--client-version",
        home.clientVersion};
  }

  // A Mac's file systems have no name that is not UTF-8.
  bool isComparable() const { return std::count(names.begin(), names.end(), "\xFF\xFE") == 0; }

  fs::path folder;
  Words names; // of the copies

private:
  static void addProgram(const fs::path& dir, const test::RandomNumber& below) {
    const std::size_t kind = below(2 * std::size(PROGRAMS));
    if (kind >= std::size(PROGRAMS) || !fs::is_directory(test::bundleIn(dir)))
      return;
    const fs::path program = test::executableIn(dir);
    test::writeFile(program, PROGRAMS[kind]);
    fs::permissions(program, fs::perms(below(2) == 0 ? 0644 : 0755));
    test::writeFile(test::bundleIn(dir) / "Contents/Frameworks/libnexal_vdi_main.dylib", "");
  }

  const test::ScopedDirectory scratch;
  const ScopedEnvironment user{"USER", "directory"}; // masked in many paths
  const ScopedEnvironment zone{"TZ", "Europe/Berlin"};
  const ScopedEnvironment terminal{"TERM", "xterm"};
};

TEST_F(Comparison, RandomHomes) {
  for (unsigned number = 1, compared = 0; compared < HOMES && !HasFailure(); ++number) {
    SCOPED_TRACE(number);
    Words words = layOut(number);
    if (isComparable()) {
      ++compared;
      std::vector<Words> forms = {{}, {"--json"}, {"--brief"}, {"--check"}, {"--mask", "--json"}};
      if (!names.empty())
        forms.insert(forms.end(), {{"--explain", names[0]}, {"--json", "--explain", names.back()}});
      for (Words form : forms) {
        form.insert(form.end(), words.begin(), words.end());
        compare(form);
      }
    }
    fs::remove_all(folder);
  }
}

TEST_F(Comparison, Terminals) {
  for (unsigned number = 1; number <= HOMES / 8; ++number) {
    const Words words = layOut(number);
    for (const unsigned short columns : WIDTHS)
      if (isComparable())
        compareOnTerminal(words, columns);
  }
  const ScopedEnvironment columns("COLUMNS", "50"), noColour("NO_COLOR", "1");
  compareOnTerminal({}, 100);
}

TEST_F(Comparison, WrongUsage) {
  const Words rows[] = {
      {"--home", ""},
      {"--home", "/nowhere"},
      {"--home", "/dev/null"},
      {"--home", std::string(5000, 'a')},
      {"--home", "/launcher-test/\xff"},
      {"--home"},
      {"--no-such-option"},
      {"word"},
      {"--json", "--brief"},
      {"--explain", "x"},
      {"--working-directory", "/nowhere"},
      {"--client-version", "1", "--client-version", "2"},
      {"--client-version", "45\u4e2d\u0301\u200b\x07"},
      {"--help"},
      {"--version"}};
  for (const Words& row : rows) {
    compare(row);
    compare(with("--check", row));
  }
}

// Only a Mac gives these answers.
TEST_F(Comparison, SaysWhatThisMacCannotRun) {
  const auto codes = [](const std::map<std::string, std::string>& answers) {
    return test::run({{MACHINE_COMMAND, "--check"}, "/", answers}).out;
  };
  const test::ScopedHome home;
  const test::Copy copy = home.copy("a").list(test::propertyList(
      {{"CFBundleShortVersionString", "45.12"}, {"LSMinimumSystemVersion", "11.0"}}));
  test::writeFile(test::executableIn(copy), PROGRAMS[2]);
  fs::permissions(test::executableIn(copy), fs::perms(0755));
  EXPECT_THAT(codes({{"hw_optional_arm64", "0"}}), testing::HasSubstr("no-code-for-machine"));
  EXPECT_THAT(codes({{"hw_optional_arm64", "1"}}), testing::HasSubstr("unsigned-code"));
  EXPECT_THAT(
      codes({{"kern_osproductversion", "10.15"}}), testing::HasSubstr("needs-newer-system"));
  EXPECT_THAT(
      codes({{"kern_osproductversion", "11.0"}}),
      testing::Not(testing::HasSubstr("needs-newer-system")));
}

} // namespace
