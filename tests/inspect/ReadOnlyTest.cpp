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
using ::testing::Not;

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

// Under a tracer the leak check cannot work.
const std::map<std::string, std::string> TRACED = {{"ASAN_OPTIONS", "detect_leaks=0"}};

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
  const test::ScopedDirectory traces;
  const fs::path trace = traces.path() / "trace";
  std::vector<std::string> traced{"strace", "-f", "-y", "-qq", "-o", trace};
  traced.insert(traced.end(), command.begin(), command.end());
  const Result result = test::run({traced, folder, TRACED});
  EXPECT_THAT(test::readLines(trace), Not(IsEmpty())) << result.err;

  std::vector<std::string> found;
  for (const auto& line : test::readLines(trace)) {
    if (isChange(line))
      found.push_back(line);
  }
  return found;
}

// A home that belongs to this user and is inspected by another one, where there is a choice: the
// program is copied to where any user can run it.
class OthersHome {
public:
  OthersHome() {
    fs::permissions(folder.path(), fs::perms(0755));
    fs::copy_file(LAUNCHER_INSPECT, program);
    fs::create_directory(home);
  }

  json inspect(bool asOther, int status) const {
    const Result result = test::run({{program, "--json", "--home", home}, home, {}, asOther});
    EXPECT_EQ(result.status, status) << result.err;
    return json::parse(result.out);
  }

private:
  const test::ScopedDirectory folder;
  const fs::path program = folder.path() / "launcher-inspect";

public:
  const fs::path home = folder.path() / "home";
};

} // namespace

TEST(ReadOnly, CreatesNothing) {
  const test::ScopedDirectory home;
  const Result result = test::run({{LAUNCHER_INSPECT, "--home", home.path()}, home.path()});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(fs::directory_iterator(home.path()), fs::directory_iterator());
}

TEST(ReadOnly, MakesNoChangingCall) {
#ifdef __SANITIZE_THREAD__
  GTEST_SKIP() << "the thread sanitizer writes a file of its own";
#endif
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

TEST(ReadOnly, ServesOtherUsers) {
  const OthersHome others;
  layOut(others.home);
  json other = others.inspect(true, 0);
  const json own = others.inspect(false, 0);
  EXPECT_EQ(own["notes"], json::array());
  if (::geteuid() == 0) {
    EXPECT_EQ(other["notes"][0]["code"], "other-owner");
  }
  other["notes"] = own["notes"];
  EXPECT_EQ(other, own);
}

TEST(ReadOnly, SaysLockedLauncherFolder) {
  const OthersHome others;
  layOut(others.home);
  const fs::path closed = others.home / "Library/Application Support/VantuOrlixVDILauncher";
  fs::permissions(closed, fs::perms::none);
  EXPECT_EQ(others.inspect(true, 3)["outcome"]["code"], "failed");
  fs::permissions(closed, fs::perms(0700));
}

TEST(ReadOnly, SaysLockedLog) {
  const OthersHome others;
  const fs::path log = others.home / "Library/Logs/VantuOrlixVDI/vdi-launch-launchmode-log.txt";
  test::writeFile(log, "2026-03-07 14:05:09.007 ThinClientLauncher DLL entry point called\n");
  fs::permissions(log, fs::perms::none);
  const json launch = others.inspect(true, 1)["lastLaunch"];
  EXPECT_EQ(launch["end"]["code"], "unreadable");
  EXPECT_THAT(launch["end"]["text"].dump(), ::testing::HasSubstr("(Permission denied)"));
}
