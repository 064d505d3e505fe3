#include "PlainXmlList.h"

#include <algorithm>

namespace PropertyList {

namespace {

constexpr int MAXIMUM_DEPTH = 32;
constexpr std::string_view BLANKS = " \t\r\n";

class PlainReader {
public:
  PlainReader(std::string_view list, std::string_view wanted) : rest(list), key(wanted) {}

  std::optional<std::string_view> read() {
    take("<?xml version=\"1.0\" encoding=\"UTF-8\"?>");
    take("<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
         "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">");
    const bool isPlain = take("<plist version=\"1.0\">") && take("<dict>") && takeEntries(0) &&
                         take("</plist>") && rest.empty();
    return isPlain ? std::optional<std::string_view>(found) : std::nullopt;
  }

private:
  // Every take consumes what it names and the blanks behind it, or nothing.
  bool take(std::string_view token) {
    if (rest.compare(0, token.size(), token) != 0)
      return false;
    rest.remove_prefix(token.size());
    rest.remove_prefix(std::min(rest.find_first_not_of(BLANKS), rest.size()));
    return true;
  }

  std::optional<std::string_view> takeText(std::string_view startTag, std::string_view endTag) {
    if (rest.compare(0, startTag.size(), startTag) != 0)
      return std::nullopt;
    const std::string_view whole = rest;
    const std::string_view text =
        rest.substr(startTag.size(), rest.find('<', startTag.size()) - startTag.size());
    rest.remove_prefix(startTag.size() + text.size());
    if (text.find('&') == text.npos && text.find('\0') == text.npos && take(endTag))
      return text;
    rest = whole;
    return std::nullopt;
  }

  bool takeEntries(int depth) {
    while (!take("</dict>")) {
      const auto name = takeText("<key>", "</key>");
      if (!name)
        return false;
      const auto text = takeText("<string>", "</string>");
      if (!text && !takeOtherValue(depth + 1))
        return false;
      if (depth == 0 && *name == key)
        found = text.value_or(""); // the last entry counts
    }
    return true;
  }

  bool takeValues(int depth) {
    while (!take("</array>")) {
      if (!takeText("<string>", "</string>") && !takeOtherValue(depth + 1))
        return false;
    }
    return true;
  }

  bool takeOtherValue(int depth) {
    if (depth > MAXIMUM_DEPTH)
      return false;
    if (take("<array>"))
      return takeValues(depth);
    if (take("<dict>"))
      return takeEntries(depth);
    return take("<true/>") || take("<false/>") || take("<array/>") || take("<dict/>") ||
           take("<string/>") || takeNumber("<integer>", "</integer>") ||
           takeNumber("<real>", "</real>");
  }

  bool takeNumber(std::string_view startTag, std::string_view endTag) {
    const auto text = takeText(startTag, endTag);
    return text && text->find_first_not_of("0123456789+-.eE") == text->npos;
  }

  std::string_view rest;
  std::string_view key;
  std::string_view found = "";
};

} // namespace

std::optional<std::string_view> readPlainXml(std::string_view list, std::string_view key) {
  return PlainReader(list, key).read();
}

} // namespace PropertyList
