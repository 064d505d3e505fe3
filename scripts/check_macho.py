#!/usr/bin/env python3
"""Checks that a file is the launcher library as a Mac expects it.

Usage: check_macho.py LIBRARY EXPORTS [FORBIDDEN_TEXT ...]

EXPORTS is the linker's list of exported symbols. No FORBIDDEN_TEXT, a build path as a rule, may
stand anywhere in the file. Prints one line per check and slice. Exit status: 0 all hold, 1 one does
not, 2 wrong usage.
"""

import hashlib
import struct
import sys

INSTALL_NAME = "@rpath/libThinClientLauncher.dylib"
ARCHITECTURES = {0x0100000C: "arm64", 0x01000007: "x86_64"}
SYSTEM_LIBRARIES = {
    "/System/Library/Frameworks/AppKit.framework/Versions/C/AppKit",
    "/System/Library/Frameworks/Foundation.framework/Versions/C/Foundation",
    "/usr/lib/libSystem.B.dylib",
    "/usr/lib/libc++.1.dylib",
    "/usr/lib/libobjc.A.dylib",
}

FAT_MAGIC, MH_MAGIC_64 = 0xCAFEBABE, 0xFEEDFACF
MH_DYLIB = 6
MH_NOUNDEFS, MH_TWOLEVEL, MH_FORCE_FLAT = 0x1, 0x80, 0x100
LC_SYMTAB, LC_LOAD_DYLIB, LC_ID_DYLIB, LC_CODE_SIGNATURE = 0x2, 0xC, 0xD, 0x1D
LC_RPATH, LC_DYLD_INFO_ONLY, LC_BUILD_VERSION = 0x8000001C, 0x80000022, 0x32
LC_DYLD_EXPORTS_TRIE = 0x80000033
OTHER_DYLIB_LOADS = {0x80000018: "weak", 0x8000001F: "re-exported", 0x20: "lazy", 0x80000023: "upward"}
PLATFORM_MACOS = 1
N_STAB, N_TYPE, N_UNDF, N_EXT = 0xE0, 0x0E, 0x0, 0x1
CSMAGIC_EMBEDDED_SIGNATURE, CSMAGIC_CODEDIRECTORY = 0xFADE0CC0, 0xFADE0C02
CS_ADHOC, CS_HASHTYPE_SHA256 = 0x2, 2


class Malformed(Exception):
    """The file contradicts itself; what is left of it says nothing."""


def unpack(layout, data, offset):
    try:
        return struct.unpack_from(layout, data, offset)
    except struct.error:
        raise Malformed(f"a structure reaches past the end of the file, at {offset:#x}") from None


def text_at(data, offset):
    end = data.find(b"\0", offset)
    if offset >= len(data) or end < 0:
        raise Malformed(f"a text without end, at {offset:#x}")
    return data[offset:end].decode("utf-8", "replace")


def part_of(data, offset, size):
    if offset + size > len(data):
        raise Malformed(f"a part of {size} bytes at {offset:#x} reaches past the end")
    return data[offset : offset + size]


def uleb128(data, offset):
    value = shift = 0
    while True:
        (byte,) = unpack("B", data, offset)
        value |= (byte & 0x7F) << shift
        offset, shift = offset + 1, shift + 7
        if byte < 0x80:
            return value, offset


def slices_of(data):
    """The slices of a universal file, as pairs of architecture and bytes."""
    magic, count = unpack(">II", data, 0)
    if magic != FAT_MAGIC:
        raise Malformed("not a universal file")
    slices = []
    for index in range(count):
        cpu, _, offset, size, _ = unpack(">5I", data, 8 + 20 * index)
        slices.append((ARCHITECTURES.get(cpu, f"{cpu:#x}"), part_of(data, offset, size)))
    return slices


class Slice:
    """One Mach-O file: its header and load commands, and what they point to."""

    def __init__(self, data):
        self.data = data
        magic, _, _, self.filetype, count, _, self.flags, _ = unpack("<8I", data, 0)
        if magic != MH_MAGIC_64:
            raise Malformed("a slice that is no 64-bit Mach-O file")
        self.commands = []  # pairs of command and offset
        offset = 32
        for _ in range(count):
            command, size = unpack("<II", data, offset)
            if size < 8:
                raise Malformed(f"a load command of {size} bytes")
            self.commands.append((command, offset))
            offset += size

    def offsets(self, wanted):
        return [offset for command, offset in self.commands if command == wanted]

    def only(self, wanted, name):
        found = self.offsets(wanted)
        if len(found) != 1:
            raise Malformed(f"{len(found)} commands {name}, not 1")
        return found[0]

    def text_of_command(self, offset):
        """The text of a command whose first field is the text's offset in the command."""
        return text_at(self.data, offset + unpack("<I", self.data, offset + 8)[0])

    def install_name(self):
        return self.text_of_command(self.only(LC_ID_DYLIB, "LC_ID_DYLIB"))

    def loaded_libraries(self):
        return [self.text_of_command(offset) for offset in self.offsets(LC_LOAD_DYLIB)]

    def other_loads(self):
        return [
            f"{OTHER_DYLIB_LOADS[command]} {self.text_of_command(offset)}"
            for command, offset in self.commands
            if command in OTHER_DYLIB_LOADS
        ]

    def run_paths(self):
        return [self.text_of_command(offset) for offset in self.offsets(LC_RPATH)]

    def platform_and_minimum(self):
        offset = self.only(LC_BUILD_VERSION, "LC_BUILD_VERSION")
        platform, minimum = unpack("<II", self.data, offset + 8)
        return platform, f"{minimum >> 16}.{minimum >> 8 & 0xFF}"

    def imports(self):
        """Pairs of undefined symbol and the number of the loaded library that has it."""
        symbols, count, texts, _ = unpack("<4I", self.data, self.only(LC_SYMTAB, "LC_SYMTAB") + 8)
        for index in range(count):
            name, kind, _, description, _ = unpack("<IBBHQ", self.data, symbols + 16 * index)
            if not kind & N_STAB and kind & N_TYPE == N_UNDF and kind & N_EXT:
                yield text_at(self.data, texts + name), description >> 8

    def exports_trie(self):
        if self.offsets(LC_DYLD_EXPORTS_TRIE):
            command = self.only(LC_DYLD_EXPORTS_TRIE, "LC_DYLD_EXPORTS_TRIE")
            return part_of(self.data, *unpack("<II", self.data, command + 8))
        command = self.only(LC_DYLD_INFO_ONLY, "LC_DYLD_INFO_ONLY")
        return part_of(self.data, *unpack("<II", self.data, command + 40))

    def exports(self):
        trie = self.exports_trie()
        names, pending, seen = [], [("", 0)], set()
        while pending:
            prefix, node = pending.pop()
            if node in seen:
                raise Malformed("an exports trie that leads back to itself")
            seen.add(node)
            terminal_size, offset = uleb128(trie, node)
            if terminal_size:
                names.append(prefix)
            (children,) = unpack("B", trie, offset + terminal_size)
            offset += terminal_size + 1
            for _ in range(children):
                edge = text_at(trie, offset)
                child, offset = uleb128(trie, offset + len(edge.encode()) + 1)
                pending.append((prefix + edge, child))
        return names

    def signature(self):
        """The signature's bytes and where the signed ones end, or None."""
        if not self.offsets(LC_CODE_SIGNATURE):
            return None
        command = self.only(LC_CODE_SIGNATURE, "LC_CODE_SIGNATURE")
        offset, size = unpack("<II", self.data, command + 8)
        return part_of(self.data, offset, size), offset


def code_directory(signature):
    magic, _, count = unpack(">III", signature, 0)
    if magic != CSMAGIC_EMBEDDED_SIGNATURE:
        raise Malformed("a signature of an unknown kind")
    for index in range(count):
        _, offset = unpack(">II", signature, 12 + 8 * index)
        if unpack(">I", signature, offset)[0] == CSMAGIC_CODEDIRECTORY:
            return signature[offset:]
    raise Malformed("a signature without a code directory")


def signature_faults(binary):
    """What is wrong with the ad-hoc signature and its page hashes."""
    found = binary.signature()
    if found is None:
        return ["no signature"]
    signature, signed_end = found
    directory = code_directory(signature)
    flags, hashes, _, _, pages, limit = unpack(">6I", directory, 12)
    hash_size, hash_type, _, page_shift = unpack("4B", directory, 36)
    page = 1 << page_shift
    if not flags & CS_ADHOC:
        return ["not an ad-hoc signature"]
    if (hash_type, hash_size) != (CS_HASHTYPE_SHA256, hashlib.sha256().digest_size):
        return [f"hashes of an unexpected kind ({hash_type}, {hash_size} bytes)"]
    if limit != signed_end or pages != -(-limit // page):
        return [f"{pages} pages up to {limit:#x} are signed, the signature starts at {signed_end:#x}"]
    return [
        f"page {index} differs from its hash"
        for index in range(pages)
        if hashlib.sha256(binary.data[index * page : min((index + 1) * page, limit)]).digest()
        != part_of(directory, hashes + index * hash_size, hash_size)
    ]


def faults_of_imports(binary):
    libraries = len(binary.loaded_libraries())
    unbound = [name for name, library in binary.imports() if not 1 <= library <= libraries]
    flag = [] if binary.flags & MH_NOUNDEFS else ["the header does not promise it"]
    return flag + [f"{name} is bound to no loaded library" for name in unbound]


def faults_of_loads(binary):
    loaded = set(binary.loaded_libraries())
    return (
        [f"loads {name}" for name in sorted(loaded - SYSTEM_LIBRARIES)]
        + [f"does not load {name}" for name in sorted(SYSTEM_LIBRARIES - loaded)]
        + binary.other_loads()
    )


def faults_of_exports(binary, expected):
    exported = set(binary.exports())
    return [f"missing {name}" for name in sorted(expected - exported)] + [
        f"not in the list: {name}" for name in sorted(exported - expected)
    ]


def unless(holds, fault):
    return [] if holds else [fault]


def checks_of_slice(architecture, binary, expected):
    """Pairs of what is checked and its faults."""
    platform, minimum = binary.platform_and_minimum()
    two_level = binary.flags & MH_TWOLEVEL and not binary.flags & MH_FORCE_FLAT
    yield "a dynamic library", unless(binary.filetype == MH_DYLIB, f"type {binary.filetype}")
    yield "two-level name space", unless(two_level, f"flags {binary.flags:#x}")
    yield "nothing undefined", faults_of_imports(binary)
    yield "install name", unless(binary.install_name() == INSTALL_NAME, binary.install_name())
    yield "for macOS", unless(platform == PLATFORM_MACOS, f"platform {platform}")
    yield "minimum macOS 11.0", unless(minimum == "11.0", minimum)
    yield "no run path", binary.run_paths()
    yield "loads the five system libraries alone", faults_of_loads(binary)
    yield f"exports the {len(expected)} symbols of the list", faults_of_exports(binary, expected)
    if architecture == "arm64":  # the only one that macOS refuses to run unsigned
        yield "ad-hoc signature and page hashes", signature_faults(binary)


def checks(data, expected, forbidden):
    """Triples of slice, what is checked and its faults."""
    slices = slices_of(data)
    names = [name for name, _ in slices]
    wanted = sorted(ARCHITECTURES.values())
    yield "file", f"universal: {' and '.join(wanted)}", unless(sorted(names) == wanted, f"{names}")
    yield "file", "no build path", [text for text in forbidden if text.encode() in data]
    for architecture, content in slices:
        for what, faults in checks_of_slice(architecture, Slice(content), expected):
            yield architecture, what, faults


def read_exports(file):
    with open(file, encoding="utf-8") as lines:
        names = {line.strip() for line in lines}
    return {name for name in names if name and not name.startswith("#")}


def main(arguments):
    if len(arguments) < 2 or not all(arguments):
        print("Usage: check_macho.py LIBRARY EXPORTS [FORBIDDEN_TEXT ...]", file=sys.stderr)
        return 2
    library, exports, *forbidden = arguments
    failed = 0
    try:
        expected = read_exports(exports)
        with open(library, "rb") as file:
            data = file.read()
        for where, what, faults in checks(data, expected, forbidden):
            print(f"{'FAILED' if faults else 'ok':6}  {where:6}  {what}")
            for fault in faults:
                print(f"{'':16}{fault}")
            failed += bool(faults)
    except (Malformed, OSError) as fault:
        print(f"FAILED  {library}: {fault}")
        failed += 1
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
