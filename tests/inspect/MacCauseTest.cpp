// What keeps a copy from coming up on a Mac alone, in files that are laid out for it.

#include "Home.h"
#include "PropertyLists.h"
#include "Report.h"
#include "SampleFacts.h"

#include <gmock/gmock.h>

#include <array>
#include <sys/xattr.h>

namespace fs = std::filesystem;

using namespace LauncherInspect;
using namespace testing;
using test::codes;

namespace {

// --- Mach-O files, as short as can be ---

constexpr std::size_t I386 = 7, X86_64 = 0x01000007, ARM64 = 0x0100000c;

std::string little(std::size_t value) {
  const std::string number = test::Binary::number(value, 4);
  return {number.rbegin(), number.rend()};
}

std::string command(std::size_t kind, std::size_t size = 16) {
  return little(kind) + little(size) + std::string(8, '\0');
}

const std::string SEGMENT = command(0x19), SIGNATURE = command(0x1d);

std::string
slice(std::size_t processor, const std::string& commands, std::size_t kind = 0xfeedfacf) {
  const std::string zeros(8, '\0');
  return little(kind) + little(processor) + zeros + little(2) + little(commands.size()) + zeros +
         commands;
}

std::string universal(const std::vector<std::string>& slices, std::size_t offsetSize = 4) {
  const std::size_t entrySize = offsetSize == 8 ? 32 : 20;
  std::string table = test::Binary::number(offsetSize == 8 ? 0xcafebabf : 0xcafebabe, 4) +
                      test::Binary::number(slices.size(), 4);
  std::string content;
  for (const auto& each : slices) {
    const std::size_t offset = 8 + slices.size() * entrySize + content.size();
    table += std::string(8, '\0') + test::Binary::number(offset, offsetSize);
    table += std::string(entrySize - 8 - offsetSize, '\0');
    content += each;
  }
  return table + content;
}

const std::string ARM = slice(ARM64, SEGMENT + SIGNATURE), UNSIGNED_ARM = slice(ARM64, SEGMENT);
const std::string INTEL = slice(X86_64, SEGMENT), UNIVERSAL = universal({INTEL, ARM});

// --- A copy on some Mac ---

const System APPLE{{"arm64"}, "14.5"}, ROSETTA{{"arm64", "x86_64"}, "14.5"};
const System OLD{{"x86_64"}, "10.15.7"}, OTHER{{"x86_64"}, ""}, ARM_LINUX{{"arm64"}, ""},
    UNKNOWN{{"riscv64"}, ""};

class MacCause : public ::testing::Test {
protected:
  void write(const std::string& program, const std::string& main, const std::string& launcher) {
    copy.complete();
    test::writeFile(test::executableIn(copy), program);
    test::writeFile(test::frameworksIn(copy) / "libnexal_vdi_main.dylib", main);
    test::writeFile(test::frameworksIn(copy) / "libThinClientLauncher.dylib", launcher);
  }

  std::vector<Report> warnings(const System& system) const {
    Facts facts = findFacts("");
    facts.startCheck = checkStart(copy, system);
    return makeReport(facts)["warnings"];
  }

  const test::ScopedHome home;
  test::Copy copy = home.copy("a");
};

} // namespace

TEST_F(MacCause, Code) {
  const std::tuple<System, std::string, std::vector<std::string>> rows[] = {
      {APPLE, UNIVERSAL, {}},
      {APPLE, ARM, {}},
      {APPLE, UNSIGNED_ARM, {"unsigned-code"}},
      {APPLE, universal({INTEL, UNSIGNED_ARM}, 8), {"unsigned-code"}},
      {APPLE, INTEL, {"no-code-for-machine"}},
      {APPLE, slice(I386, SIGNATURE, 0xfeedface), {"no-code-for-machine"}},
      {APPLE, UNIVERSAL.substr(0, UNIVERSAL.size() - ARM.size()), {"no-code-for-machine"}},
      {APPLE, slice(ARM64, command(0x19, 0) + SIGNATURE), {}}, // a command without a size
      {APPLE, slice(ARM64, command(0x19, 1 << 30) + SIGNATURE), {"unsigned-code"}},
      {APPLE,
       universal(std::vector<std::string>(21, INTEL)),
       {"not-a-program"}}, // Java classes begin like this
      {APPLE, "#!/bin/sh", {}},
      {UNKNOWN, "\x7f\x45LF" + std::string(16, '\0'), {}},
      {OTHER, "\x7f\x45LF" + std::string(14, '\0') + '\x03', {}}, // 32-bit code
      {ARM_LINUX, "\x7f\x45LF" + std::string(14, '\0') + '\xb7', {}},
      {ARM_LINUX, "\x7f\x45LF" + std::string(14, '\0') + '\x3e', {"not-a-program"}},
      {ROSETTA, INTEL, {}},
      {OLD, ARM, {"no-code-for-machine"}},
      {OLD, universal({INTEL, UNSIGNED_ARM}), {}}};
  for (const auto& [system, content, expected] : rows) {
    write(content, content, content);
    EXPECT_EQ(codes(warnings(system)), expected) << PrintToString(content);
  }
}

TEST_F(MacCause, CodeOfOneProcess) {
  const std::array<std::string, 4> rows[] = {
      {ARM, INTEL, ARM, "no code for arm64 in ~.*/libnexal_vdi_main.dylib"},
      {INTEL, ARM, INTEL, "no code for x86_64 in ~.*/libnexal_vdi_main.dylib"},
      {ARM, UNIVERSAL, UNSIGNED_ARM, "arm64 has no signature in ~.*/libThinClientLauncher.dylib"}};
  for (const auto& [program, main, launcher, cause] : rows) {
    write(program, main, launcher);
    ASSERT_EQ(warnings(ROSETTA).size(), 1u);
    EXPECT_THAT(warnings(ROSETTA)[0]["text"].get<std::string>(), ContainsRegex(cause));
  }
}

TEST_F(MacCause, NewerSystem) {
  const std::tuple<std::string, System, bool> rows[] = {
      {"15.0", APPLE, true},
      {"14.5.1", APPLE, true},
      {"14.5.0", APPLE, false},
      {"9.10", APPLE, false},
      {"text", APPLE, false},
      {"11", OLD, true},
      {"10.15", OLD, false},
      {"15.0", OTHER, false}};
  copy.complete();
  for (const auto& [needed, system, isTold] : rows) {
    copy.list(test::propertyList(
        {{test::VERSION_KEY, "45.12.0.900"}, {"LSMinimumSystemVersion", needed}}));
    const auto all = warnings(system);
    ASSERT_EQ(all.size(), isTold) << needed;
    EXPECT_TRUE(
        !isTold || all[0]["text"] == "The chosen copy would not come up: it needs macOS " + needed +
                                         ", and this is " + system.version);
  }
}

// Older systems have no attributes of users in memory.
TEST_F(MacCause, Quarantine) {
  copy.complete();
  const fs::path bundle = test::bundleIn(copy);
  bool isSet = false;
  for (const char* name : {"user.com.apple.quarantine", "trusted.com.apple.quarantine"}) {
    EXPECT_THAT(warnings(APPLE), IsEmpty());
    if (::setxattr(bundle.c_str(), name, "0081", 4, 0) != 0)
      continue;
    isSet = true;
    EXPECT_THAT(codes(warnings(APPLE)), ElementsAre("quarantined"));
    ::removexattr(bundle.c_str(), name);
  }
  if (!isSet)
    GTEST_SKIP() << "this file system has no such attribute";
}

// The command asks for the machine that it runs on.
TEST_F(MacCause, ThisMachine) {
  write(slice(I386, SIGNATURE), "", "");
  EXPECT_THAT(codes(makeReport(findFacts(""))["warnings"]), ElementsAre("no-code-for-machine"));
}
