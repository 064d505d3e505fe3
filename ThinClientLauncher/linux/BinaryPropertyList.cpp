#include "BinaryPropertyList.h"

#include <glib.h>

#include <algorithm>
#include <cstdint>
#include <vector>

namespace {

using Platform::ListProblem;
using PropertyList::Entry;

// Objects refer to others by an index in the table of offsets. The trailer, the last 32 bytes, says
// where the table is.
struct List {
  std::string_view bytes;
  std::uint64_t offsetSize, referenceSize, top, table;
};

struct Object {
  enum Kind { NUMBER = 0x1, ASCII_TEXT = 0x5, UTF16_TEXT = 0x6, DICTIONARY = 0xD };
  std::uint64_t kind, count, body; // the count is one of bytes, UTF-16 units or entries
};

void require(bool condition, ListProblem otherwise = ListProblem::Malformed) {
  if (!condition)
    throw otherwise;
}

std::string_view bytesAt(std::string_view bytes, std::uint64_t position, std::uint64_t size) {
  require(position <= bytes.size() && size <= bytes.size() - position);
  return bytes.substr(position, size);
}

// Numbers are big-endian.
std::uint64_t numberAt(std::string_view bytes, std::uint64_t position, std::uint64_t size) {
  require(size <= 8);
  std::uint64_t number = 0;
  for (const char byte : bytesAt(bytes, position, size))
    number = number << 8 | static_cast<unsigned char>(byte);
  return number;
}

List listIn(std::string_view bytes) {
  require(bytes.size() >= 32);
  const std::uint64_t trailer = bytes.size() - 32;
  return {
      bytes,
      numberAt(bytes, trailer + 6, 1),
      numberAt(bytes, trailer + 7, 1),
      numberAt(bytes, trailer + 16, 8),
      numberAt(bytes, trailer + 24, 8)};
}

// A count from 15 on stands behind the marker, as a number object.
Object withLongCount(std::string_view bytes, Object object) {
  const std::uint64_t marker = numberAt(bytes, object.body, 1);
  const std::uint64_t size = std::uint64_t{1} << (marker & 0xF);
  require(marker >> 4 == Object::NUMBER);
  object.count = numberAt(bytes, object.body + 1, size);
  require(object.count <= bytes.size());
  object.body += 1 + size;
  return object;
}

Object objectAt(const List& list, std::uint64_t index) {
  const std::uint64_t offset = list.table + index * list.offsetSize;
  const std::uint64_t position = numberAt(list.bytes, offset, list.offsetSize);
  const std::uint64_t marker = numberAt(list.bytes, position, 1);
  const Object object{marker >> 4, marker & 0xF, position + 1};
  return object.count == 0xF ? withLongCount(list.bytes, object) : object;
}

// A dictionary refers to all its keys, then to all their values.
Object referenced(const List& list, const Object& dictionary, std::uint64_t number) {
  const std::uint64_t position = dictionary.body + number * list.referenceSize;
  return objectAt(list, numberAt(list.bytes, position, list.referenceSize));
}

// All tools store keys as ASCII.
bool isText(const List& list, const Object& object, std::string_view text) {
  return object.kind == Object::ASCII_TEXT && object.count == text.size() &&
         bytesAt(list.bytes, object.body, object.count) == text;
}

std::string asciiText(std::string_view bytes) {
  require(std::all_of(bytes.begin(), bytes.end(), [](char c) { return c != '\0' && !(c & 0x80); }));
  return std::string(bytes);
}

std::string utf16Text(std::string_view bytes) {
  std::vector<gunichar2> units(bytes.size() / 2 + 1); // the last one ends the text for GLib
  for (std::size_t i = 0; i + 1 < units.size(); ++i)
    units[i] = static_cast<gunichar2>(numberAt(bytes, 2 * i, 2));
  glong converted = 0; // less than all if there is a NUL
  g_autofree char* text = g_utf16_to_utf8(units.data(), -1, &converted, nullptr, nullptr);
  require(text && static_cast<std::size_t>(converted) + 1 == units.size());
  return text;
}

std::string textOf(const List& list, const Object& object) {
  if (object.kind == Object::ASCII_TEXT)
    return asciiText(bytesAt(list.bytes, object.body, object.count));
  require(object.kind == Object::UTF16_TEXT, ListProblem::NoText);
  return utf16Text(bytesAt(list.bytes, object.body, 2 * object.count));
}

} // namespace

// Looks into the top dictionary alone. Of repeated keys the first counts.
Entry BinaryPropertyList::read(std::string_view bytes, std::string_view key) try {
  const List list = listIn(bytes);
  const Object top = objectAt(list, list.top);
  require(top.kind == Object::DICTIONARY, ListProblem::NoDictionary);
  for (std::uint64_t i = 0; i < top.count; ++i) {
    if (isText(list, referenced(list, top, i), key))
      return {textOf(list, referenced(list, top, top.count + i))};
  }
  return {{}, ListProblem::NoKey};
} catch (const ListProblem problem) {
  return {{}, problem};
}
