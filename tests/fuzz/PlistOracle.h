#pragma once

#include <plist/plist.h>

#include <string>

// The text under a key at the top of a list, as the library that parses the whole list gives it.
inline std::string textByFullParse(const std::string& list, const char* key) {
  plist_t parsed = nullptr;
  plist_from_xml(list.data(), static_cast<std::uint32_t>(list.size()), &parsed);
  const bool isDictionary = parsed != nullptr && plist_get_node_type(parsed) == PLIST_DICT;
  const plist_t value = isDictionary ? plist_dict_get_item(parsed, key) : nullptr;
  std::string text;
  if (value != nullptr && plist_get_node_type(value) == PLIST_STRING) {
    std::uint64_t length = 0;
    const char* const start = plist_get_string_ptr(value, &length);
    text.assign(start, static_cast<std::size_t>(length));
  }
  plist_free(parsed);
  return text;
}
