#pragma once

#include <filesystem>
#include <string>

namespace PropertyList {

// The text under a key at the top of a property list file, XML or binary. Empty when the file is
// missing, no regular file, unreadable, over 256 KiB or malformed, or when the key is missing or
// its value is no valid text. Throws nothing of its own. Time and memory grow linearly with the
// file.
std::string readText(const std::filesystem::path& file, const char* key);

} // namespace PropertyList
