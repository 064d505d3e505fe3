// What a copy's files can be made to hold, deliberately: the answer stays the one of the rules, and
// every answer takes less than 50 ms of processor time and 32 MB of memory.

#include "Home.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <functional>
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

std::string repeated(const std::string& text, std::size_t times) {
  std::string result;
  for (std::size_t i = 0; i < times; ++i)
    result += text;
  return result;
}

std::string nestedXml(const std::string& start, const std::string& end, std::size_t depth) {
  return "<plist version=\"1.0\"><dict><key>a</key>" + repeated(start, depth) + "<true/>" +
         repeated(end, depth) +
         "<key>CFBundleShortVersionString</key><string>45.1</string></dict></plist>";
}

std::string
trailer(unsigned offsetSize, unsigned referenceSize, std::size_t objects, std::size_t table) {
  std::string bytes(6, '\0');
  bytes += static_cast<char>(offsetSize);
  bytes += static_cast<char>(referenceSize);
  for (const std::size_t number : {objects, std::size_t{0}, table}) {
    for (int shift = 56; shift >= 0; shift -= 8)
      bytes += static_cast<char>(number >> shift & 0xFF);
  }
  return bytes;
}

// A dictionary whose one value is an array whose entries are all the same array, and so on: every
// level multiplies what the list stands for, to 3.5 million objects in 135 bytes.
std::string sharedContainers() {
  std::string list = "bplist00";
  std::string offsets;
  const auto add = [&](const std::string& object) {
    offsets += static_cast<char>(list.size());
    list += object;
  };
  add("\xD1\x01\x02");
  add("\x51k");
  unsigned char next = 3;
  for (const std::size_t entries : {12U, 12U, 12U, 12U, 13U, 13U}) {
    add(static_cast<char>(0xA0 | entries) + std::string(entries, static_cast<char>(next)));
    ++next;
  }
  add("\x09");
  const std::size_t table = list.size();
  return list + offsets + trailer(1, 1, offsets.size(), table);
}

// Arrays of one entry, each in the next, as many as a list that is read at all can hold.
std::string nestedArrays() {
  constexpr std::size_t DEPTH = 37'000;
  const auto bytes = [](std::size_t number, int size) {
    std::string text;
    for (int shift = 8 * (size - 1); shift >= 0; shift -= 8)
      text += static_cast<char>(number >> shift & 0xFF);
    return text;
  };
  std::string list = "bplist00";
  std::string offsets;
  for (std::size_t i = 0; i < DEPTH; ++i) {
    offsets += bytes(list.size(), 3);
    list += "\xA1" + bytes(std::min(i + 1, DEPTH - 1), 2);
  }
  const std::size_t table = list.size();
  return list + offsets + trailer(3, 2, DEPTH, table);
}

std::string randomBytes(std::size_t size) {
  std::mt19937 generator(1);
  std::string bytes(size, '\0');
  for (char& byte : bytes)
    byte = static_cast<char>(generator());
  return bytes;
}

struct Report {
  std::string answer;
  long microseconds = -1;
  long kilobytes = -1;
};

Report ask(const std::string& question, const fs::path& dir) {
  FILE* const output =
      ::popen((HOSTILE_PROBE " " + question + " '" + dir.string() + "'").c_str(), "r");
  char line[256] = "";
  std::vector<std::string> lines;
  while (std::fgets(line, sizeof line, output) != nullptr)
    lines.emplace_back(line, std::string_view(line).find('\n'));
  const int status = ::pclose(output);
  EXPECT_EQ(status, 0) << "the probe died";
  EXPECT_EQ(lines.size(), 3U);
  return lines.size() == 3 ? Report{lines[0], std::stol(lines[1]), std::stol(lines[2])} : Report{};
}

void check(const std::string& question, const fs::path& place, const std::vector<Case>& cases) {
  for (const auto& row : cases) {
    SCOPED_TRACE(row.name);
    const test::ScopedFolder dir;
    fs::create_directories((dir.path() / place).parent_path());
    row.place(dir.path() / place);
    const Report report = ask(question, dir.path());
    EXPECT_EQ(report.answer, row.expected);
    EXPECT_LT(report.microseconds, TIME_LIMIT_MICROSECONDS);
    EXPECT_LT(report.kilobytes, MEMORY_LIMIT_KILOBYTES);
  }
}

TEST(HostileInput, PropertyListsGiveAnEmptyVersionWithinBounds) {
  ASSERT_EQ(sharedContainers().size(), 135U);
  check(
      "version",
      "OrlixVDIPlugin.app/Contents/Info.plist",
      {
          {"135 bytes of shared containers", file(sharedContainers()), ""},
          {"a million arrays deep", file(nestedXml("<array>", "</array>", 1'000'000)), ""},
          {"a million dictionaries deep",
           file(nestedXml("<dict><key>k</key>", "</dict>", 1'000'000)),
           ""},
          {"as deep as a list that is read can be",
           file(nestedXml("<array>", "</array>", 17'000)),
           ""},
          {"unclosed arrays", file("<plist version=\"1.0\">" + repeated("<array>", 37'000)), ""},
          {"binary arrays, as deep as they can be", file(nestedArrays()), ""},
          {"1 GB, sparse", sparseFile(GIGABYTE), ""},
          {"1 GB, sparse, that starts well",
           sparseFile(GIGABYTE, "<plist version=\"1.0\"><dict>"),
           ""},
          {"1 GB, sparse, binary", sparseFile(GIGABYTE, "bplist00"), ""},
          {"random bytes", file(randomBytes(200'000)), ""},
          {"a quarter of a megabyte of <", file(std::string(262'144, '<')), ""},
          {"a quarter of a megabyte of entities",
           file("<plist><string>" + repeated("&lt;", 60'000)),
           ""},
          {"thousands of keys, not plain",
           file(
               "<!-- --><plist><dict>" + repeated("<key>k</key><true/>", 13'000) +
               "</dict></plist>"),
           ""},
          {"a named pipe", placePipe, ""},
          {"a socket", placeSocket, ""},
          {"an endless device", linkTo("/dev/zero"), ""},
          {"a terminal", linkTo("/dev/tty"), ""},
          {"a folder", placeFolder, ""},
          {"a link to itself", linkTo("Info.plist"), ""},
          {"a dangling link", linkTo("nowhere"), ""},
      });
}

TEST(HostileInput, LaunchCountsFollowTheRulesWithinBounds) {
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

TEST(HostileInput, AnyEntryButADanglingLinkMarksASafeStart) {
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
