#include "PropertyList.h"

#include "BinaryPropertyList.h"

#include <expat.h>

#include <memory>
#include <new>
#include <optional>

namespace {

using Platform::ListProblem;
using PropertyList::Entry;

// What expat's handlers make of an XML list. Of repeated keys the last counts. The handlers
// allocate nothing: no exception may pass through expat.
class XmlReader {
public:
  explicit XmlReader(const char* wanted) : wantedKey(wanted) {
    if (!parser)
      throw std::bad_alloc();
    XML_SetUserData(parser.get(), this);
    XML_SetStartDoctypeDeclHandler(
        parser.get(), [](void* self, const char*, const char*, const char*, int hasSubset) {
          // its declarations can multiply time and memory
          of(self).require(!hasSubset, ListProblem::Declarations);
        });
    XML_SetElementHandler(
        parser.get(),
        [](void* self, const char* name, const char**) { of(self).open(name); },
        [](void* self, const char*) { of(self).close(); });
    XML_SetCharacterDataHandler(parser.get(), [](void* self, const char* text, int size) {
      of(self).add({text, static_cast<std::size_t>(size)});
    });
    XML_SetSkippedEntityHandler(
        parser.get(), [](void* self, const char*, int) { of(self).require(false); });
  }

  Entry read(const std::string& list) {
    key.reserve(2 * list.size()); // two bytes of UTF-16 become three of UTF-8
    entry.text.reserve(2 * list.size());
    const int size = static_cast<int>(list.size());
    if (XML_Parse(parser.get(), list.data(), size, XML_TRUE) == XML_STATUS_OK)
      return std::move(entry);
    if (XML_GetErrorCode(parser.get()) == XML_ERROR_NO_MEMORY)
      throw std::bad_alloc();
    const bool isEncoding = XML_GetErrorCode(parser.get()) == XML_ERROR_UNKNOWN_ENCODING;
    return {{}, isEncoding ? ListProblem::UnknownEncoding : refusal};
  }

private:
  enum Depth { PLIST = 1, TOP, ENTRY }; // an entry is a key, or the value that follows it

  static XmlReader& of(void* self) { return *static_cast<XmlReader*>(self); }

  void require(bool condition, ListProblem otherwise = ListProblem::Malformed) {
    if (condition)
      return;
    refusal = otherwise;
    XML_StopParser(parser.get(), XML_FALSE);
  }

  void open(std::string_view name) {
    switch (++depth) {
    case PLIST:
      return require(name == "plist");
    case TOP:
      return openTop(name);
    case ENTRY:
      return openEntry(name);
    default:
      return require(!reading); // a key or text holds no element
    }
  }

  void openTop(std::string_view name) {
    require(name == "dict", ListProblem::NoDictionary);
    require(entry.problem == ListProblem::NoDictionary); // the only one
    entry.problem = ListProblem::NoKey;
  }

  void openEntry(std::string_view name) {
    require((name == "key") != hasKey);
    if (!hasKey)
      readKey();
    else if (isWanted)
      readText(name == "string");
  }

  void readKey() {
    key.clear();
    reading = &key;
  }

  void readText(bool isText) {
    entry.text.clear();
    entry.problem = isText ? ListProblem::None : ListProblem::NoText;
    reading = isText ? &entry.text : nullptr;
  }

  void add(std::string_view text) {
    if (reading)
      reading->append(text);
    else if (depth < ENTRY)
      require(text.find_first_not_of(" \t\r\n") == text.npos);
  }

  void close() {
    if (depth == ENTRY) {
      reading = nullptr;
      hasKey = !hasKey;
      isWanted = key == wantedKey;
    } else if (depth == TOP)
      require(!hasKey);
    --depth;
  }

  const std::unique_ptr<XML_ParserStruct, decltype(&XML_ParserFree)> parser{
      XML_ParserCreate(nullptr), XML_ParserFree};
  const std::string_view wantedKey;
  ListProblem refusal = ListProblem::Malformed;
  Entry entry{{}, ListProblem::NoDictionary};
  std::string key;
  std::string* reading = nullptr;
  int depth = 0;
  bool hasKey = false, isWanted = false;
};

} // namespace

Entry PropertyList::read(const std::string& file, const char* key) {
  constexpr std::size_t LIMIT = 256 * 1024;
  const std::optional<std::string> list = Platform::readFile(file, LIMIT + 1);
  if (!list)
    return {{}, ListProblem::Unreadable};
  if (list->size() > LIMIT)
    return {{}, ListProblem::TooLarge};
  const bool isBinary = list->compare(0, 8, "bplist00") == 0;
  return isBinary ? BinaryPropertyList::read(*list, key) : XmlReader(key).read(*list);
}
