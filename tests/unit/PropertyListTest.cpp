#include "linux/PropertyList.h"

#include "Fork.h"
#include "Home.h"

#include <gmock/gmock.h>
#include <plist/plist.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <pthread.h>
#include <random>
#include <sys/resource.h>
#include <sys/stat.h>

namespace fs = std::filesystem;

using testing::AnyOf;

namespace {

constexpr const char* KEY = "CFBundleShortVersionString";
constexpr const char* VERSION = "45.10.0.32950";
constexpr std::size_t MAXIMUM_SIZE = 256 * 1024;

// --- XML lists ---

std::string xmlList(const std::string& content) {
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">" + content +
         "</plist>\n";
}

std::string xmlEntry(const std::string& value, const std::string& key = KEY) {
  return "<key>" + key + "</key>" + value;
}

// A dictionary with the version and, before it, whatever else.
std::string xmlWithVersion(const std::string& before) {
  return xmlList(
      "<dict>" + before + xmlEntry(std::string("<string>") + VERSION + "</string>") + "</dict>");
}

std::string repeated(const std::string& text, std::size_t count) {
  std::string result;
  for (std::size_t i = 0; i < count; ++i)
    result += text;
  return result;
}

// The same list, with something in it that only the whole parser takes.
std::string notPlain(const std::string& xml) {
  std::string list = xml;
  return list.insert(list.find("<dict>"), "<!-- -->");
}

std::string nestedXml(const std::string& open, const std::string& close, std::size_t depth) {
  return repeated(open, depth) + repeated(close, depth);
}

// --- Binary lists, by hand ---

using References = std::vector<std::size_t>;

std::string bigEndian(std::size_t number, std::size_t size) {
  std::string bytes;
  while (size-- > 0)
    bytes += static_cast<char>(number >> (8 * size) & 0xFF);
  return bytes;
}

std::string marker(unsigned kind, std::size_t count) {
  return count < 15 ? bigEndian(kind << 4 | count, 1)
                    : bigEndian(kind << 4 | 15, 1) + "\x12" + bigEndian(count, 4);
}

std::string text(const std::string& value) {
  return marker(0x5, value.size()) + value;
}

std::string utf16(const std::string& bytes) {
  return marker(0x6, bytes.size() / 2) + bytes;
}

std::string references(const References& objects) {
  std::string bytes;
  for (const auto object : objects)
    bytes += bigEndian(object, 2);
  return bytes;
}

std::string array(const References& values) {
  return marker(0xA, values.size()) + references(values);
}

std::string dictionary(const References& keys, const References& values) {
  return marker(0xD, keys.size()) + references(keys) + references(values);
}

// The first object is the top; references take two bytes.
std::string binaryList(const std::vector<std::string>& objects) {
  std::string list = "bplist00";
  std::string offsets;
  for (const auto& object : objects) {
    offsets += bigEndian(list.size(), 4);
    list += object;
  }
  const std::size_t table = list.size();
  return list + offsets + std::string(6, '\0') + "\4\2" + bigEndian(objects.size(), 8) +
         bigEndian(0, 8) + bigEndian(table, 8);
}

std::string binaryWithVersion(const std::string& versionObject) {
  return binaryList({dictionary({1}, {2}), text(KEY), versionObject});
}

// The version and beside it the object at 3.
std::string binaryBeside(const std::vector<std::string>& objects) {
  std::vector<std::string> all{
      dictionary({1, 4}, {2, 3}), text(KEY), text(VERSION), objects.front(), text("beside")};
  all.insert(all.end(), objects.begin() + 1, objects.end());
  return binaryList(all);
}

// Arrays in arrays; each refers so many times to the next.
std::string nestedArrays(std::size_t depth, std::size_t times, const std::string& innermost) {
  std::vector<std::string> objects{array(References(times, 5))};
  for (std::size_t level = 1; level < depth; ++level)
    objects.push_back(array(References(times, 5 + level)));
  objects.push_back(innermost);
  return binaryBeside(objects);
}

// What libplist itself makes of an XML list.
std::string toBinary(const std::string& xml) {
  plist_t list = nullptr;
  plist_from_xml(xml.data(), static_cast<std::uint32_t>(xml.size()), &list);
  char* bytes = nullptr;
  std::uint32_t size = 0;
  plist_to_bin(list, &bytes, &size);
  const std::string result(bytes, size);
  std::free(bytes);
  plist_free(list);
  return result;
}

// --- Hostile lists ---

struct NamedList {
  const char* name;
  std::string content;
};

// Each would cost a parser without bounds a crash, minutes or gigabytes.
std::vector<NamedList> hostileLists() {
  const std::string laughs =
      "<!DOCTYPE plist [<!ENTITY a \"ha\"><!ENTITY b \"&a;&a;\"><!ENTITY c \"&b;&b;\">]>";
  const std::string entities = "<string>" + repeated("&amp;", 20000) + "</string>";
  const std::string laughing = xmlList("<dict>" + xmlEntry("<string>&c;</string>") + "</dict>");
  return {
      {"arrays that share their entries", nestedArrays(40, 8, text("x"))},
      {"a long text shared many times", nestedArrays(2, 100, text(std::string(100 * 1024, 'x')))},
      {"a long UTF-16 text shared many times",
       nestedArrays(2, 100, utf16(repeated(std::string("\0x", 2), 50 * 1024)))},
      {"a short text shared many times", nestedArrays(2, 200, text("x"))},
      {"binary arrays, nested deep", nestedArrays(16000, 1, text("x"))},
      {"an array in itself", binaryBeside({array({3})})},
      {"an array that holds itself twice", binaryBeside({array({3, 3})})},
      {"two arrays, each in the other", binaryBeside({array({5}), array({3})})},
      {"a dictionary in itself", binaryList({dictionary({1}, {0}), text(KEY)})},
      {"a dictionary as its own key", binaryList({dictionary({0}, {1}), text(VERSION)})},
      {"a count beyond the end", binaryWithVersion("\x5F\x13\x7F\xFF\xFF\xFF\xFF\xFF\xFF\xFF")},
      {"a container's count beyond the end",
       binaryBeside({"\xAF\x13\x7F\xFF\xFF\xFF\xFF\xFF\xFF\xFF"})},
      {"a reference beyond the table", binaryBeside({array({999})})},
      {"XML arrays, nested deep", xmlList(nestedXml("<array>", "</array>", 8000))},
      {"XML arrays, opened only", repeated("<array>", 18000)},
      {"XML dictionaries, nested deep", xmlList(nestedXml("<dict><key>a</key>", "</dict>", 5000))},
      {"unknown XML elements, nested deep", xmlList(nestedXml("<a>", "</a>", 18000))},
      {"lists in lists", repeated("<plist>", 18000)},
      {"entities of entities", laughs + laughing},
      {"XML entities without end", xmlWithVersion(xmlEntry(entities, "a"))},
      {"XML keys without end", notPlain(xmlWithVersion(repeated(xmlEntry("<true/>", "k"), 5000)))},
  };
}

// --- The tests ---

class PropertyListFile : public testing::Test {
protected:
  std::string read(const std::string& content) const {
    fs::remove(file); // some file systems wait for the disk when a file is rewritten in place
    test::writeFile(file, content);
    return read();
  }

  std::string read() const { return PropertyList::readText(file, KEY); }

  const test::ScopedFolder folder;
  const fs::path file = folder.path() / "Info.plist";
};

// A quarter of what a thread of the launcher gets on the leanest systems.
void onASmallStack(const test::Body& body) {
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  ASSERT_EQ(pthread_attr_setstacksize(&attributes, 128 * 1024), 0);
  pthread_t thread{};
  const auto run = [](void* argument) -> void* {
    (*static_cast<const test::Body*>(argument))();
    return nullptr;
  };
  ASSERT_EQ(pthread_create(&thread, &attributes, run, const_cast<test::Body*>(&body)), 0);
  pthread_join(thread, nullptr);
  pthread_attr_destroy(&attributes);
}

long peakMegabytes() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss / 1024;
}

} // namespace

TEST_F(PropertyListFile, GivesTheTextUnderTheKey) {
  const std::string xml = xmlWithVersion(xmlEntry("<string>other</string>", "Other"));
  EXPECT_EQ(read(xml), VERSION);
  EXPECT_EQ(read(toBinary(xml)), VERSION);
  EXPECT_EQ(read(binaryWithVersion(text(VERSION))), VERSION);
  EXPECT_EQ(PropertyList::readText(file, "Other"), "");
  EXPECT_EQ(read(test::propertyList({{KEY, VERSION}})), VERSION);
}

TEST_F(PropertyListFile, GivesATextUnchanged) {
  for (const std::string value :
       {"", " 45.10 ", "45&amp;10", "two\nlines", "\xC3\xA9\xE2\x82\xAC", "\xF0\x9F\x98\x80"}) {
    SCOPED_TRACE(value);
    const std::string expected = value == "45&amp;10" ? "45&10" : value;
    const std::string xml =
        xmlList("<dict>" + xmlEntry("<string>" + value + "</string>") + "</dict>");
    EXPECT_EQ(read(xml), expected);
    EXPECT_EQ(read(toBinary(xml)), expected);
  }
}

TEST_F(PropertyListFile, GivesATextStoredAsUtf16) {
  EXPECT_EQ(
      read(binaryWithVersion(utf16(std::string("\0004\0005\0.\0001\x20\xAC", 10)))),
      "45.1\xE2\x82\xAC");
}

TEST_F(PropertyListFile, GivesNothingForAMissingKey) {
  const std::string others = xmlEntry("<string>1</string>", "CFBundleVersion") +
                             xmlEntry("<string>1</string>", "cfbundleshortversionstring");
  for (const std::string& xml :
       {xmlList("<dict/>"),
        xmlList("<dict>" + others + "</dict>"),
        xmlList(
            "<dict><key>nested</key><dict>" + xmlEntry("<string>1</string>") + "</dict></dict>")}) {
    SCOPED_TRACE(xml);
    EXPECT_EQ(read(xml), "");
    EXPECT_EQ(read(toBinary(xml)), "");
  }
}

TEST_F(PropertyListFile, GivesNothingForAValueThatIsNoText) {
  for (const std::string value :
       {"<integer>45</integer>",
        "<real>45.1</real>",
        "<true/>",
        "<data>NDUuMTA=</data>",
        "<date>2026-03-07T14:05:09Z</date>",
        "<array><string>45.10</string></array>",
        "<dict><key>a</key><string>45.10</string></dict>"}) {
    SCOPED_TRACE(value);
    const std::string xml = xmlList("<dict>" + xmlEntry(value) + "</dict>");
    EXPECT_EQ(read(xml), "");
    EXPECT_EQ(read(toBinary(xml)), "");
  }
  EXPECT_EQ(read(binaryWithVersion("\x80\x2D")), "") << "a reference of an archive";
  EXPECT_EQ(read(binaryWithVersion(std::string(1, '\0'))), "") << "null";
}

TEST_F(PropertyListFile, GivesNothingForAListThatIsNoDictionary) {
  for (const std::string top :
       {"<array><string>45.10</string></array>", "<string>45.10</string>", ""}) {
    SCOPED_TRACE(top);
    EXPECT_EQ(read(xmlList(top)), "");
  }
  EXPECT_EQ(read(binaryList({text(VERSION)})), "");
  EXPECT_EQ(read(binaryList({array({1}), text(VERSION)})), "");
}

TEST_F(PropertyListFile, GivesNothingForATextThatIsNotValid) {
  const auto xmlWith = [](const std::string& value) {
    return xmlList("<dict>" + xmlEntry("<string>" + value + "</string>") + "</dict>");
  };
  const std::string nul("45.\0.10", 7);
  EXPECT_EQ(read(xmlWith(nul)), "") << "NUL";
  EXPECT_EQ(read(xmlWith("45&#0;10")), "") << "NUL by number";
  EXPECT_EQ(read(xmlWith("45\xFF")), "") << "not UTF-8";
  EXPECT_EQ(read(binaryWithVersion(text("45\xFF"))), "") << "not UTF-8, binary";
  // Here the parser takes what stands before.
  const std::string halfAPair("\0004\0005\xD8\0", 6);
  EXPECT_THAT(read(binaryWithVersion(text(nul))), AnyOf("", "45.")) << "NUL, binary";
  EXPECT_THAT(read(binaryWithVersion(utf16(halfAPair))), AnyOf("", "45")) << "half a pair";
}

TEST_F(PropertyListFile, GivesNothingForOtherEncodingsAndFormats) {
  const std::string xml = xmlWithVersion("");
  std::string wide = "\xFE\xFF";
  for (const char c : xml)
    wide += std::string(1, '\0') + c;
  EXPECT_EQ(read(wide), "") << "UTF-16";
  EXPECT_EQ(read("\xEF\xBB\xBF" + xml), "") << "byte-order mark";
  EXPECT_EQ(read(std::string("{ \"") + KEY + "\": \"45.10\" }"), "") << "JSON";
  EXPECT_EQ(read(std::string("{ ") + KEY + " = \"45.10\"; }"), "") << "old style";
  EXPECT_EQ(read(std::string(4096, '\0')), "") << "zeros";
  EXPECT_EQ(read("bplist00"), "") << "a bare head";
  EXPECT_EQ(read("bplist01" + binaryWithVersion(text(VERSION)).substr(8)), "") << "another format";
  EXPECT_EQ(read(""), "") << "nothing";
}

TEST_F(PropertyListFile, GivesNothingForABinaryListCutAnywhere) {
  const std::string list = toBinary(xmlWithVersion(xmlEntry("<string>other</string>", "Other")));
  for (std::size_t size = 0; size < list.size(); ++size)
    EXPECT_EQ(read(list.substr(0, size)), "") << "cut to " << size;
}

TEST_F(PropertyListFile, GivesNothingOrTheWholeTextForAnXmlListCutAnywhere) {
  const std::string list = xmlWithVersion(xmlEntry("<string>other</string>", "Other"));
  const std::size_t endOfText = list.find("</string></dict>") + 9;
  for (std::size_t size = 0; size < list.size(); ++size) {
    SCOPED_TRACE("cut to " + std::to_string(size));
    EXPECT_THAT(read(list.substr(0, size)), AnyOf("", VERSION));
    if (size < endOfText) {
      EXPECT_EQ(read(), "");
    }
  }
}

TEST_F(PropertyListFile, SurvivesAnyByteChanged) {
  const std::string xml = xmlWithVersion(xmlEntry("<array><integer>1</integer></array>", "Other"));
  for (const std::string& list : {xml, toBinary(xml)}) {
    for (std::size_t position = 0; position < list.size(); ++position) {
      for (const char change : {'\x01', '\x10', '\x80', '\xFF'}) {
        std::string changed = list;
        changed[position] = static_cast<char>(changed[position] ^ change);
        EXPECT_LE(read(changed).size(), list.size());
      }
    }
  }
}

TEST_F(PropertyListFile, GivesNothingForAnOversizedFile) {
  const std::string list = xmlWithVersion("");
  const std::string filling(MAXIMUM_SIZE - list.size(), '\n');
  EXPECT_EQ(read(list + filling), VERSION);
  EXPECT_EQ(read(list + filling + '\n'), "");
  fs::resize_file(file, std::uintmax_t{1} << 30);
  EXPECT_EQ(read(), "");
}

TEST_F(PropertyListFile, GivesNothingForWhatIsNoRegularFile) {
  EXPECT_EQ(read(), "") << "missing";
  EXPECT_EQ(PropertyList::readText(folder.path() / "missing" / "Info.plist", KEY), "");
  EXPECT_EQ(PropertyList::readText("", KEY), "");
  ASSERT_EQ(::mkfifo(file.c_str(), 0600), 0);
  EXPECT_EQ(read(), "") << "pipe without a writer";
  fs::remove(file);
  fs::create_directory(file);
  EXPECT_EQ(read(), "") << "folder";
  fs::remove(file);
  for (const char* target :
       {"/dev/zero",
        "/dev/null",
        "/dev/tty",
        "/dev/ptmx",
        "/proc/self/environ",
        "Info.plist",
        "missing"}) {
    SCOPED_TRACE(target);
    fs::create_symlink(target, file);
    EXPECT_EQ(read(), "");
    fs::remove(file);
  }
}

TEST_F(PropertyListFile, IsReadThroughALink) {
  test::writeFile(folder.path() / "target", xmlWithVersion(""));
  fs::create_symlink("target", file);
  EXPECT_EQ(read(), VERSION);
}

TEST_F(PropertyListFile, GivesNothingWhereItMayNotBeRead) {
  test::writeFile(file, xmlWithVersion(""));
  test::asUnprivilegedUser(folder.path(), [&] {
    EXPECT_EQ(read(), VERSION);
    const test::ScopedPermissions unreadable(file, fs::perms::none);
    EXPECT_EQ(read(), "");
    const test::ScopedPermissions unsearchable(folder.path(), fs::perms::none);
    EXPECT_EQ(read(), "");
  });
}

TEST_F(PropertyListFile, LeavesNoDescriptorOpen) {
  const auto descriptors = [] {
    return std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator());
  };
  const auto before = descriptors();
  read(xmlWithVersion(""));
  read("no list");
  EXPECT_EQ(descriptors(), before);
}

TEST_F(PropertyListFile, GivesTheTextBesideSharedAndNestedEntriesOfRealLists) {
  EXPECT_EQ(read(nestedArrays(60, 1, text("x"))), VERSION) << "nested";
  EXPECT_EQ(read(nestedArrays(2, 100, text("shared"))), VERSION) << "shared";
  EXPECT_EQ(read(binaryList({dictionary({1, 2}, {2, 2}), text(KEY), text(VERSION)})), VERSION);
  EXPECT_EQ(
      read(xmlWithVersion(xmlEntry(nestedXml("<array>", "</array>", 400), "nested"))), VERSION);
  std::string entries;
  for (int i = 0; i < 900; ++i)
    entries += xmlEntry("<true/>", "k" + std::to_string(i));
  EXPECT_EQ(read(notPlain(xmlWithVersion(entries))), VERSION) << "many keys";
}

TEST_F(PropertyListFile, GivesTheSameForPlainAndOtherXml) {
  const std::string pieces[] = {
      xmlEntry("<string>45.10</string>"),
      xmlEntry("<string> 45.11\n</string>"),
      xmlEntry("<string></string>"),
      xmlEntry("<string/>"),
      xmlEntry("<integer>45</integer>"),
      xmlEntry("<dict>" + xmlEntry("<string>inner</string>") + "</dict>", "nested"),
      xmlEntry("<array><string>a</string><array/><dict></dict></array>", "list"),
      xmlEntry("<array>" + xmlEntry("<string>inner</string>") + "</array>", "key in a list"),
      xmlEntry("<integer>-1</integer>", ""),
      xmlEntry("<integer>no number</integer>", "odd"),
      xmlEntry("<integer></integer>", "odd"),
      xmlEntry("<real>1.5e3</real>", "real"),
      xmlEntry("<real>no number</real>", "real"),
      xmlEntry("<true/>", " spaces "),
      xmlEntry("<string>a > b ]]> c</string>", "signs"),
      xmlEntry("<string>\xFF</string>", "not UTF-8"),
      "<key>without value</key>",
      "<string>without key</string>",
      "</dict>",
      " \n\t\r",
      "text",
  };
  const std::string endings[] = {"", "", "\n \n", "text", "<dict/>", "</plist>"};
  std::mt19937 random(20260307); // the same on every run
  for (int i = 0; i < 400; ++i) {
    std::string entries;
    for (std::size_t count = random() % 5; count > 0; --count)
      entries += pieces[random() % std::size(pieces)];
    const std::string list =
        xmlList("<dict>" + entries + "</dict>") + endings[random() % std::size(endings)];
    ASSERT_EQ(read(list), read(notPlain(list))) << list;
  }
}

TEST_F(PropertyListFile, GivesNothingForHostileContent) {
  test::inChildProcess([&] {
    const rlimit seconds{30, 30}; // of processor time; then the child is ended
    ASSERT_EQ(::setrlimit(RLIMIT_CPU, &seconds), 0);
    for (const auto& list : hostileLists()) {
      SCOPED_TRACE(list.name);
      EXPECT_LE(list.content.size(), MAXIMUM_SIZE) << "refused for its size alone";
      const long before = peakMegabytes();
      EXPECT_EQ(read(list.content), "");
      EXPECT_LE(peakMegabytes() - before, 256);
    }
  });
}

TEST_F(PropertyListFile, IsReadOnASmallStackWhateverItHolds) {
  test::inChildProcess([&] {
    onASmallStack([&] {
      for (const auto& list : hostileLists()) {
        SCOPED_TRACE(list.name);
        EXPECT_EQ(read(list.content), "");
      }
      EXPECT_EQ(read(nestedArrays(60, 1, text("x"))), VERSION);
      const std::string deepest = nestedXml("<array>", "</array>", 498);
      EXPECT_EQ(read(xmlWithVersion(xmlEntry(deepest, "nested"))), VERSION);
    });
  });
}
