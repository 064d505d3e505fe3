#include "HostileLists.h"

#include <random>

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

static std::string xmlEntry(const std::string& key, const std::string& value) {
  return "<key>" + key + "</key>" + value;
}

static std::string xmlVersion(const std::string& text) {
  return xmlEntry(VERSION_KEY, "<string>" + text + "</string>");
}

std::string xmlWithVersion(const std::string& before) {
  return xmlList("<dict>" + before + xmlVersion(VERSION) + "</dict>");
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
  std::string bytes = header(0x6, text.size());
  for (const char16_t unit : text)
    bytes += number(unit, 2);
  return bytes;
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

// The version and, before it, the object at 3, which may refer to those behind it.
static std::string besideVersion(const std::vector<std::string>& objects) {
  std::vector<std::string> all{
      dictionary({4, 1}, {3, 2}), text(VERSION_KEY), text(VERSION), objects.front(), text("a")};
  all.insert(all.end(), objects.begin() + 1, objects.end());
  return list(all);
}

// Arrays in arrays, each of which refers so many times to the next.
static std::string
nestedArrays(std::size_t depth, std::size_t times, const std::string& innermost) {
  std::vector<std::string> objects{array(References(times, 5))};
  for (std::size_t level = 1; level < depth; ++level)
    objects.push_back(array(References(times, 5 + level)));
  objects.push_back(innermost);
  return besideVersion(objects);
}

// A dictionary that has the same key, and the version under it, this many times.
static std::string repeatedKey(const std::string& key, std::size_t times) {
  return list({dictionary(References(times, 1), References(times, 2)), key, text(VERSION)});
}

} // namespace Binary

static std::string nestedXml(const std::string& open, const std::string& close, std::size_t depth) {
  return repeated(open, depth) + "<true/>" + repeated(close, depth);
}

static std::vector<HostileList> hostileXmlLists() {
  const auto dictionary = [](const std::string& content) {
    return xmlList("<dict>" + content + "</dict>");
  };
  const std::string laughs =
      "<!DOCTYPE plist [<!ENTITY a \"ha\"><!ENTITY b \"&a;&a;\"><!ENTITY c \"&b;&b;\">]>";
  const std::string dict = "<dict><key>a</key>";
  const std::string longKey(30, 'k');
  return {
      {"arrays in arrays",
       xmlWithVersion(xmlEntry("a", nestedXml("<array>", "</array>", 17000))),
       VERSION},
      {"dictionaries in dictionaries",
       xmlWithVersion(xmlEntry("a", nestedXml(dict, "</dict>", 10000))),
       VERSION},
      {"unclosed arrays", "<plist>" + repeated("<array>", 37000), ""},
      {"unclosed comments", "<plist>" + repeated("<!--", 65000), ""},
      {"unclosed character data", "<plist><dict><key>" + repeated("<![CDATA[", 29000), ""},
      {"unknown elements in each other", xmlList(nestedXml("<a>", "</a>", 37000)), ""},
      {"lists in lists", repeated("<plist>", 37000), ""},
      {"nothing but <", std::string(262144, '<'), ""},
      {"nothing but &", dictionary(xmlVersion(std::string(261000, '&'))), ""},
      {"entities of entities", laughs + dictionary(xmlVersion("&c;")), ""},
      {"entities in the version", dictionary(xmlVersion(repeated("&lt;", 65000) + "&a;")), ""},
      {"comments in the version",
       dictionary(xmlVersion(VERSION + repeated("<!---->", 37000))),
       VERSION},
      {"character data in the version",
       dictionary(xmlVersion(VERSION + repeated("<![CDATA[]]>", 21000))),
       VERSION},
      {"short keys", xmlWithVersion(repeated(xmlEntry("k", "<true/>"), 13000)), VERSION},
      {"long keys with entities",
       xmlWithVersion(repeated(xmlEntry(longKey + "&lt;", "<true/>"), 4900)),
       VERSION},
  };
}

static std::vector<HostileList> hostileBinaryLists() {
  using namespace Binary;
  const std::string almostKey = std::string(VERSION_KEY).replace(25, 1, "G");
  const std::string endlessCount = "\x13\x7F\xFF\xFF\xFF\xFF\xFF\xFF\xFF";
  return {
      {"arrays that share their entries", nestedArrays(40, 8, text("x")), VERSION},
      {"a long text shared by arrays",
       nestedArrays(2, 100, text(std::string(1 << 17, 'x'))),
       VERSION},
      {"arrays in arrays, binary", nestedArrays(30000, 1, text("x")), VERSION},
      {"an array in itself", besideVersion({array({3, 3})}), VERSION},
      {"two arrays in each other", besideVersion({array({5}), array({3})}), VERSION},
      {"a dictionary in itself", list({dictionary({1}, {0}), text(VERSION_KEY)}), ""},
      {"a dictionary as its own key", list({dictionary({0}, {1}), text(VERSION)}), ""},
      {"a long text as every key", repeatedKey(text(std::string(1 << 17, 'x')), 30000), ""},
      {"a long UTF-16 text as every key",
       repeatedKey(utf16(std::u16string(1 << 16, u'x')), 30000),
       ""},
      {"almost the key as every key", repeatedKey(text(almostKey), 60000), ""},
      {"a text without end", withVersion("\x5F" + endlessCount), ""},
      {"a UTF-16 text without end", withVersion("\x6F" + endlessCount), ""},
      {"a dictionary without end", list({"\xDF" + endlessCount + number(1, 2), text("a")}), ""},
      {"an array without end", besideVersion({"\xAF" + endlessCount}), VERSION},
      {"a reference beyond the table", list({dictionary({1}, {9}), text(VERSION_KEY)}), ""},
      {"references of 255 bytes",
       list({dictionary({1}, {2}, 255), text(VERSION_KEY), text(VERSION)}, 1, 255),
       ""},
  };
}

std::vector<HostileList> hostileLists() {
  std::mt19937 random(1);
  std::string noise(1 << 18, '\0');
  for (char& byte : noise)
    byte = static_cast<char>(random());
  std::vector<HostileList> lists = hostileXmlLists();
  for (auto& list : hostileBinaryLists())
    lists.push_back(std::move(list));
  lists.push_back({"random bytes", noise, ""});
  lists.push_back({"random bytes after the head", "bplist00" + noise.substr(8), ""});
  return lists;
}

} // namespace test
