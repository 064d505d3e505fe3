#include "BinaryListGuard.h"

#include <cstddef>
#include <cstdint>
#include <optional>

namespace PropertyList {

namespace {

constexpr int MAXIMUM_DEPTH = 64;
constexpr std::size_t MAXIMUM_OBJECTS = 20000;
constexpr std::size_t MAXIMUM_BYTES = 2 * 1024 * 1024;
constexpr std::size_t TRAILER_SIZE = 32;

// The high half of an object's first byte. Below DATA stand null, booleans, numbers and dates, of a
// few bytes each; from ARRAY on, containers.
enum Kind : unsigned {
  NUMBER = 0x1,
  FLOAT = 0x2,
  DATA = 0x4,
  UTF16_TEXT = 0x6,
  ARRAY = 0xA,
  DICTIONARY = 0xD
};

constexpr unsigned COUNT_FOLLOWS = 0xF; // in the low half: the count is a number object of its own

// Walks the objects of a list from its top and gives up once a budget is spent.
class ReferenceWalk {
public:
  explicit ReferenceWalk(std::string_view list) : content(list) {}

  bool staysWithinBudget() {
    if (content.size() < TRAILER_SIZE)
      return false;
    const std::size_t trailer = content.size() - TRAILER_SIZE;
    offsetSize = byteAt(trailer + 6);
    referenceSize = byteAt(trailer + 7);
    const auto top = numberAt(trailer + 16, 8);
    const auto table = numberAt(trailer + 24, 8);
    if (!top || !table)
      return false;
    offsetTable = *table;
    return visit(*top, 0);
  }

private:
  // An object's kind and its count of bytes, characters or entries, and where these begin.
  struct Header {
    unsigned kind;
    std::uint64_t count;
    std::uint64_t body;
  };

  unsigned byteAt(std::size_t position) const {
    return static_cast<unsigned char>(content[position]);
  }

  std::optional<std::uint64_t> numberAt(std::uint64_t position, std::uint64_t size) const {
    if (size < 1 || size > 8 || position > content.size() || size > content.size() - position)
      return std::nullopt;
    std::uint64_t number = 0;
    for (std::uint64_t i = 0; i < size; ++i)
      number = number << 8 | byteAt(static_cast<std::size_t>(position + i));
    return number;
  }

  std::optional<std::uint64_t>
  tableEntry(std::uint64_t base, std::uint64_t index, std::uint64_t size) const {
    if (base > content.size() || index > content.size())
      return std::nullopt;
    return numberAt(base + index * size, size);
  }

  std::optional<Header> headerOf(std::uint64_t object) const {
    const auto position = tableEntry(offsetTable, object, offsetSize);
    const auto marker = position ? numberAt(*position, 1) : std::nullopt;
    if (!marker)
      return std::nullopt;
    const auto kind = static_cast<unsigned>(*marker >> 4);
    const auto low = static_cast<unsigned>(*marker & 0xF);
    if (kind < DATA)
      return Header{
          kind, kind == NUMBER || kind == FLOAT ? std::uint64_t{1} << low : low, *position + 1};
    return low == COUNT_FOLLOWS ? longHeader(kind, *position + 1)
                                : Header{kind, low, *position + 1};
  }

  std::optional<Header> longHeader(unsigned kind, std::uint64_t position) const {
    const auto marker = numberAt(position, 1);
    if (!marker || *marker >> 4 != NUMBER || (*marker & 0xF) > 3)
      return std::nullopt;
    const std::uint64_t size = std::uint64_t{1} << (*marker & 0xF);
    const auto count = numberAt(position + 1, size);
    return count ? std::optional<Header>(Header{kind, *count, position + 1 + size}) : std::nullopt;
  }

  bool spend(const Header& header) {
    const std::uint64_t unit = header.kind == UTF16_TEXT ? 2
                               : header.kind >= ARRAY    ? referenceSize
                                                         : 1;
    if (++objects > MAXIMUM_OBJECTS || header.count > content.size())
      return false;
    bytes += header.count * unit;
    return bytes <= MAXIMUM_BYTES;
  }

  bool visit(std::uint64_t object, int depth) {
    const auto header = headerOf(object);
    if (!header || depth > MAXIMUM_DEPTH || !spend(*header))
      return false;
    return header->kind < ARRAY || visitEntries(*header, depth);
  }

  bool visitEntries(const Header& header, int depth) {
    const std::uint64_t references = header.kind == DICTIONARY ? header.count * 2 : header.count;
    for (std::uint64_t i = 0; i < references; ++i) {
      const auto object = tableEntry(header.body, i, referenceSize);
      if (!object || !visit(*object, depth + 1))
        return false;
    }
    return true;
  }

  std::string_view content;
  std::uint64_t offsetSize = 0;
  std::uint64_t referenceSize = 0;
  std::uint64_t offsetTable = 0;
  std::size_t objects = 0;
  std::uint64_t bytes = 0;
};

} // namespace

bool isModestBinaryList(std::string_view content) {
  return ReferenceWalk(content).staysWithinBudget();
}

} // namespace PropertyList
