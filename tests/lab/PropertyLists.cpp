#include "PropertyLists.h"

namespace test {

std::string repeated(const std::string& text, std::size_t times) {
  std::string result;
  for (std::size_t i = 0; i < times; ++i)
    result += text;
  return result;
}

std::string xmlList(const std::string& content) {
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">" + content +
         "</plist>\n";
}

std::string xmlWithEntries(const std::string& entries) {
  return xmlList("<dict>" + entries + "</dict>");
}

std::string xmlEntry(const std::string& value, const std::string& key) {
  return "<key>" + key + "</key>" + value;
}

std::string xmlTextEntry(const std::string& rawText) {
  return xmlEntry("<string>" + rawText + "</string>");
}

std::string xmlWithVersion(const std::string& before) {
  return xmlWithEntries(before + xmlTextEntry(VERSION));
}

std::string inUtf16(const std::u16string& text, bool isBigEndian) {
  std::string bytes;
  for (const char16_t unit : text) {
    const std::string pair = Binary::number(unit, 2);
    bytes += isBigEndian ? pair : std::string(pair.rbegin(), pair.rend());
  }
  return bytes;
}

namespace Binary {

std::string number(std::size_t value, std::size_t size) {
  std::string bytes;
  while (size-- > 0)
    bytes += size < sizeof value ? static_cast<char>(value >> (8 * size) & 0xFF) : '\0';
  return bytes;
}

static std::string header(unsigned kind, std::size_t count) {
  return count < 15 ? number(kind << 4 | count, 1)
                    : number(kind << 4 | 15, 1) + "\x12" + number(count, 4);
}

static std::string references(const References& objects, std::size_t size) {
  std::string bytes;
  for (const auto object : objects)
    bytes += number(object, size);
  return bytes;
}

std::string text(const std::string& ascii) {
  return header(0x5, ascii.size()) + ascii;
}

std::string utf16(const std::u16string& text) {
  return header(0x6, text.size()) + inUtf16(text, true);
}

std::string array(const References& values) {
  return header(0xA, values.size()) + references(values, REFERENCE_SIZE);
}

std::string
dictionary(const References& keys, const References& values, std::size_t referenceSize) {
  return header(0xD, keys.size()) + references(keys, referenceSize) +
         references(values, referenceSize);
}

std::string
list(const std::vector<std::string>& objects, std::size_t offsetSize, std::size_t referenceSize) {
  std::string bytes = "bplist00";
  std::string offsets;
  for (const auto& object : objects) {
    offsets += number(bytes.size(), offsetSize);
    bytes += object;
  }
  const std::size_t table = bytes.size();
  return bytes + offsets + number(offsetSize, 7) + number(referenceSize, 1) +
         number(objects.size(), 8) + number(0, 8) + number(table, 8);
}

std::string withVersion(const std::string& object) {
  return list({dictionary({1}, {2}), text(VERSION_KEY), object});
}

} // namespace Binary

} // namespace test
