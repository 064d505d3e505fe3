// Property lists, read as libplist reads them: the bytes as they are, the bytes as words of an XML
// list, and what libplist itself writes for every list that it accepts.

#include "FuzzCheck.h"
#include "Home.h"
#include "PlistOracle.h"
#include "linux/PropertyList.h"

#include <expat.h>
#include <glib.h>

#include <array>
#include <vector>

namespace {

constexpr std::array KEYS{"CFBundleShortVersionString", "Version", "Other"};

// In an input, a byte stands for one of these.
const std::vector<std::string> WORDS = test::readLines(WORDS_FILE);

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

// Without the declaration of UTF-8.
std::string inUtf16(const std::string& xml) {
  const std::string text = xml.substr(xml.find("?>") + 2);
  gsize size = 0;
  g_autofree char* bytes = g_convert(text.c_str(), -1, "UTF-16", "UTF-8", nullptr, &size, nullptr);
  FUZZ_CHECK(bytes);
  return {bytes, size};
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

// A list with comments, instructions and character data at places that the bytes choose. libplist
// writes "<" at the start of tags alone.
std::string decorated(const std::string& xml, const std::string& bytes) {
  constexpr std::array DECORATIONS{
      "", "<!-- > </dict> -->", "<!---->", "<?a </dict>?>", "<![CDATA[]]>"};
  std::string result;
  std::size_t choice = 0;
  for (std::size_t i = 0; i < xml.size(); ++i) {
    const bool endsText = xml.compare(i, 9, "</string>") == 0 || xml.compare(i, 6, "</key>") == 0;
    if (xml[i] == '<' && i > 0 && !bytes.empty())
      result += DECORATIONS
          [static_cast<unsigned char>(bytes[choice++ % bytes.size()]) % (endsText ? 5 : 4)];
    result += xml[i];
  }
  return result;
}

// Small enough that libplist, which follows every reference and recurses, ends soon.
bool isForLibplist(const std::string& list) {
  return list.size() <= (isBinary(list) ? 96 : 16 * 1024);
}

bool isWellFormed(const std::string& xml) {
  const XML_Parser parser = XML_ParserCreate(nullptr);
  const auto status = XML_Parse(parser, xml.data(), static_cast<int>(xml.size()), XML_TRUE);
  XML_ParserFree(parser);
  return status == XML_STATUS_OK;
}

void compareWritten(const test::PlistOracle& oracle, const std::string& bytes) {
  const std::string xml = oracle.toXml();
  if (!isWellFormed(xml)) // libplist writes characters that XML does not have
    return;
  FUZZ_CHECK(read(oracle.toBinary()) == textsIn(oracle));
  const auto texts = withXmlLineEnds(textsIn(oracle));
  for (const auto& form : {xml, decorated(xml, bytes), inUtf16(xml)})
    FUZZ_CHECK(read(form) == texts);
}

void compare(const std::string& list) {
  const auto texts = withinLimit([&] { return read(list); });
  for (const auto& text : texts)
    FUZZ_CHECK(g_utf8_validate_len(text.data(), text.size(), nullptr));
  if (!isForLibplist(list))
    return;
  const test::PlistOracle oracle(list);
  if (!oracle.isDictionary())
    return;
  const auto expected = isBinary(list) ? textsIn(oracle) : withXmlLineEnds(textsIn(oracle));
  for (std::size_t i = 0; i < texts.size(); ++i)
    FUZZ_CHECK(texts[i].empty() || texts[i] == expected[i]); // libplist takes more for lists
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
