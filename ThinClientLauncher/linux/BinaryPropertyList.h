#pragma once

#include "PropertyList.h"

#include <string_view>

namespace BinaryPropertyList {

// The text under a key at the top of a binary property list. Throws nothing of its own.
PropertyList::Entry read(std::string_view bytes, std::string_view key);

} // namespace BinaryPropertyList
