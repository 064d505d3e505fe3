#pragma once

#include "../Platform.h"

#include <string>

namespace PropertyList {

// A text, or why there is none.
struct Entry {
  std::string text;
  Platform::ListProblem problem = Platform::ListProblem::None;
};

// The text under a key at the top of a property list file, XML or binary. There is none when the
// file is no regular one, unreadable, over 256 KiB or malformed, nor in XML with declarations in
// its document type, or in an encoding other than UTF-8, UTF-16, ISO-8859-1 and US-ASCII. Throws
// nothing of its own. Time and memory grow linearly with the file.
Entry read(const std::string& file, const char* key);

} // namespace PropertyList
