#pragma once

#include <plist/plist.h>

#include <cstdlib>
#include <memory>
#include <string>

namespace test {

// A property list as libplist reads and writes it. Deeply nested or shared containers cost libplist
// seconds, gigabytes or the stack: give it none.
class PlistOracle {
public:
  explicit PlistOracle(const std::string& list) {
    plist_t parsed = nullptr;
    const auto parse = list.compare(0, 6, "bplist") == 0 ? plist_from_bin : plist_from_xml;
    parse(list.data(), static_cast<std::uint32_t>(list.size()), &parsed);
    top.reset(parsed);
  }

  bool isDictionary() const { return top && plist_get_node_type(top.get()) == PLIST_DICT; }

  // The text under a key of the dictionary; empty if there is none.
  std::string text(const char* key) const {
    const plist_t value = plist_dict_get_item(top.get(), key);
    if (value == nullptr || plist_get_node_type(value) != PLIST_STRING)
      return {};
    std::uint64_t length = 0;
    const char* const text = plist_get_string_ptr(value, &length);
    return {text, static_cast<std::size_t>(length)};
  }

  std::string toXml() const { return written(plist_to_xml); }
  std::string toBinary() const { return written(plist_to_bin); }

private:
  template <typename Write>
  std::string written(Write write) const {
    char* bytes = nullptr;
    std::uint32_t size = 0;
    write(top.get(), &bytes, &size);
    std::string list(bytes, size);
    std::free(bytes);
    return list;
  }

  struct Free {
    void operator()(void* list) const { plist_free(list); }
  };
  std::unique_ptr<void, Free> top;
};

} // namespace test
