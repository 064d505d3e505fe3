#pragma once

#include <filesystem>
#include <string>

namespace PropertyList {

// The text under a key at the top of a property list file, XML or binary. Empty when the file is
// missing, no regular file, unreadable, over 256 KiB, malformed or nested or repeated beyond what
// any real list is, or when the key is missing or its value is no valid text. Raises nothing of its
// own, and bounds the time, memory and stack that hostile content can cost.
std::string readText(const std::filesystem::path& file, const char* key);

} // namespace PropertyList
