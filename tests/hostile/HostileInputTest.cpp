// What a copy's files can be made to hold, deliberately: the answer stays the one of the rules, and
// every answer takes less than 50 ms of processor time and 32 MB of memory.

#include "Fork.h"
#include "Home.h"
#include "HostileLists.h"
#include "LauncherHelper.h"
#include "ThinClientLauncherBase.h"

#include <gtest/gtest.h>

#include <ctime>
#include <fstream>
#include <functional>
#include <malloc.h>
#include <random>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

// Instrumented code is several times slower.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr long TIME_LIMIT_MICROSECONDS = 4 * 50'000;
#else
constexpr long TIME_LIMIT_MICROSECONDS = 50'000;
#endif
constexpr long MEMORY_LIMIT_KILOBYTES = 32 * 1024;
constexpr std::uintmax_t GIGABYTE = std::uintmax_t{1} << 30;

// Puts something hostile at a path.
using Placement = std::function<void(const fs::path&)>;

struct Case {
  const char* name;
  Placement place;
  const char* expected;
};

Placement file(const std::string& content) {
  return [content](const fs::path& path) { test::writeFile(path, content); };
}

Placement sparseFile(std::uintmax_t size, const std::string& start = "") {
  return [=](const fs::path& path) {
    test::writeFile(path, start);
    fs::resize_file(path, size);
  };
}

Placement linkTo(const char* target) {
  return [=](const fs::path& path) { fs::create_symlink(target, path); };
}

void placeFolder(const fs::path& path) {
  test::writeFile(path / "content", "in a folder");
}

void placePipe(const fs::path& path) {
  ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);
}

void placeSocket(const fs::path& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  ASSERT_LT(path.native().size(), sizeof address.sun_path);
  path.native().copy(address.sun_path, sizeof address.sun_path - 1);
  const int descriptor = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  ASSERT_EQ(::bind(descriptor, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
  ::close(descriptor);
}

std::string randomBytes(std::size_t size) {
  std::mt19937 generator(1);
  std::string bytes(size, '\0');
  for (char& byte : bytes)
    byte = static_cast<char>(generator());
  return bytes;
}

long peakKilobytes() {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.rfind("VmHWM:", 0) == 0)
      return std::stol(line.substr(6));
  }
  throw std::runtime_error("no peak memory in /proc/self/status");
}

std::string answer(const std::string& question, const fs::path& dir) {
  const ThinClientLauncherBase launcher;
  if (question == "version")
    return LauncherHelper::getDirectoryVersion(dir);
  if (question == "launches")
    return std::to_string(launcher.getLaunchCount(dir));
  return launcher.hasStartedSafely(dir) ? "yes" : "no";
}

// In a process of its own, whose peak memory is no other question's.
void checkOne(const std::string& question, const fs::path& dir, const char* expected) {
  ::malloc_trim(0); // memory that the test itself has freed would serve the answer
  const long peak = peakKilobytes();
  const std::clock_t start = std::clock();
  const std::string given = answer(question, dir);
  const long microseconds = (std::clock() - start) * 1'000'000L / CLOCKS_PER_SEC;
  EXPECT_EQ(given, expected);
  EXPECT_LT(microseconds, TIME_LIMIT_MICROSECONDS);
  EXPECT_LT(peakKilobytes() - peak, MEMORY_LIMIT_KILOBYTES);
}

void check(const std::string& question, const fs::path& place, const std::vector<Case>& cases) {
  for (const auto& row : cases) {
    SCOPED_TRACE(row.name);
    const test::ScopedFolder dir;
    fs::create_directories((dir.path() / place).parent_path());
    row.place(dir.path() / place);
    test::inChildProcess([&] { checkOne(question, dir.path(), row.expected); });
  }
}

TEST(HostileInput, PropertyLists) {
  std::vector<Case> cases{
      {"a million arrays, nested", file("<plist>" + test::repeated("<array>", 1'000'000)), ""},
      {"1 GB, sparse", sparseFile(GIGABYTE), ""},
      {"1 GB, sparse, that starts well", sparseFile(GIGABYTE, "<plist version=\"1.0\"><dict>"), ""},
      {"1 GB, sparse, binary", sparseFile(GIGABYTE, "bplist00"), ""},
      {"a named pipe", placePipe, ""},
      {"a socket", placeSocket, ""},
      {"an endless device", linkTo("/dev/zero"), ""},
      {"a terminal", linkTo("/dev/tty"), ""},
      {"a folder", placeFolder, ""},
      {"a link to itself", linkTo("Info.plist"), ""},
      {"a dangling link", linkTo("nowhere"), ""},
  };
  const auto lists = test::hostileLists();
  for (const auto& list : lists)
    cases.push_back({list.name, file(list.content), list.version});
  check("version", "OrlixVDIPlugin.app/Contents/Info.plist", cases);
}

TEST(HostileInput, LaunchCounts) {
  check(
      "launches",
      "launchCount.dat",
      {
          {"a folder", placeFolder, "0"},
          {"1 GB of zero bytes, sparse", sparseFile(GIGABYTE), "0"},
          {"1 GB, sparse, that starts with a number", sparseFile(GIGABYTE, "7"), "7"},
          {"binary garbage", file("\x80\xFF" + randomBytes(100'000)), "0"},
          {"a megabyte of digits", file(std::string(1'000'000, '9')), "4294967295"},
          {"a megabyte of zeros and a number", file(std::string(1'000'000, '0') + "12"), "12"},
          {"a megabyte of blanks and a number", file(std::string(1'000'000, ' ') + "12"), "12"},
          {"an endless device", linkTo("/dev/zero"), "0"},
          {"a socket", placeSocket, "0"},
          {"a dangling link", linkTo("nowhere"), "0"},
      });
}

TEST(HostileInput, SafeStarts) {
  check(
      "started",
      "started.dat",
      {
          {"a file", file(""), "yes"},
          {"1 GB, sparse", sparseFile(GIGABYTE), "yes"},
          {"a folder", placeFolder, "yes"},
          {"a named pipe", placePipe, "yes"},
          {"a socket", placeSocket, "yes"},
          {"a link to a device", linkTo("/dev/zero"), "yes"},
          {"a link to a folder", linkTo("/"), "yes"},
          {"a dangling link", linkTo("nowhere"), "no"},
      });
}

} // namespace
