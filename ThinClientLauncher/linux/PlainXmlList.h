#pragma once

#include <optional>
#include <string_view>

namespace PropertyList {

// The text under a key at the top of an XML property list, read in place and many times faster than
// the parser that builds the whole list; empty when the key is missing or its value is no text.
//
// Nothing for a list that is not of the plain shape in which the systems' own tools write theirs
// (the usual header or none of it, no comments, entities, CDATA or dates, modest nesting): such a
// list is the parser's. On a plain list both answer alike.
std::optional<std::string_view> readPlainXml(std::string_view list, std::string_view key);

} // namespace PropertyList
