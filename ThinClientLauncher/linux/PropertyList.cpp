#include "PropertyList.h"

#include "Descriptor.h"

#include <glib.h>

#include <algorithm>
#include <cstdint>
#include <fcntl.h>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

using Platform::ListProblem;
using PropertyList::Entry;

void require(bool condition, ListProblem otherwise = ListProblem::Malformed) {
  if (!condition)
    throw otherwise;
}

inline bool skip(std::string_view& rest, std::string_view start, std::string_view end) {
  const auto at = rest.substr(0, start.size()) == start ? rest.find(end, start.size()) : rest.npos;
  if (at != rest.npos)
    rest.remove_prefix(at + end.size());
  return at != rest.npos;
}

// GLib ends a comment at "<!-->", XML does not.
std::string withoutComments(std::string_view content) {
  std::string text;
  for (std::string_view rest = content; !rest.empty(); content = rest) {
    if (skip(rest, "<!--", "-->"))
      continue;
    if (!skip(rest, "<![CDATA[", "]]>"))
      rest.remove_prefix(1);
    text += content.substr(0, content.size() - rest.size());
  }
  return text;
}

std::string decoded(std::string_view content) {
  require(g_utf8_validate_len(content.data(), content.size(), nullptr)); // no NUL either
  if (content.find_first_of("&<\r") == content.npos)
    return std::string(content);
  GMarkupParser parser{};
  parser.text = [](GMarkupParseContext*, const char* part, gsize size, void* text, GError**) {
    static_cast<std::string*>(text)->append(part, size);
  };
  std::string text, element = "<text>" + withoutComments(content) + "</text>";
  g_autoptr(GMarkupParseContext) context =
      g_markup_parse_context_new(&parser, G_MARKUP_TREAT_CDATA_AS_TEXT, &text, nullptr);
  require(g_markup_parse_context_parse(
      context, element.data(), static_cast<gssize>(element.size()), nullptr));
  return text;
}

bool skipDocumentType(std::string_view& rest) {
  if (!skip(rest, "<!DOCTYPE", ""))
    return false;
  do
    rest.remove_prefix(std::min(rest.find_first_of("\"[>"), rest.size()));
  while (skip(rest, "\"", "\"")); // which may hold ">"
  return skip(rest, "[", "]>") || skip(rest, ">", "");
}

inline void skipSpace(std::string_view& rest) {
  while (!rest.empty() && g_ascii_isspace(rest.front()))
    rest.remove_prefix(1);
}

inline void skipMarkup(std::string_view& rest) {
  do
    skipSpace(rest);
  while (skip(rest, "<!--", "-->") || skip(rest, "<?", "?>") || skipDocumentType(rest));
}

// The name, with the slash of an end tag, and whether the element is an empty one.
std::pair<std::string_view, bool> takeTag(std::string_view& rest) {
  skipMarkup(rest);
  require(skip(rest, "<", "") && rest.size() > 1);
  const auto endsName = [](char c) { return g_ascii_isspace(c) || c == '/' || c == '>'; };
  const auto nameEnd = std::find_if(rest.begin() + 1, rest.end(), endsName);
  std::pair tag(rest.substr(0, static_cast<std::size_t>(nameEnd - rest.begin())), false);
  rest.remove_prefix(tag.first.size());
  while (!rest.empty() && rest.front() != '>') { // quoted values may hold it
    const std::string_view first = rest.substr(0, 1);
    tag.second = first == "/";
    require(skip(rest, first, first == "\"" || first == "'" ? first : ""));
  }
  require(skip(rest, ">", ""));
  return tag;
}

std::string_view takeContent(std::string_view& rest, std::string_view name) {
  const std::string_view whole = rest;
  do
    rest.remove_prefix(std::min(rest.find('<'), rest.size()));
  while (skip(rest, "<!--", "-->") || skip(rest, "<![CDATA[", "]]>"));
  const std::string_view content = whole.substr(0, whole.size() - rest.size());
  require(skip(rest, "</", "") && skip(rest, name, ""));
  skipSpace(rest);
  require(skip(rest, ">", ""));
  return content;
}

// Of repeated keys the last counts. GLib's parser would take ten times as long for a whole list.
Entry entryInXml(std::string_view rest, std::string_view key) {
  Entry entry{{}, ListProblem::NoDictionary};
  std::string open = "p"; // what is open, by initials: the plist, arrays, dicts
  bool hasKey = false, isWanted = false;
  require(takeTag(rest).first == "plist");
  do {
    const auto [name, isEmpty] = takeTag(rest);
    if (name == "/array" || name == "/dict") {
      require(name[1] == open.back() && !hasKey);
      open.pop_back();
      continue;
    }
    require(g_ascii_isalpha(name.front()));
    const bool isContainer = name == "array" || name == "dict";
    const std::string_view raw = isContainer || isEmpty ? "" : takeContent(rest, name);
    if (open.size() == 1 && name == "dict")
      entry.problem = ListProblem::NoKey;
    if (isWanted)
      entry = name == "string" ? Entry{decoded(raw)} : Entry{{}, ListProblem::NoText};
    require((name == "key") == (open.back() == 'd' && !hasKey)); // a key, then its value
    hasKey = name == "key";
    isWanted = hasKey && open.size() == 2 &&
               (raw == key || (raw.size() > key.size() && decoded(raw) == key));
    if (isContainer && !isEmpty)
      open += name.front();
  } while (open.size() > 1);
  require(takeTag(rest).first == "/plist");
  skipMarkup(rest);
  require(rest.empty());
  return entry;
}

struct Object {
  enum Kind { NUMBER = 0x1, ASCII_TEXT = 0x5, UTF16_TEXT = 0x6, DICTIONARY = 0xD };
  std::uint64_t kind, count, body; // the count is one of bytes, UTF-16 units or entries
};

std::uint64_t numberAt(std::string_view list, std::uint64_t position, std::uint64_t size) {
  require(size <= 8 && position <= list.size() && size <= list.size() - position);
  std::uint64_t number = 0;
  for (const char byte : list.substr(position, size))
    number = number << 8 | static_cast<unsigned char>(byte);
  return number;
}

Object objectAt(std::string_view list, std::uint64_t reference, std::uint64_t referenceSize) {
  const std::uint64_t index = numberAt(list, reference, referenceSize);
  const std::uint64_t offsetSize = numberAt(list, list.size() - 26, 1);
  const std::uint64_t table = numberAt(list, list.size() - 8, 8);
  const std::uint64_t position = numberAt(list, table + index * offsetSize, offsetSize);
  const std::uint64_t marker = numberAt(list, position, 1);
  if ((marker & 0xF) != 0xF)
    return {marker >> 4, marker & 0xF, position + 1};
  const std::uint64_t number = numberAt(list, position + 1, 1); // the count is an object too
  const std::uint64_t size = std::uint64_t{1} << (number & 0xF);
  const std::uint64_t count = numberAt(list, position + 2, size);
  require(number >> 4 == Object::NUMBER && count <= list.size());
  return {marker >> 4, count, position + 2 + size};
}

std::string textOf(std::string_view list, const Object& object) {
  const std::uint64_t unitSize = object.kind == Object::UTF16_TEXT ? 2 : 1;
  require(unitSize == 2 || object.kind == Object::ASCII_TEXT, ListProblem::NoText);
  std::vector<gunichar2> units(object.count + 1);
  for (std::uint64_t i = 0; i < object.count; ++i)
    units[i] = static_cast<gunichar2>(numberAt(list, object.body + i * unitSize, unitSize));
  glong converted = 0, written = 0; // a NUL ends the conversion
  g_autofree char* text = g_utf16_to_utf8(units.data(), -1, &converted, &written, nullptr);
  require(
      text && converted == static_cast<glong>(object.count) &&
      (unitSize == 2 || written == converted));
  return text;
}

// Looks into the top dictionary alone. All tools store keys as ASCII; of repeated ones the first
// counts.
Entry entryInBinary(std::string_view list, std::string_view key) {
  const std::uint64_t width = numberAt(list, list.size() - 25, 1);
  const Object top = objectAt(list, list.size() - 16, 8);
  require(top.kind == Object::DICTIONARY, ListProblem::NoDictionary);
  for (std::uint64_t i = 0; i < top.count; ++i) {
    const Object name = objectAt(list, top.body + i * width, width);
    if (name.kind == Object::ASCII_TEXT && list.substr(name.body, name.count) == key)
      return {textOf(list, objectAt(list, top.body + (top.count + i) * width, width))};
  }
  return {{}, ListProblem::NoKey};
}

// Opening a device can have effects, so the file's type is asked for first.
std::string readFile(const std::string& file) {
  struct stat status {};
  require(::stat(file.c_str(), &status) == 0 && S_ISREG(status.st_mode), ListProblem::Unreadable);
  require(status.st_size <= 256 * 1024, ListProblem::TooLarge);
  const Descriptor input(::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
  std::string list(static_cast<std::size_t>(status.st_size), '\0');
  for (std::size_t got = 0; got < list.size();) {
    const ssize_t more = TEMP_FAILURE_RETRY(::read(input, list.data() + got, list.size() - got));
    require(more > 0, ListProblem::Unreadable);
    got += static_cast<std::size_t>(more);
  }
  return list;
}

} // namespace

Entry PropertyList::read(const std::string& file, const char* key) try {
  const std::string list = readFile(file);
  return list.compare(0, 8, "bplist00") == 0 ? entryInBinary(list, key) : entryInXml(list, key);
} catch (const ListProblem problem) {
  return {{}, problem};
}
