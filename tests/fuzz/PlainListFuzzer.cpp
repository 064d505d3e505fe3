// Lists put together from the words of the language, so that most come close to a well-formed one:
// the quick reader must answer like the full parse, or leave the list to it.

#include "FuzzCheck.h"
#include "PlistOracle.h"
#include "linux/PlainXmlList.h"

#include <array>

namespace {

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

std::string listOf(const std::uint8_t* data, std::size_t size) {
  std::string list;
  for (std::size_t i = 0; i < size; ++i) {
    // A word, or else a character as it is; the NUL is a character too.
    if (data[i] < 200)
      list += WORDS[data[i] % WORDS.size()];
    else
      list += static_cast<char>(i + 1 < size ? data[++i] : 0);
  }
  return list;
}

void compare(const std::string& list) {
  for (const char* key : {"Version", "Other", ""}) {
    if (const auto plain = PropertyList::readPlainXml(list, key))
      FUZZ_CHECK(*plain == textByFullParse(list, key));
  }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  // With a value in front or behind, a list that is wrongly taken for well-formed tells so.
  const std::string version = "<key>Version</key><string>1.2</string>";
  const std::string entries = listOf(data, size);
  compare("<plist version=\"1.0\"><dict>" + version + entries + "</dict></plist>");
  compare("<plist version=\"1.0\"><dict>" + entries + version + "</dict></plist>");
  compare(entries);
  return 0;
}
