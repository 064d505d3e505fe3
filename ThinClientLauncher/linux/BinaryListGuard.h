#pragma once

#include <string_view>

namespace PropertyList {

// Whether a binary property list stays small once every reference in it is followed, as the parser
// does: a list may refer to one object many times, so that 135 bytes stand for gigabytes, or nest
// deeper than the stack. A list that is too malformed to tell is not modest.
bool isModestBinaryList(std::string_view content);

} // namespace PropertyList
