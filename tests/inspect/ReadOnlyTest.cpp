// The command changes nothing, wherever it looks.

#include "Home.h"
#include "Process.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <set>
#include <unistd.h>

namespace fs = std::filesystem;

using nlohmann::json;
using test::Result;
using test::ScopedHome;
using ::testing::IsEmpty;

namespace {

const std::vector<std::string> LAUNCH{HOST_PROGRAM, LAUNCHER_LIBRARY};

// A home in which a launch would write, mark and remove.
void layOut(const fs::path& home) {
  const fs::path folder = home / "Library/Application Support/VantuOrlixVDILauncher";
  test::Copy(folder / "chosen", "45.12.0.900");
  test::Copy(folder / "corrupt", "45.12.0.950");
  test::writeFile(folder / "corrupt/launchCount.dat", "3");
  for (const char* name : {"a", "b", "c"})
    test::Copy(folder / name, "44.0");
  test::writeFile(folder / "a/launch.dat", "1");
  fs::create_directories(home / "work");
}

const std::set<std::string> CHANGING_CALLS = {
    "creat",     "mkdir",    "mkdirat",   "mknod",       "mknodat",   "unlink",  "unlinkat",
    "rmdir",     "rename",   "renameat",  "renameat2",   "link",      "linkat",  "symlink",
    "symlinkat", "truncate", "chmod",     "ftruncate",   "fallocate", "fchmod",  "fchmodat",
    "chown",     "fchown",   "lchown",    "fchownat",    "utime",     "utimes",  "utimensat",
    "futimesat", "setxattr", "fsetxattr", "removexattr", "mount",     "umount2", "copy_file_range",
    "sendfile",  "pwrite64", "fork",      "vfork",       "kill",      "tkill",   "tgkill"};

// Whether a line of a trace, "PID call(arguments) = result", changes something. A pipe holds
// nothing: sanitizers probe memory with one.
bool isChange(const std::string& line) {
  const auto name = line.find_first_not_of(' ', line.find(' '));
  const auto arguments = line.find('(');
  if (name == std::string::npos || arguments == std::string::npos || name > arguments)
    return false;
  const std::string call = line.substr(name, arguments - name);
  if (call == "open" || call == "openat" || call == "openat2")
    return line.find("O_RDONLY") == std::string::npos ||
           line.find("O_CREAT") != std::string::npos || line.find("O_TRUNC") != std::string::npos;
  if (call == "write" || call == "writev") {
    const std::string target = line.substr(arguments + 1, line.find(',') - arguments - 1);
    return target[0] != '1' && target[0] != '2' && target.find("<pipe:") == std::string::npos;
  }
  return CHANGING_CALLS.count(call) != 0;
}

// The traced system calls with which a process changes a file system, starts or ends a process.
std::vector<std::string> changes(const std::vector<std::string>& command, const fs::path& folder) {
  std::vector<std::string> found;
  for (const auto& line : test::systemCalls({command, folder})) {
    if (isChange(line))
      found.push_back(line);
  }
  return found;
}

} // namespace

TEST(ReadOnly, CreatesNothing) {
  const test::ScopedDirectory home;
  const Result result = test::run({{LAUNCHER_INSPECT, "--home", home.path()}, home.path()});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(fs::directory_iterator(home.path()), fs::directory_iterator());
}

TEST(ReadOnly, MakesNoChangingCall) {
  const ScopedHome home;
  layOut(home.path());
  for (const char* form : {"--json", "--mask", "--brief", "--explain=a"})
    EXPECT_THAT(changes({LAUNCHER_INSPECT, form}, home.path() / "work"), IsEmpty()) << form;
}

TEST(ReadOnly, TraceShowsLaunch) {
  const ScopedHome home;
  layOut(home.path());
  const auto found = changes(LAUNCH, home.path() / "work");
  for (const char* part : {"corrupt.dat", "launchCount.dat", "unlinkat(", "mkdir(", "write("})
    EXPECT_THAT(found, ::testing::Contains(::testing::HasSubstr(part)));
}

// A home that belongs to this user and is inspected by another one, where there is a choice: the
// program is copied to where any user can run it.
TEST(ReadOnly, ServesOtherUsers) {
  const ScopedHome home;
  layOut(home.path());
  fs::permissions(home.path(), fs::perms(0755));
  const fs::path program = home.path() / "launcher-inspect";
  fs::copy_file(LAUNCHER_INSPECT, program);
  const auto inspect = [&](bool asOther) {
    const Result result = test::run({{program, "--json"}, home.path(), {}, asOther});
    EXPECT_EQ(result.status, 0) << result.err;
    return json::parse(result.out);
  };
  json other = inspect(true);
  const json own = inspect(false);
  EXPECT_EQ(own["notes"], json::array());
  if (::geteuid() == 0) {
    EXPECT_EQ(other["notes"][0]["code"], "other-owner");
  }
  other["notes"] = own["notes"];
  EXPECT_EQ(other, own);
}
