#pragma once

#include <filesystem>
#include <string>

namespace PropertyList {

// The text under a key at the top of a property list file, XML or binary; empty when there is none
// that is valid, or the file is no regular one, unreadable, over 256 KiB or malformed. Throws
// nothing of its own. Time and memory grow linearly with the file.
std::string readText(const std::filesystem::path& file, const char* key);

} // namespace PropertyList
