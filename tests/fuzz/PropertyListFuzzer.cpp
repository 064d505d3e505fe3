// Property lists, read as libplist reads them: the bytes as they are, the bytes as words of an XML
// list, and what libplist itself writes for every list that it accepts.

#include "FuzzCheck.h"
#include "Home.h"
#include "PlistOracle.h"
#include "linux/PropertyList.h"

#include <glib.h>

#include <array>
#include <string_view>
#include <vector>

namespace {

constexpr std::array KEYS{"CFBundleShortVersionString", "Version", "Other"};

constexpr std::array WORDS{
    "<key>Version</key>",
    "<string>45.12.0.900</string>",
    "<key>Other</key>",
    "<key>Other</key><string>text</string>",
    "<key>Other</key><true/>",
    "<key>Other</key><array><string>text</string></array>",
    "<key>Other</key><dict><key>Version</key><string>1</string></dict>",
    "<key>Other</key><array>",
    "<key>Other</key><dict>",
    "<key>Other</key><string>",
    "<string>",
    "</string>",
    "<key>",
    "</key>",
    "<dict>",
    "</dict>",
    "<array>",
    "</array>",
    "<true/>",
    "<false/>",
    "<array/>",
    "<dict/>",
    "<string/>",
    "<key/>",
    "<integer>",
    "</integer>",
    "<real>",
    "</real>",
    "<date>",
    "</date>",
    "<data>",
    "</data>",
    "<true>",
    "</true>",
    "<plist version=\"1.0\">",
    "</plist>",
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>",
    "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
    "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">",
    "<!--",
    "-->",
    "<![CDATA[",
    "]]>",
    "&amp;",
    "&#65;",
    "&",
    ";",
    "\"",
    "<",
    ">",
    "/",
    " ",
    "\n",
    "\t",
    "\r",
    "1",
    "-1",
    "Version",
    "CF$UID",
    "text",
    "\xC3\xA4",
    "\xFF",
    "<string >",
    "</string >",
    "<dict >",
    "\v",
    "="};

std::string listOfWords(const std::string& bytes) {
  std::string list;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    // A word, or else a character as it is; the NUL is a character too.
    const auto byte = static_cast<unsigned char>(bytes[i]);
    if (byte < 200)
      list += WORDS[byte % WORDS.size()];
    else
      list += i + 1 < bytes.size() ? bytes[++i] : '\0';
  }
  return list;
}

// What the reader gives for each key.
std::vector<std::string> read(const std::string& list) {
  static const test::ScopedDirectory folder;
  test::writeFile(folder.path() / "Info.plist", list);
  std::vector<std::string> texts;
  for (const char* key : KEYS)
    texts.push_back(PropertyList::read(folder.path() / "Info.plist", key).text);
  return texts;
}

bool isBinary(const std::string& list) {
  return list.compare(0, 6, "bplist") == 0;
}

bool isValidText(std::string_view text) {
  return g_utf8_validate_len(text.data(), text.size(), nullptr);
}

std::vector<std::string> textsIn(const test::PlistOracle& oracle) {
  std::vector<std::string> texts;
  for (const char* key : KEYS)
    texts.push_back(oracle.text(key));
  return texts;
}

// XML ends a line with "\n" only; libplist keeps the file's line ends.
std::vector<std::string> withXmlLineEnds(std::vector<std::string> texts) {
  for (auto& text : texts) {
    for (auto at = text.find('\r'); at != text.npos; at = text.find('\r'))
      text.replace(at, text.compare(at, 2, "\r\n") == 0 ? 2 : 1, "\n");
  }
  return texts;
}

// A list with comments and character data at places that the bytes choose. libplist writes "<" at
// the start of tags alone.
std::string decorated(const std::string& xml, const std::string& bytes) {
  constexpr std::array DECORATIONS{"", "<!-- > </dict> -->", "<!---->", "<![CDATA[]]>"};
  std::string result;
  std::size_t choice = 0;
  for (std::size_t i = 0; i < xml.size(); ++i) {
    const bool endsText = xml.compare(i, 9, "</string>") == 0 || xml.compare(i, 6, "</key>") == 0;
    if (xml[i] == '<' && i > 0 && !bytes.empty())
      result += DECORATIONS
          [static_cast<unsigned char>(bytes[choice++ % bytes.size()]) % (endsText ? 4 : 3)];
    result += xml[i];
  }
  return result;
}

// Small enough that libplist, which follows every reference and recurses, ends soon.
bool isForLibplist(const std::string& list) {
  return list.size() <= (isBinary(list) ? 96 : 16 * 1024);
}

void compareWritten(const test::PlistOracle& oracle, const std::string& bytes) {
  const std::string xml = oracle.toXml();
  if (!isValidText(xml)) // no tool writes that
    return;
  const std::string withMarkup = decorated(xml, bytes);
  FUZZ_CHECK(test::PlistOracle(withMarkup).isDictionary());
  FUZZ_CHECK(read(oracle.toBinary()) == textsIn(oracle));
  FUZZ_CHECK(read(xml) == withXmlLineEnds(textsIn(oracle)));
  FUZZ_CHECK(read(withMarkup) == withXmlLineEnds(textsIn(oracle)));
}

// An XML list as its document type has it, by GLib's parser: libplist takes others for lists too.
class Judge {
public:
  bool accepts(const std::string& xml) {
    const GMarkupParser parser{enter, leave, read, pass, nullptr};
    g_autoptr(GMarkupParseContext) context =
        g_markup_parse_context_new(&parser, GMarkupParseFlags{}, this, nullptr);
    const auto size = static_cast<gssize>(xml.size());
    return isValidText(xml) && g_markup_parse_context_parse(context, xml.data(), size, nullptr) &&
           g_markup_parse_context_end_parse(context, nullptr) && isList;
  }

private:
  struct Element {
    std::string name;
    int children;
  };

  // What may come next in an element.
  static bool isAllowed(const Element& parent, std::string_view child) {
    if (parent.name == "dict")
      return (child == "key") == (parent.children % 2 == 0);
    return child != "key" &&
           (parent.name == "array" || (parent.name == "plist" && parent.children == 0));
  }

  static void
  enter(GMarkupParseContext*, const char* name, const char**, const char**, void* self, GError**) {
    auto& judge = *static_cast<Judge*>(self);
    auto& open = judge.open;
    judge.isList &= open.empty() ? name == std::string_view("plist") : isAllowed(open.back(), name);
    if (!open.empty())
      ++open.back().children;
    open.push_back({name, 0});
  }

  static void leave(GMarkupParseContext*, const char*, void* self, GError**) {
    auto& judge = *static_cast<Judge*>(self);
    judge.isList &= judge.open.back().name != "dict" || judge.open.back().children % 2 == 0;
    judge.open.pop_back();
  }

  static void read(GMarkupParseContext*, const char* text, gsize size, void* self, GError**) {
    auto& judge = *static_cast<Judge*>(self);
    const std::string& name = judge.open.back().name;
    const bool mayBeText = name != "plist" && name != "dict" && name != "array";
    judge.isList &= mayBeText || std::string_view(text, size).find_first_not_of(" \t\r\n") ==
                                     std::string_view::npos;
  }

  // GLib and libplist take "<?>" for a processing instruction, which must have a name.
  static void pass(GMarkupParseContext*, const char* text, gsize size, void* self, GError**) {
    static_cast<Judge*>(self)->isList &= std::string_view(text, size) != "<?>";
  }

  std::vector<Element> open;
  bool isList = true;
};

void compare(const std::string& list) {
  const auto texts = withinLimit([&] { return read(list); });
  for (const auto& text : texts)
    FUZZ_CHECK(isValidText(text));
  if (!isForLibplist(list))
    return;
  const test::PlistOracle oracle(list);
  if (!oracle.isDictionary())
    return;
  const auto expected = isBinary(list) ? textsIn(oracle) : withXmlLineEnds(textsIn(oracle));
  for (std::size_t i = 0; i < texts.size(); ++i)
    FUZZ_CHECK(
        texts[i] == expected[i] ||
        (texts[i].empty() && (isBinary(list) || !Judge().accepts(list))));
  compareWritten(oracle, list);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string bytes(reinterpret_cast<const char*>(data), size);
  compare(bytes);
  // With a value in front or behind, a list that is wrongly taken for well-formed tells so.
  const std::string version = "<key>Version</key><string>1.2</string>";
  const std::string entries = listOfWords(bytes);
  compare("<plist version=\"1.0\"><dict>" + version + entries + "</dict></plist>");
  compare("<plist version=\"1.0\"><dict>" + entries + version + "</dict></plist>");
  compare(entries);
  return 0;
}
