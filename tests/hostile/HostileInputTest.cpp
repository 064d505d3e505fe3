// What a copy's files can be made to hold, deliberately: the answer stays the one of the rules, and
// every answer takes less than 50 ms of processor time, 32 MB of memory and 128 KB of stack.

#include "Fork.h"
#include "Home.h"
#include "LauncherHelper.h"
#include "PropertyLists.h"
#include "ThinClientLauncherBase.h"

#include <gtest/gtest.h>

#include <ctime>
#include <functional>
#include <malloc.h>
#include <sys/resource.h>

namespace fs = std::filesystem;

using namespace test;
using Binary::References;

namespace {

// Instrumented code is several times slower.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr long TIME_LIMIT_MICROSECONDS = 4 * 50'000;
#else
constexpr long TIME_LIMIT_MICROSECONDS = 50'000;
#endif
constexpr long MEMORY_LIMIT_KILOBYTES = 32 * 1024;
constexpr rlimit STACK_LIMIT{128 * 1024, 128 * 1024};
constexpr std::size_t MAXIMUM_LIST_SIZE = 256 * 1024; // a larger one is refused for that alone
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

long peakKilobytes() {
  rusage usage{};
  ::getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss;
}

std::string answer(const std::string& question, const fs::path& dir) {
  return question == "version" ? LauncherHelper::getDirectoryVersion(dir)
                               : std::to_string(ThinClientLauncherBase().getLaunchCount(dir));
}

// In a process of its own, whose peak memory is no other question's.
void checkOne(const std::string& question, const fs::path& dir, const char* expected) {
  ASSERT_EQ(::setrlimit(RLIMIT_STACK, &STACK_LIMIT), 0);
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
    const test::ScopedDirectory dir;
    fs::create_directories((dir.path() / place).parent_path());
    row.place(dir.path() / place);
    test::inChildProcess([&] { checkOne(question, dir.path(), row.expected); });
  }
}

Placement list(const std::string& content) {
  EXPECT_LE(content.size(), MAXIMUM_LIST_SIZE);
  return file(content);
}

Placement
objects(const std::vector<std::string>& all, std::size_t referenceSize = Binary::REFERENCE_SIZE) {
  return list(Binary::list(all, 4, referenceSize));
}

// The version and, before it, the object at 3, which may refer to those behind it.
Placement besideVersion(const std::vector<std::string>& others) {
  std::vector<std::string> all{
      Binary::dictionary({4, 1}, {3, 2}),
      Binary::text(VERSION_KEY),
      Binary::text(VERSION),
      others.front(),
      Binary::text("a")};
  all.insert(all.end(), others.begin() + 1, others.end());
  return objects(all);
}

// Arrays in arrays, each of which refers so many times to the next.
Placement nestedArrays(std::size_t depth, std::size_t times, const std::string& innermost) {
  std::vector<std::string> all{Binary::array(References(times, 5))};
  for (std::size_t level = 1; level < depth; ++level)
    all.push_back(Binary::array(References(times, 5 + level)));
  all.push_back(innermost);
  return besideVersion(all);
}

// A dictionary that has the same key, and the version under it, this many times.
Placement repeatedKey(const std::string& key, std::size_t times) {
  return objects(
      {Binary::dictionary(References(times, 1), References(times, 2)), key, Binary::text(VERSION)});
}

constexpr const char* LIST = "OrlixVDIPlugin.app/Contents/Info.plist";

TEST(HostileInput, XmlLists) {
  const std::string longEntity = "<!ENTITY e \"" + std::string(100'000, 'x') + "\">";
  std::string chain = "<!ENTITY e0 \"\">";
  for (int i = 1; i <= 4000; ++i)
    chain += "<!ENTITY e" + std::to_string(i) + " \"&e" + std::to_string(i - 1) + ";\">";
  std::string defaults;
  for (int i = 0; i < 4000; ++i)
    defaults += "<!ATTLIST a a" + std::to_string(i) + " CDATA \"\">";
  const auto declaring = [](const std::string& declarations, const std::string& entries) {
    return list(
        "<!DOCTYPE plist [" + declarations + "]><plist><dict>" + entries + "</dict></plist>");
  };
  const auto elements = xmlEntry("<array>" + repeated("<a/>", 30'000) + "</array>", "a");
  const std::string dictionaries =
      repeated("<dict><key>a</key>", 10000) + "<true/>" + repeated("</dict>", 10000);
  const std::string longKey = std::string(30, 'k') + "&lt;";
  check(
      "version",
      LIST,
      {
          {"1 GB, sparse, that starts well", sparseFile(GIGABYTE, "<plist><dict>"), ""},
          {"dictionaries, nested", list(xmlWithVersion(xmlEntry(dictionaries, "a"))), VERSION},
          {"unclosed arrays", list("<plist>" + repeated("<array>", 37000)), ""},
          {"unclosed comments", list("<plist>" + repeated("<!--", 65000)), ""},
          {"unclosed character data",
           list("<plist><dict><key>" + repeated("<![CDATA[", 29000)),
           ""},
          {"nothing but <", list(std::string(MAXIMUM_LIST_SIZE, '<')), ""},
          {"nothing but &", list(xmlWithEntries(xmlTextEntry(std::string(261'000, '&')))), ""},
          {"a long entity, often", declaring(longEntity, xmlTextEntry(repeated("&e;", 90))), ""},
          {"a chain of entities", declaring(chain, xmlTextEntry("&e4000;")), ""},
          {"default attributes", declaring(defaults, elements + xmlTextEntry("45")), ""},
          {"entities", list(xmlWithEntries(xmlTextEntry(repeated("&lt;", 65000) + "&a;"))), ""},
          {"comments",
           list(xmlWithEntries(xmlTextEntry(VERSION + repeated("<!---->", 37000)))),
           VERSION},
          {"character data",
           list(xmlWithEntries(xmlTextEntry(VERSION + repeated("<![CDATA[]]>", 21000)))),
           VERSION},
          {"short keys", list(xmlWithVersion(repeated(xmlEntry("<true/>", "k"), 13000))), VERSION},
          {"long keys",
           list(xmlWithVersion(repeated(xmlEntry("<true/>", longKey), 4900))),
           VERSION},
      });
}

TEST(HostileInput, BinaryLists) {
  using namespace Binary;
  const std::string almostKey = std::string(VERSION_KEY).replace(25, 1, "G");
  const std::string endlessCount = "\x13\x7F\xFF\xFF\xFF\xFF\xFF\xFF\xFF";
  const std::string shared(1 << 17, 'x');
  check(
      "version",
      LIST,
      {
          {"arrays that share their entries", nestedArrays(40, 8, text("x")), VERSION},
          {"a long text shared by arrays", nestedArrays(2, 100, text(shared)), VERSION},
          {"arrays, nested", nestedArrays(30000, 1, text("x")), VERSION},
          {"two arrays in each other", besideVersion({array({5}), array({3})}), VERSION},
          {"a dictionary in itself", objects({dictionary({1}, {0}), text(VERSION_KEY)}), ""},
          {"a dictionary as its own key", objects({dictionary({0}, {1}), text(VERSION)}), ""},
          {"a long text as every key", repeatedKey(text(shared), 30000), ""},
          {"a long UTF-16 text as every key",
           repeatedKey(utf16(std::u16string(1 << 16, u'x')), 30000),
           ""},
          {"almost the key as every key", repeatedKey(text(almostKey), 60000), ""},
          {"a text without end", list(withVersion("\x5F" + endlessCount)), ""},
          {"a UTF-16 text without end", list(withVersion("\x6F" + endlessCount)), ""},
          {"a dictionary without end",
           objects({"\xDF" + endlessCount + number(1, 2), text("a")}),
           ""},
          {"a dictionary without end, references of no byte",
           objects({"\xDF" + endlessCount}, 0),
           ""},
          {"an array without end", besideVersion({"\xAF" + endlessCount}), VERSION},
          {"a reference beyond the table", objects({dictionary({1}, {9}), text(VERSION_KEY)}), ""},
          {"references of 255 bytes",
           objects({dictionary({1}, {2}, 255), text(VERSION_KEY), text(VERSION)}, 255),
           ""},
      });
}

TEST(HostileInput, LaunchCounts) {
  check(
      "launches",
      "launchCount.dat",
      {
          {"1 GB of zero bytes, sparse", sparseFile(GIGABYTE), "0"},
          {"1 GB, sparse, that starts with a number", sparseFile(GIGABYTE, "7"), "7"},
          {"a megabyte of digits", file(std::string(1'000'000, '9')), "4294967295"},
          {"a megabyte of zeros and a number", file(std::string(1'000'000, '0') + "12"), "12"},
          {"a megabyte of blanks and a number", file(std::string(1'000'000, ' ') + "12"), "12"},
          {"an endless device", linkTo("/dev/zero"), "0"},
          {"a terminal, which waits for input", linkTo("/dev/ptmx"), "0"},
      });
}

} // namespace
