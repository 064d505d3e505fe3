"""Reads the library as a Mach-O file, with LIEF in the version of scripts/lief-requirements.txt.

For the checker and for the tests that run the library's machine code. Raises Malformed.
"""

import struct
import sys
import warnings
from typing import NamedTuple

try:
    import lief
    from lief import MachO
except ImportError:
    sys.exit("macho.py: NOTHING WAS CHECKED: Python does not find LIEF; docs/macos.md shows how to "
             "fetch it.")

ARCHITECTURES = {MachO.Header.CPU_TYPE.ARM64: "arm64", MachO.Header.CPU_TYPE.X86_64: "x86_64"}
DEBUGGER_ENTRY = 0xE0  # N_STAB: an entry with one of these bits is no symbol

# LIEF's messages about damaged files would mix with the checks' own lines.
lief.logging.disable()
warnings.simplefilter("ignore", RuntimeWarning)


class Malformed(Exception):
    """The file contradicts itself, so no check of it can be trusted."""


def unpack(layout, data, offset):
    try:
        return struct.unpack_from(layout, data, offset)
    except struct.error:
        raise Malformed(f"no field at {offset:#x}") from None


def parse(data):
    """The slices of a file. They live only as long as the returned object."""
    universal = MachO.parse(data)
    if universal is None:
        raise Malformed("not a Mach-O file")
    return universal


def architecture_of(binary):
    return ARCHITECTURES.get(binary.header.cpu_type, "other")


def content_of(binary, data):
    return data[binary.fat_offset : binary.fat_offset + binary.original_size]


def symbols(binary, kind):
    return [
        symbol
        for symbol in binary.symbols
        if symbol.origin == MachO.Symbol.ORIGIN.SYMTAB
        and symbol.type == kind
        and not symbol.raw_type & DEBUGGER_ENTRY
    ]


def undefined(binary):
    return symbols(binary, MachO.Symbol.TYPE.UNDEFINED)


def defined(binary):
    return symbols(binary, MachO.Symbol.TYPE.SECTION)


def words(binary, name, size=8):
    """Pairs of place in the image and content of a section's entries; none if there is no such section."""
    section = binary.get_section(name)
    content = bytes(section.content) if section else b""
    return [
        (section.virtual_address - binary.imagebase + offset, content[offset : offset + size])
        for offset in range(0, len(content), size)
    ]


def selectors(binary):
    """The names of the messages that the code sends."""
    section = binary.get_section("__objc_methname")
    names = bytes(section.content).decode("utf-8", "replace") if section else ""
    return set(names.split("\0")) - {""}


# --- Unwind entries ---


class UnwindEntry(NamedTuple):
    """How to unwind a range of code: one function, or several that agree."""

    start: int
    end: int
    encoding: int  # 0: not at all
    personality: int  # the address of a pointer to it, 0 for none
    lsda: int  # the address of the table of handlers, 0 for none


def encodings_of_page(content, page, start, common):
    """Pairs of address and encoding of a second-level page."""
    kind, offset, count = unpack("<I2H", content, page)
    if kind == 2:
        return [unpack("<2I", content, page + offset + 8 * index) for index in range(count)]
    own_offset, own_count = unpack("<2H", content, page + 8)
    encodings = common + unpack(f"<{own_count}I", content, page + own_offset)
    entries = unpack(f"<{count}I", content, page + offset)
    return [(start + (entry & 0xFFFFFF), encodings[entry >> 24]) for entry in entries]


def read_unwind_entries(content):
    _, offset, count, people, people_count, index, index_count = unpack("<7I", content, 0)
    common = unpack(f"<{count}I", content, offset)
    personalities = (0,) + unpack(f"<{people_count}I", content, people)
    pages = [unpack("<3I", content, index + 12 * number) for number in range(index_count)]
    tables = dict(struct.iter_unpack("<2I", content[pages[0][2] : pages[-1][2]]))
    starts = [
        entry
        for start, page, _ in pages[:-1]
        for entry in encodings_of_page(content, page, start, common)
    ]
    ends = [start for start, _ in starts[1:]] + [pages[-1][0]]
    return [
        UnwindEntry(start, end, encoding, personalities[encoding >> 28 & 3], tables.get(start, 0))
        for (start, encoding), end in zip(starts, ends)
    ]


def unwind_entries(binary):
    """All entries, in the order of their addresses."""
    section = binary.get_section("__unwind_info")
    try:
        return read_unwind_entries(bytes(section.content) if section else b"")
    except (IndexError, struct.error):
        raise Malformed("its unwind entries contradict each other") from None


def frame_instructions(binary, entry):
    """The instructions in DWARF of an entry that has no compact form."""
    section = binary.get_section("__eh_frame")
    content, start = bytes(section.content), entry.encoding & 0xFFFFFF
    (length,) = unpack("<I", content, start)
    (augmentation,) = unpack("B", content, start + 24)  # the length of what precedes the instructions
    return content[start + 25 + augmentation : start + 4 + length]
