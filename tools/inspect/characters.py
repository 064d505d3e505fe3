#!/usr/bin/env python3
"""Writes RANGES of characters for DisplayText.cpp, each as its first character and its columns.

Usage: characters.py FILE

Python's Unicode data tell the columns: two for wide characters, none for marks, HIDDEN for what is
not assigned, or invisible.
"""

import sys
import unicodedata

# Not visible, although their categories are those of letters and marks.
IGNORED = [(0x34F, 0x34F), (0x115F, 0x1160), (0x17B4, 0x17B5), (0x180B, 0x180F), (0x3164, 0x3164),
           (0xFE00, 0xFE0F), (0xFFA0, 0xFFA0), (0xE0000, 0xE0FFF)]


def columns(character):
    category = unicodedata.category(character)
    if category in ("Cn", "Cc", "Cf", "Zl", "Zp") or any(
            first <= ord(character) <= last for first, last in IGNORED):
        return "HIDDEN"
    if category[0] == "M":
        return "0"
    return "2" if unicodedata.east_asian_width(character) in "WF" else "1"


ranges, last = [], None
for code in range(sys.maxunicode + 1):
    found = columns(chr(code))
    if found != last:
        ranges.append(f"{{{code:#x}, {found}}},\n")
    last = found
with open(sys.argv[1], "w", encoding="utf-8") as file:
    file.writelines([f"constexpr std::array<Range, {len(ranges)}> RANGES{{{{\n", *ranges, "}};\n"])
