#include "PropertyList.h"

#include "BinaryListGuard.h"
#include "Descriptor.h"
#include "PlainXmlList.h"

#include <glib.h>
#include <plist/plist.h>

#include <cerrno>
#include <cstdint>
#include <fcntl.h>
#include <memory>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

namespace PropertyList {

namespace {

constexpr std::size_t MAXIMUM_FILE_SIZE = 256 * 1024;
constexpr std::string_view BINARY_LIST_MAGIC = "bplist0";
// What libplist pays for more than linearly: containers with stack, since it frees nested ones
// recursively, keys and entities with time.
constexpr std::size_t MAXIMUM_XML_CONTAINERS = 500;
constexpr std::size_t MAXIMUM_XML_KEYS = 1000;
constexpr std::size_t MAXIMUM_XML_ENTITIES = 1000;

struct ListDeleter {
  void operator()(void* list) const { plist_free(list); }
};
using List = std::unique_ptr<void, ListDeleter>;

bool isReadableList(const struct stat& status) {
  return S_ISREG(status.st_mode) && status.st_size > 0 &&
         static_cast<std::uintmax_t>(status.st_size) <= MAXIMUM_FILE_SIZE;
}

// The file's type is asked for before it is opened, since opening a device can have effects. What
// takes its place in between costs no more than the size read here.
std::string readFile(const std::filesystem::path& file) {
  struct stat status {};
  if (::stat(file.c_str(), &status) != 0 || !isReadableList(status))
    return {};
  const Descriptor descriptor(::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
  if (descriptor < 0)
    return {};
  std::string content(static_cast<std::size_t>(status.st_size), '\0');
  std::size_t filled = 0;
  while (filled < content.size()) {
    const ssize_t got = ::read(descriptor, content.data() + filled, content.size() - filled);
    if (got < 0 && errno == EINTR)
      continue;
    if (got <= 0)
      break;
    filled += static_cast<std::size_t>(got);
  }
  content.resize(filled);
  return content;
}

std::size_t countOccurrences(std::string_view text, std::string_view what) {
  std::size_t count = 0;
  for (auto at = text.find(what); at != std::string_view::npos; at = text.find(what, at + 1))
    ++count;
  return count;
}

bool isModestXml(std::string_view content) {
  return countOccurrences(content, "<array") + countOccurrences(content, "<dict") <=
             MAXIMUM_XML_CONTAINERS &&
         countOccurrences(content, "<key") <= MAXIMUM_XML_KEYS &&
         countOccurrences(content, "&") <= MAXIMUM_XML_ENTITIES;
}

List parse(const std::string& content) {
  const auto size = static_cast<std::uint32_t>(content.size());
  plist_t list = nullptr;
  if (content.compare(0, BINARY_LIST_MAGIC.size(), BINARY_LIST_MAGIC) == 0) {
    if (isModestBinaryList(content))
      plist_from_bin(content.data(), size, &list);
  } else if (isModestXml(content)) {
    plist_from_xml(content.data(), size, &list);
  }
  return List(list);
}

std::string validText(std::string_view text) {
  const bool isValid = g_utf8_validate(text.data(), static_cast<gssize>(text.size()), nullptr);
  return isValid ? std::string(text) : std::string();
}

} // namespace

std::string readText(const std::filesystem::path& file, const char* key) {
  const std::string content = readFile(file);
  if (const auto text = readPlainXml(content, key))
    return validText(*text);
  const List list = parse(content);
  if (!list || plist_get_node_type(list.get()) != PLIST_DICT)
    return {};
  const plist_t value = plist_dict_get_item(list.get(), key);
  if (value == nullptr || plist_get_node_type(value) != PLIST_STRING)
    return {};
  std::uint64_t length = 0;
  const char* const text = plist_get_string_ptr(value, &length);
  return text == nullptr ? std::string() : validText({text, static_cast<std::size_t>(length)});
}

} // namespace PropertyList
