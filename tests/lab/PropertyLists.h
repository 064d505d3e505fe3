#pragma once

#include <string>
#include <vector>

// Property lists of any shape, put together by hand.

namespace test {

constexpr const char* VERSION_KEY = "CFBundleShortVersionString";
constexpr const char* VERSION = "45.10.0.32950";

std::string repeated(const std::string& text, std::size_t times);

// An XML list around this content, and one with these entries.
std::string xmlList(const std::string& content);
std::string xmlWithEntries(const std::string& entries);

std::string xmlEntry(const std::string& value, const std::string& key = VERSION_KEY);
std::string xmlTextEntry(const std::string& rawText);

// An XML list with the version and, before it, other entries.
std::string xmlWithVersion(const std::string& before = "");

std::string inUtf16(const std::u16string& text, bool isBigEndian);

// The parts of a binary list. Its first object is the top, and objects refer to others by index.
namespace Binary {

constexpr std::size_t REFERENCE_SIZE = 2;

using References = std::vector<std::size_t>;

std::string number(std::size_t value, std::size_t size);
std::string text(const std::string& ascii);
std::string utf16(const std::u16string& text);
std::string array(const References& values);
std::string dictionary(
    const References& keys, const References& values, std::size_t referenceSize = REFERENCE_SIZE);
std::string list(
    const std::vector<std::string>& objects,
    std::size_t offsetSize = 4,
    std::size_t referenceSize = REFERENCE_SIZE);

// A list with this object under the version's key.
std::string withVersion(const std::string& object);

} // namespace Binary

} // namespace test
