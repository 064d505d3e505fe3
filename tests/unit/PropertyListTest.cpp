#include "linux/PropertyList.h"

#include "Fork.h"
#include "Home.h"
#include "PlistOracle.h"
#include "PropertyLists.h"

#include <gmock/gmock.h>

#include <fcntl.h>
#include <iterator>
#include <sys/inotify.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;

using namespace test;

namespace {

constexpr std::size_t MAXIMUM_SIZE = 256 * 1024;

std::string toBinary(const std::string& xml) {
  return test::PlistOracle(xml).toBinary();
}

class List : public testing::Test {
protected:
  using Problem = Platform::ListProblem;

  std::string read(const std::string& content) const {
    fs::remove(file); // some file systems wait for the disk when a file is rewritten in place
    test::writeFile(file, content);
    return read();
  }

  std::string read() const { return PropertyList::read(file, VERSION_KEY).text; }

  Problem problem(const std::string& content) const {
    const std::string text = read(content);
    const Problem problem = PropertyList::read(file, VERSION_KEY).problem;
    EXPECT_TRUE(text.empty() || problem == Problem::None) << content;
    return problem;
  }

  void expectInBothForms(const std::string& xml, const std::string& text) const {
    EXPECT_EQ(read(xml), text) << xml;
    EXPECT_EQ(read(toBinary(xml)), text) << "the binary form of " << xml;
  }

  const test::ScopedDirectory folder;
  const fs::path file = folder.path() / "Info.plist";
};

} // namespace

TEST_F(List, NamesProblem) {
  const std::pair<std::string, Problem> rows[] = {
      {xmlWithVersion(), Problem::None},
      {xmlWithEntries(xmlTextEntry("")), Problem::None},
      {xmlWithEntries(xmlEntry("<integer>45</integer>")), Problem::NoText},
      {xmlWithEntries(xmlEntry("<string>45</string>", "CFBundleVersion")), Problem::NoKey},
      {xmlWithEntries(xmlEntry("<string>45</string>", "cfbundleshortversionstring")),
       Problem::NoKey},
      {xmlWithEntries(xmlEntry("<string>45</string>", "CFBundleShortVersionStrings")),
       Problem::NoKey},
      {xmlList("<dict/>"), Problem::NoKey},
      {xmlList("<dict></dict>"), Problem::NoKey},
      {xmlList("<string>45.10</string>"), Problem::NoDictionary},
      {xmlList("<array><string>CFBundleShortVersionString</string><string>45</string></array>"),
       Problem::NoDictionary}};
  for (const auto& [xml, expected] : rows) {
    EXPECT_EQ(problem(xml), expected) << xml;
    EXPECT_EQ(problem(toBinary(xml)), expected) << "the binary form of " << xml;
  }
  const std::string key = VERSION_KEY;
  const std::string otherFormat = "bplist01" + Binary::withVersion(Binary::text(VERSION)).substr(8);
  for (const std::string& list :
       {"{ \"" + key + "\": \"45.10\" }",
        "{ " + key + " = \"45.10\"; }",
        std::string(4096, '\0'),
        std::string("bplist00"),
        otherFormat,
        std::string()})
    EXPECT_EQ(problem(list), Problem::Malformed) << list;
  EXPECT_EQ(problem(std::string(MAXIMUM_SIZE + 1, ' ')), Problem::TooLarge);
  fs::remove(file);
  EXPECT_EQ(PropertyList::read(file, VERSION_KEY).problem, Problem::Unreadable);
}

// --- Texts ---

TEST_F(List, GivesText) {
  const std::string xml = xmlWithVersion(xmlEntry("<string>other</string>", "Other"));
  expectInBothForms(xml, VERSION);
  EXPECT_EQ(PropertyList::read(file, "Other").text, "other");
  EXPECT_EQ(read(Binary::withVersion(Binary::text(VERSION))), VERSION);
  EXPECT_EQ(read(test::propertyList({{VERSION_KEY, VERSION}})), VERSION);
}

TEST_F(List, KeepsText) {
  for (const std::string text :
       {"", " 45.10 ", "two\n\tlines", "a > b", "\xC3\xA9\xE2\x82\xAC", "\xF0\x9F\x98\x80"})
    expectInBothForms(xmlWithEntries(xmlTextEntry(text)), text);
  EXPECT_EQ(read(xmlWithEntries(xmlTextEntry("1\r\n2\r"))), "1\n2\n") << "as XML reads line ends";
}

TEST_F(List, DecodesText) {
  const std::pair<const char*, const char*> texts[] = {
      {"&amp;&lt;&gt;&quot;&apos;", "&<>\"'"},
      {"&#52;5&#x2E;1&#x20AC;&#x1F600;", "45.1\xE2\x82\xAC\xF0\x9F\x98\x80"},
      {"&amp;lt;", "&lt;"},
      {"45<!-- < & </string> -->.10", "45.10"},
      {"<![CDATA[<45>&amp;]]>.<![CDATA[<!---->]]>10", "<45>&amp;.<!---->10"},
  };
  for (const auto& [raw, text] : texts)
    expectInBothForms(xmlWithEntries(xmlTextEntry(raw)), text);
  EXPECT_EQ(read(xmlWithEntries(xmlTextEntry("45<?a </string>?>.10"))), "45.10");
}

TEST_F(List, DecodesFile) {
  const std::u16string wide = u"\uFEFF<plist><dict><key>CFBundleShortVersionString</key>"
                              u"<string>45.1\u20AC\U0001F600</string></dict></plist>";
  const std::string text = "45.1\xE2\x82\xAC\xF0\x9F\x98\x80";
  EXPECT_EQ(read(test::inUtf16(wide, true)), text) << "big-endian";
  EXPECT_EQ(read(test::inUtf16(wide, false)), text) << "little-endian";
  EXPECT_EQ(problem(test::inUtf16(wide, true) + "\n"), Problem::Malformed) << "half a unit";
  EXPECT_EQ(read("\xEF\xBB\xBF" + xmlWithEntries(xmlTextEntry(text))), text) << "UTF-8, marked";
  const auto declared = [](const std::string& encoding) {
    return "<?xml version=\"1.0\" encoding=\"" + encoding + "\"?><plist><dict>" +
           xmlTextEntry("45\xC3\xA9") + "</dict></plist>";
  };
  EXPECT_EQ(read(declared("utf-8")), "45\xC3\xA9");
  EXPECT_EQ(read(declared("ISO-8859-1")), "45\xC3\x83\xC2\xA9");
  for (const char* wrong : {"UTF-16", "US-ASCII"})
    EXPECT_EQ(problem(declared(wrong)), Problem::Malformed) << wrong;
  for (const char* other : {"UTF-32", "windows-1252", "Shift_JIS", "other"})
    EXPECT_EQ(problem(declared(other)), Problem::UnknownEncoding) << other;
}

TEST_F(List, SkipsMarkup) {
  const std::string comment = "<!-- <plist><dict>" + xmlTextEntry("no") + "-->";
  const std::string value = "<string>" + std::string(VERSION) + "</string>";
  const std::string version = xmlEntry(value);
  const std::string lists[] = {
      "<plist><dict>" + version + "</dict></plist>",
      "<?xml version=\"1.0\"?><!DOCTYPE plist PUBLIC \"-//A//DTD PLIST 1.0//EN\" "
      "\"http://a/b.dtd\">\n<plist><dict>" +
          version + "</dict></plist>\n",
      "<!DOCTYPE plist SYSTEM \"a > b\"><plist><dict>" + version + "</dict></plist>",
      comment + "<plist>" + comment + "<dict>" + comment + xmlEntry(comment + value) + comment +
          "</dict>" + comment + "</plist>" + comment + "\n",
      "<?a > b?><plist><?a?><dict>" + xmlEntry("<?a?>" + value) + "</dict></plist><?a?>",
      "\n<plist\n version = '1.0' >\t<dict a=\"/>\">\r\n" + version + " </dict\n> </plist > ",
      "<plist><dict><key>CFBundle<!---->Short&#86;ersion<![CDATA[String]]></key>" + value +
          "</dict></plist>",
  };
  for (const auto& list : lists)
    expectInBothForms(list, VERSION);
  EXPECT_EQ(read("<plist><dict><key/><true/>" + version + "</dict></plist>"), VERSION);
}

TEST_F(List, KnowsOtherValues) {
  const std::string inner = "<dict>" + xmlTextEntry("inner") + "</dict>";
  const std::string values[] = {
      "<array/>",
      "<true/>",
      "<integer>-1</integer>",
      "<data>\n\tAAEC\n</data>",
      "<date>2026-03-07T14:05:09Z</date>",
      "<array><string>CFBundleShortVersionString</string><string>no</string></array>",
      inner,
      "<array>" + inner + inner + "</array>",
      "<array><array>" + inner + "</array></array>",
  };
  for (const auto& value : values) {
    expectInBothForms(xmlWithVersion(xmlEntry(value, "a&amp;b")), VERSION);
    expectInBothForms(xmlWithEntries(xmlTextEntry("45") + xmlEntry(value, "")), "45");
    expectInBothForms(xmlWithEntries(xmlEntry(value, "a")), "");
    expectInBothForms(xmlWithEntries(xmlEntry(value)), "");
  }
  for (const char* text : {"<string/>", "<string>&gt;<![CDATA[</key>]]><!--</string>--></string>"})
    expectInBothForms(xmlWithVersion(xmlEntry(text, "a")), VERSION);
  EXPECT_EQ(read(Binary::withVersion("\x80\x2D")), "") << "a reference of an archive";
  EXPECT_EQ(read(Binary::withVersion(std::string(1, '\0'))), "") << "null";
}

TEST_F(List, TakesOneOfRepeatedKeys) {
  EXPECT_EQ(read(xmlWithVersion(xmlTextEntry("1"))), VERSION) << "the last in XML";
  EXPECT_EQ(read(xmlWithEntries(xmlTextEntry("1") + xmlEntry("<true/>"))), "");
  const auto twice = [](const std::string& first, const std::string& second) {
    return Binary::list(
        {Binary::dictionary({1, 1}, {2, 3}), Binary::text(VERSION_KEY), first, second});
  };
  EXPECT_EQ(read(twice(Binary::text("1"), Binary::text("2"))), "1") << "the first in binary";
  EXPECT_EQ(read(twice("\x09", Binary::text("2"))), "");
}

// --- The binary form ---

TEST_F(List, FindsTopObject) {
  std::string list =
      Binary::list({Binary::text(VERSION_KEY), Binary::text("45"), Binary::dictionary({0}, {1})});
  list[list.size() - 9] = 2; // the last byte of its index
  EXPECT_EQ(read(list), "45");
}

TEST_F(List, ReadsUtf16) {
  EXPECT_EQ(read(Binary::withVersion(Binary::utf16(u"45.1\u20AC"))), "45.1\xE2\x82\xAC");
  EXPECT_EQ(read(Binary::withVersion(Binary::utf16(u"\U0001F600"))), "\xF0\x9F\x98\x80");
}

TEST_F(List, ReadsAllWidths) {
  const auto other = Binary::text("a"), key = Binary::text(VERSION_KEY), text = Binary::text("45");
  for (std::size_t offset = 1; offset <= 8; ++offset) {
    for (std::size_t reference = 1; reference <= 8; ++reference) {
      const std::string top = Binary::dictionary({1, 2}, {1, 3}, reference);
      EXPECT_EQ(read(Binary::list({top, other, key, text}, offset, reference)), "45")
          << offset << ", " << reference;
    }
  }
}

TEST_F(List, ReadsLongCounts) {
  const std::string ascii(20, 'x');
  const std::string utf16 = test::repeated(std::string("\0x", 2), 20);
  for (std::size_t power = 0; power <= 3; ++power) {
    const std::string count =
        Binary::number(0x10 | power, 1) + Binary::number(20, std::size_t{1} << power);
    EXPECT_EQ(read(Binary::withVersion("\x5F" + count + ascii)), ascii);
    EXPECT_EQ(read(Binary::withVersion("\x6F" + count + utf16)), ascii);
  }
  const std::string wideCount = "\x5F\x14" + Binary::number(20, 16);
  EXPECT_EQ(read(Binary::withVersion(wideCount + ascii)), "") << "16 bytes";
  EXPECT_EQ(read(Binary::withVersion("\x5F\x20\x14" + ascii)), "") << "no integer";
  std::string entries;
  for (int i = 0; i < 900; ++i)
    entries += xmlEntry("<true/>", "k" + std::to_string(i));
  expectInBothForms(xmlWithVersion(entries), VERSION);
}

// --- No text ---

TEST_F(List, NeedsDictionary) {
  EXPECT_EQ(read(xmlList("")), "");
  const std::string version = Binary::text(VERSION);
  EXPECT_EQ(read(Binary::list({version})), "");
  const std::string key = Binary::text(VERSION_KEY);
  EXPECT_EQ(read(Binary::list({Binary::array({3, 3}), Binary::number(2, 2), version, key})), "");
  const std::string data = "\x4F\x10\x1A" + std::string(VERSION_KEY);
  EXPECT_EQ(read(Binary::list({Binary::dictionary({1}, {2}), data, version})), "") << "no text key";
}

TEST_F(List, NeedsValidText) {
  const std::string nul("45.\0.10", 7);
  for (const std::string& raw :
       {nul,
        std::string("45&#0;10"),
        std::string("45&nbsp;"),
        std::string("45\xFF"),
        std::string("45\x01")})
    EXPECT_EQ(problem(xmlWithEntries(xmlTextEntry(raw))), Problem::Malformed) << raw;
  const std::string type = "<!DOCTYPE plist SYSTEM \"a\">"; // which may declare the entity
  for (const auto& entry :
       {xmlTextEntry("45&nbsp;"), xmlEntry("<true/>", "&a;") + xmlTextEntry("45")})
    EXPECT_EQ(problem(type + "<plist><dict>" + entry + "</dict></plist>"), Problem::Malformed);
  EXPECT_EQ(read(Binary::withVersion(Binary::text(nul))), "") << "NUL, binary";
  EXPECT_EQ(read(Binary::withVersion(Binary::text("45\xC3\xA9"))), "") << "not ASCII";
  const std::u16string wrong[] = {{u'\0'}, {u'\xD800'}, {u'\xDC00'}, {u'\xD800', u'5'}};
  for (const auto& units : wrong)
    EXPECT_EQ(read(Binary::withVersion(Binary::utf16(u"45" + units))), "") << "NUL or half a pair";
}

TEST_F(List, NeedsWellFormedXml) {
  const std::string version = xmlTextEntry("45");
  const std::string lists[] = {
      "<dict>" + version + "</dict>",
      "<list><dict>" + version + "</dict></list>",
      "<plist><dict>" + version + "</dict></list>",
      "<plist><dict>" + version + "</dict><dict/></plist>",
      "<plist><dict/><dict>" + version + "</dict></plist>",
      "<plist><dict>" + version + "</dict>text</plist>",
      "<plist>text<dict>" + version + "</dict></plist>",
  };
  for (const auto& list : lists)
    EXPECT_EQ(problem(list), Problem::Malformed) << list;
  for (const char* declarations : {"", "<!ENTITY a \"b\">"})
    EXPECT_EQ(
        problem(
            "<!DOCTYPE plist [" + std::string(declarations) + "]><plist><dict>" + version +
            "</dict></plist>"),
        Problem::Declarations);
  const std::string entries[] = {
      "text" + version,
      version + "text",
      xmlEntry("text<true/>", "a") + version,
      version + "<key>a</key>",
      xmlEntry("<key>b</key>", "a") + version,
      "<string>CFBundleShortVersionString</string><string>45</string>",
      "<key><a/>CFBundleShortVersionString</key><string>45</string>",
      xmlEntry("<string>45<string></string></string>"),
      xmlEntry("<string>45</integer>"),
  };
  for (const auto& content : entries)
    EXPECT_EQ(problem(xmlWithEntries(content)), Problem::Malformed) << content;
}

TEST_F(List, NeedsItsEnd) {
  const std::string xml = xmlWithVersion(xmlEntry("<string>other</string>", "Other"));
  for (std::size_t size = 0; size + 1 < xml.size(); ++size)
    EXPECT_EQ(read(xml.substr(0, size)), "") << "cut to " << size;
  const std::string binary = toBinary(xml);
  for (std::size_t size = 0; size < binary.size(); ++size)
    EXPECT_EQ(read(binary.substr(0, size)), "") << "cut to " << size;
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

// Or a link to such a file.
TEST_F(List, IsRegularFile) {
  EXPECT_EQ(read(), "") << "missing";
  EXPECT_EQ(PropertyList::read(folder.path() / "missing" / "Info.plist", VERSION_KEY).text, "");
  EXPECT_EQ(PropertyList::read("", VERSION_KEY).text, "");
  ASSERT_EQ(::mkfifo(file.c_str(), 0600), 0);
  const int opened = ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
  ASSERT_GE(::inotify_add_watch(opened, file.c_str(), IN_OPEN), 0);
  EXPECT_EQ(read(), "") << "pipe without a writer";
  char event[256];
  EXPECT_EQ(::read(opened, event, sizeof event), -1) << "opening can have effects";
  ::close(opened);
  fs::remove(file);
  fs::create_directory(file);
  EXPECT_EQ(read(), "") << "folder";
  fs::remove(file);
  ASSERT_EQ(::mknod(file.c_str(), S_IFSOCK | 0600, 0), 0);
  EXPECT_EQ(read(), "") << "socket";
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
    EXPECT_EQ(PropertyList::read(attribute, VERSION_KEY).text, "");
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
  test::inChildProcess([this] { // in a host without standard input
    ::close(STDIN_FILENO);
    read(xmlWithVersion());
    EXPECT_EQ(::fcntl(STDIN_FILENO, F_GETFD), -1);
  });
}
