#include "linux/PropertyList.h"

#include "Fork.h"
#include "Home.h"
#include "HostileLists.h"
#include "PlistOracle.h"

#include <gmock/gmock.h>

#include <iterator>
#include <pthread.h>
#include <sys/resource.h>
#include <sys/stat.h>

namespace fs = std::filesystem;
namespace Binary = test::Binary;

using test::VERSION;
using test::VERSION_KEY;
using test::xmlList;
using test::xmlWithVersion;
using testing::AnyOf;

namespace {

constexpr std::size_t MAXIMUM_SIZE = 256 * 1024;

std::string entry(const std::string& value, const std::string& key = VERSION_KEY) {
  return "<key>" + key + "</key>" + value;
}

std::string xmlWithValue(const std::string& value) {
  return xmlList("<dict>" + entry(value) + "</dict>");
}

std::string xmlWithText(const std::string& text) {
  return xmlWithValue("<string>" + text + "</string>");
}

std::string toBinary(const std::string& xml) {
  return test::PlistOracle(xml).toBinary();
}

class List : public testing::Test {
protected:
  std::string read(const std::string& content) const {
    fs::remove(file); // some file systems wait for the disk when a file is rewritten in place
    test::writeFile(file, content);
    return read();
  }

  std::string read() const { return PropertyList::readText(file, VERSION_KEY); }

  const test::ScopedFolder folder;
  const fs::path file = folder.path() / "Info.plist";
};

// What the system itself, at the least, gives a thread.
void onSmallStack(const test::Body& body) {
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  ASSERT_EQ(pthread_attr_setstacksize(&attributes, 64 * 1024), 0);
  pthread_t thread{};
  const auto run = [](void* argument) -> void* {
    (*static_cast<const test::Body*>(argument))();
    return nullptr;
  };
  ASSERT_EQ(pthread_create(&thread, &attributes, run, const_cast<test::Body*>(&body)), 0);
  pthread_join(thread, nullptr);
  pthread_attr_destroy(&attributes);
}

} // namespace

// --- Texts ---

TEST_F(List, GivesText) {
  const std::string xml = xmlWithVersion(entry("<string>other</string>", "Other"));
  EXPECT_EQ(read(xml), VERSION);
  EXPECT_EQ(read(toBinary(xml)), VERSION);
  EXPECT_EQ(PropertyList::readText(file, "Other"), "other");
  EXPECT_EQ(read(Binary::withVersion(Binary::text(VERSION))), VERSION);
  EXPECT_EQ(read(test::propertyList({{VERSION_KEY, VERSION}})), VERSION);
}

TEST_F(List, KeepsText) {
  const std::pair<std::string, std::string> texts[] = {
      {"", ""},
      {" 45.10 ", " 45.10 "},
      {"two\n\tlines", "two\n\tlines"},
      {"a > b", "a > b"},
      {"\xC3\xA9\xE2\x82\xAC", "\xC3\xA9\xE2\x82\xAC"},
      {"\xF0\x9F\x98\x80", "\xF0\x9F\x98\x80"},
      {"&amp;&lt;&gt;&quot;&apos;", "&<>\"'"},
      {"&#52;5&#x2E;1&#x20AC;&#x1F600;", "45.1\xE2\x82\xAC\xF0\x9F\x98\x80"},
      {"&amp;lt;", "&lt;"},
      {"45<!-- < & </string> -->.10", "45.10"},
      {"<![CDATA[<45>&amp;]]>.<![CDATA[]]>10", "<45>&amp;.10"},
  };
  for (const auto& [raw, text] : texts) {
    SCOPED_TRACE(raw);
    EXPECT_EQ(read(xmlWithText(raw)), text);
    EXPECT_EQ(read(toBinary(xmlWithText(raw))), text);
  }
  EXPECT_EQ(read(xmlWithText("two\r\nlines\r")), "two\nlines\n") << "as XML reads line ends";
}

TEST_F(List, SkipsMarkup) {
  const std::string document =
      "<!DOCTYPE plist PUBLIC \"-//A//DTD PLIST 1.0//EN\" \"http://a/b.dtd\">";
  const std::string comment = "<!-- <plist><dict>" + entry("<string>no</string>") + "-->";
  const std::string key = "<key>" + std::string(VERSION_KEY) + "</key>";
  const std::string value = "<string>" + std::string(VERSION) + "</string>";
  const std::string lists[] = {
      "<plist><dict>" + key + value + "</dict></plist>",
      "<?xml version=\"1.0\"?>" + document + xmlWithVersion().substr(39),
      comment + "<plist>" + comment + "<dict>" + comment + key + comment + value + comment +
          "</dict>" + comment + "</plist>" + comment + "\n",
      "<?a > b?><plist><?a?><dict>" + key + "<?a?>" + value + "</dict></plist><?a?>",
      "\n<plist\n version = '1.0' >\t<dict a=\"b\">\r\n" + key + " " + value +
          " </dict\n> </plist > ",
      "<plist><dict><key >" + key.substr(5) + "<string\t>" + value.substr(8) + "</dict></plist>",
      "<plist><dict><key>CFBundle<!---->Short&#86;ersion<![CDATA[String]]></key>" + value +
          "</dict></plist>",
      xmlWithVersion(entry("<array/>", "a") + entry("<dict />", "b") + entry("<string/>", "c")),
      xmlWithVersion(
          entry("<data>\n\tAAEC\n</data>", "a") + entry("<true/>", "b") +
          entry("<date>2026-03-07T14:05:09Z</date>", "c") + entry("<integer>-1</integer>", "d") +
          entry("<real>1.5e3</real>", "e") + entry("<false></false>", "f") +
          "<key></key><string>g</string>"),
      xmlWithVersion(
          entry("<string>&amp;<![CDATA[</string>]]><!--</string>--></string>", "a&amp;b")),
      xmlWithVersion(entry(
          "<array><string>" + std::string(VERSION_KEY) + "</string><string>no</string></array>",
          "a")),
  };
  for (const auto& list : lists) {
    SCOPED_TRACE(list);
    EXPECT_EQ(read(list), VERSION);
    EXPECT_TRUE(test::PlistOracle(list).isDictionary());
  }
}

TEST_F(List, SeesTopKeysOnly) {
  const std::string inner = "<dict>" + entry("<string>inner</string>") + "</dict>";
  for (const std::string& value :
       {inner,
        "<array>" + inner + inner + "</array>",
        "<array><array>" + inner + "</array></array>"}) {
    SCOPED_TRACE(value);
    for (const std::string& xml :
         {xmlWithVersion(entry(value, "a")),
          xmlList("<dict>" + entry("<string>45</string>") + entry(value, "a") + "</dict>")}) {
      EXPECT_THAT(read(xml), AnyOf(VERSION, "45"));
      EXPECT_THAT(read(toBinary(xml)), AnyOf(VERSION, "45"));
    }
    EXPECT_EQ(read(xmlList("<dict>" + entry(value, "a") + "</dict>")), "");
    EXPECT_EQ(read(toBinary(xmlList("<dict>" + entry(value, "a") + "</dict>"))), "");
  }
}

TEST_F(List, TakesOneOfRepeatedKeys) {
  const std::string text = entry("<string>text</string>");
  EXPECT_EQ(read(xmlWithVersion(text)), VERSION) << "the last in XML";
  EXPECT_EQ(read(xmlList("<dict>" + text + entry("<true/>") + "</dict>")), "");
  const auto twice = [](const std::string& first, const std::string& second) {
    return Binary::list(
        {Binary::dictionary({1, 1}, {2, 3}), Binary::text(VERSION_KEY), first, second});
  };
  EXPECT_EQ(read(twice(Binary::text("1"), Binary::text("2"))), "1") << "the first in binary";
  EXPECT_EQ(read(twice("\x09", Binary::text("2"))), "");
}

// --- The binary form ---

TEST_F(List, ReadsUtf16) {
  EXPECT_EQ(read(Binary::withVersion(Binary::utf16(u"45.1\u20AC"))), "45.1\xE2\x82\xAC");
  EXPECT_EQ(read(Binary::withVersion(Binary::utf16(u"\U0001F600"))), "\xF0\x9F\x98\x80");
  EXPECT_EQ(read(Binary::withVersion(Binary::utf16(u""))), "");
}

TEST_F(List, ReadsAllWidths) {
  for (std::size_t offset = 1; offset <= 8; ++offset) {
    for (std::size_t reference = 1; reference <= 8; ++reference) {
      const std::string top = Binary::dictionary({1, 2}, {1, 3}, reference);
      EXPECT_EQ(
          read(Binary::list(
              {top, Binary::text("a"), Binary::text(VERSION_KEY), Binary::text(VERSION)},
              offset,
              reference)),
          VERSION)
          << offset << ", " << reference;
    }
  }
}

TEST_F(List, ReadsLongCounts) {
  const std::string ascii(20, 'x');
  for (const std::size_t power : {0, 1, 2, 3}) {
    const std::string count =
        Binary::number(0x10 | power, 1) + Binary::number(20, std::size_t{1} << power);
    EXPECT_EQ(read(Binary::withVersion("\x5F" + count + ascii)), ascii);
    EXPECT_EQ(
        read(Binary::withVersion("\x6F" + count + test::repeated(std::string("\0x", 2), 20))),
        ascii);
  }
  EXPECT_EQ(read(Binary::withVersion("\x5F\x14" + Binary::number(20, 16) + ascii)), "")
      << "16 bytes";
  EXPECT_EQ(read(Binary::withVersion("\x5F\x20\x14" + ascii)), "") << "no integer";
  std::string entries;
  for (int i = 0; i < 900; ++i)
    entries += entry("<true/>", "k" + std::to_string(i));
  EXPECT_EQ(read(toBinary(xmlWithVersion(entries))), VERSION) << "many entries";
}

// --- No text ---

TEST_F(List, GivesNoMissingKey) {
  const std::string others = entry("<string>1</string>", "CFBundleVersion") +
                             entry("<string>1</string>", "cfbundleshortversionstring") +
                             entry("<string>1</string>", "CFBundleShortVersionStrings");
  for (const std::string& xml :
       {xmlList("<dict/>"), xmlList("<dict></dict>"), xmlList("<dict>" + others + "</dict>")}) {
    SCOPED_TRACE(xml);
    EXPECT_EQ(read(xml), "");
    EXPECT_EQ(read(toBinary(xml)), "");
  }
}

TEST_F(List, GivesNoOtherValue) {
  for (const std::string value :
       {"<integer>45</integer>",
        "<real>45.1</real>",
        "<true/>",
        "<data>NDUuMTA=</data>",
        "<date>2026-03-07T14:05:09Z</date>",
        "<array><string>45.10</string></array>",
        "<dict><key>a</key><string>45.10</string></dict>"}) {
    SCOPED_TRACE(value);
    EXPECT_EQ(read(xmlWithValue(value)), "");
    EXPECT_EQ(read(toBinary(xmlWithValue(value))), "");
  }
  EXPECT_EQ(read(Binary::withVersion("\x80\x2D")), "") << "a reference of an archive";
  EXPECT_EQ(read(Binary::withVersion(std::string(1, '\0'))), "") << "null";
}

TEST_F(List, GivesNoOtherTop) {
  for (const std::string top :
       {"<array><string>45.10</string></array>",
        "<array><string>CFBundleShortVersionString</string><string>45.10</string></array>",
        "<string>45.10</string>",
        ""}) {
    SCOPED_TRACE(top);
    EXPECT_EQ(read(xmlList(top)), "");
  }
  const std::string version = Binary::text(VERSION);
  EXPECT_EQ(read(Binary::list({version})), "");
  EXPECT_EQ(read(Binary::list({Binary::array({1, 2}), Binary::text(VERSION_KEY), version})), "");
}

TEST_F(List, GivesNoInvalidText) {
  const std::string nul("45.\0.10", 7);
  for (const std::string& text :
       {nul,
        std::string("45&#0;10"),
        std::string("45\xFF"),
        std::string("45&#xD800;"),
        std::string("45&#x110000;"),
        std::string("45&"),
        std::string("45&;"),
        std::string("45&#;"),
        std::string("45&nbsp;"),
        std::string("45&amp")}) {
    SCOPED_TRACE(text);
    EXPECT_EQ(read(xmlWithText(text)), "");
  }
  EXPECT_EQ(read(Binary::withVersion(Binary::text(nul))), "") << "NUL";
  EXPECT_EQ(read(Binary::withVersion(Binary::text("45\xC3\xA9"))), "") << "not ASCII";
  EXPECT_EQ(read(Binary::withVersion(Binary::utf16(std::u16string(u"45\0", 3)))), "")
      << "NUL in UTF-16";
  for (const char16_t half : {u'\xD800', u'\xDC00'})
    EXPECT_EQ(read(Binary::withVersion(Binary::utf16(std::u16string(u"45") + half))), "")
        << "half a pair";
  EXPECT_EQ(read(Binary::withVersion(Binary::utf16(std::u16string{u'\xD800', u'5'}))), "")
      << "half a pair";
}

TEST_F(List, GivesNoMalformedXml) {
  const std::string entries = entry("<string>45</string>");
  const std::string lists[] = {
      "<dict>" + entries + "</dict>",
      "<plist><plist><dict>" + entries + "</dict></plist></plist>",
      "<plist><dict>" + entries + "</dict></dict></plist>",
      "<plist><dict>" + entries + "</array></plist>",
      "<plist><dict>" + entries + "</plist>",
      "<plist><dict>" + entries + "</dict><dict/></plist>",
      "<plist><dict>" + entries + "</dict></plist><plist/>",
      "<plist><dict>" + entries + "</dict></plist>text",
      "text<plist><dict>" + entries + "</dict></plist>",
      "\xEF\xBB\xBF<plist><dict>" + entries + "</dict></plist>",
      "<plist><dict>text" + entries + "</dict></plist>",
      "<plist><dict>" + entries + "text</dict></plist>",
      "<plist><dict>" + entries + "<key>a</key></dict></plist>",
      "<plist><dict><key>a</key>" + entries + "</dict></plist>",
      "<plist><dict><string>a</string>" + entries + "</dict></plist>",
      "<plist><dict>" + entry("<string>45</integer>") + "</dict></plist>",
      "<plist><dict>" + entry("<string><true/></string>") + "</dict></plist>",
      "<plist><dict>" + entry("<string>45<string>") + "</dict></plist>",
      "<plist><dict>" + entry("<string>45</string") + "</dict></plist>",
      "<plist><dict>" + entry("<string>45<!-- </string>") + "</dict></plist>",
      "<plist><dict>" + entry("<string>45<![CDATA[</string>") + "</dict></plist>",
      "<plist><dict>" + entries + "<!-- </dict></plist>",
      "<plist><dict>" + entries + "<></dict></plist>",
  };
  for (const auto& list : lists)
    EXPECT_EQ(read(list), "") << list;
}

TEST_F(List, GivesNoOtherFormat) {
  const std::string xml = xmlWithVersion();
  std::string wide = "\xFE\xFF";
  for (const char c : xml)
    wide += std::string(1, '\0') + c;
  EXPECT_EQ(read(wide), "") << "UTF-16";
  EXPECT_EQ(read(std::string("{ \"") + VERSION_KEY + "\": \"45.10\" }"), "") << "JSON";
  EXPECT_EQ(read(std::string("{ ") + VERSION_KEY + " = \"45.10\"; }"), "") << "old style";
  EXPECT_EQ(read(std::string(4096, '\0')), "") << "zeros";
  EXPECT_EQ(read("bplist00"), "") << "a bare head";
  EXPECT_EQ(read("bplist01" + Binary::withVersion(Binary::text(VERSION)).substr(8)), "");
  EXPECT_EQ(read(""), "") << "nothing";
}

TEST_F(List, GivesNoCutText) {
  const std::string xml = xmlWithVersion(entry("<string>other</string>", "Other"));
  for (std::size_t size = 0; size + 1 < xml.size(); ++size)
    EXPECT_EQ(read(xml.substr(0, size)), "") << "cut to " << size;
  const std::string binary = toBinary(xml);
  for (std::size_t size = 0; size < binary.size(); ++size)
    EXPECT_EQ(read(binary.substr(0, size)), "") << "cut to " << size;
}

TEST_F(List, SurvivesChangedBytes) {
  const std::string xml = xmlWithVersion(entry("<array><integer>1</integer></array>", "Other"));
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

// --- Files ---

TEST_F(List, IsSmall) {
  const std::string list = xmlWithVersion();
  const std::string filling(MAXIMUM_SIZE - list.size(), '\n');
  EXPECT_EQ(read(list + filling), VERSION);
  EXPECT_EQ(read(list + filling + '\n'), "");
  fs::resize_file(file, std::uintmax_t{1} << 30);
  EXPECT_EQ(read(), "");
}

TEST_F(List, IsRegularFile) {
  EXPECT_EQ(read(), "") << "missing";
  EXPECT_EQ(PropertyList::readText(folder.path() / "missing" / "Info.plist", VERSION_KEY), "");
  EXPECT_EQ(PropertyList::readText("", VERSION_KEY), "");
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

TEST_F(List, MayBeLink) {
  test::writeFile(folder.path() / "target", xmlWithVersion());
  fs::create_symlink("target", file);
  EXPECT_EQ(read(), VERSION);
}

TEST_F(List, NeedsPermission) {
  test::writeFile(file, xmlWithVersion());
  test::asUnprivilegedUser(folder.path(), [&] {
    EXPECT_EQ(read(), VERSION);
    const test::ScopedPermissions unreadable(file, fs::perms::none);
    EXPECT_EQ(read(), "");
    const test::ScopedPermissions unsearchable(folder.path(), fs::perms::none);
    EXPECT_EQ(read(), "");
  });
}

// The system's own attributes say that they are of a page's size, and are shorter.
TEST_F(List, MayEndEarly) {
  const fs::path attribute = "/sys/devices/system/cpu/online";
  std::error_code error;
  if (fs::file_size(attribute, error) <= test::readFile(attribute).size() || error)
    GTEST_SKIP() << "no file here is shorter than its size";
  test::inChildProcess([&] {
    const rlimit seconds{10, 10}; // of processor time; then the child is ended
    ASSERT_EQ(::setrlimit(RLIMIT_CPU, &seconds), 0);
    EXPECT_EQ(PropertyList::readText(attribute, VERSION_KEY), "");
  });
}

TEST_F(List, LeavesNoDescriptor) {
  const auto descriptors = [] {
    return std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator());
  };
  const auto before = descriptors();
  read(xmlWithVersion());
  read("no list");
  EXPECT_EQ(descriptors(), before);
}

TEST_F(List, NeedsLittleStack) {
  test::inChildProcess([&] {
    onSmallStack([&] {
      for (const auto& list : test::hostileLists()) {
        SCOPED_TRACE(list.name);
        EXPECT_LE(list.content.size(), MAXIMUM_SIZE) << "refused for its size alone";
        EXPECT_EQ(read(list.content), list.version);
      }
    });
  });
}
