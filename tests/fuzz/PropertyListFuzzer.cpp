// Any bytes as a property list: reading it ends, in bounded time and memory, with valid text or
// none; and where the quick reader answers, it answers like the full parse.

#include "FuzzCheck.h"
#include "Home.h"
#include "PlistOracle.h"
#include "linux/PlainXmlList.h"
#include "linux/PropertyList.h"

#include <glib.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const test::ScopedFolder folder;
  const std::string content(reinterpret_cast<const char*>(data), size);
  test::writeFile(folder.path() / "Info.plist", content);
  for (const char* key : {"CFBundleShortVersionString", "CFBundleExecutable", ""}) {
    const std::string text = PropertyList::readText(folder.path() / "Info.plist", key);
    FUZZ_CHECK(g_utf8_validate(text.data(), static_cast<gssize>(text.size()), nullptr));
    if (const auto plain = PropertyList::readPlainXml(content, key))
      FUZZ_CHECK(*plain == textByFullParse(content, key));
  }
  return 0;
}
