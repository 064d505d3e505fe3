#!/usr/bin/env python3
"""Checks that a file is the launcher library, or a program, as a Mac expects it.

Usage: check_macho.py LIBRARY EXPORTS [FORBIDDEN_TEXT ...]
       check_macho.py --program PROGRAM [FORBIDDEN_TEXT ...]

EXPORTS is the linker's list of exported symbols. No FORBIDDEN_TEXT, usually a build path, may occur
anywhere in the file. Needs LIEF in the version of scripts/lief-requirements.txt. Prints one line
per check and slice. Exit status: 0 all hold, 1 one does not, 2 wrong usage.
"""

import functools
import hashlib
import itertools
import pathlib
import sys

import macho
from macho import Malformed, MachO, architecture_of, content_of, unpack

INSTALL_NAME = "@rpath/libThinClientLauncher.dylib"
SYSTEM_LIBRARIES = {
    "/System/Library/Frameworks/AppKit.framework/Versions/C/AppKit",
    "/System/Library/Frameworks/Foundation.framework/Versions/C/Foundation",
    "/usr/lib/libSystem.B.dylib",
    "/usr/lib/libc++.1.dylib",
    "/usr/lib/libobjc.A.dylib",
}
SYSTEM = ("/usr/lib/", "/System/Library/")
TYPES = MachO.LoadCommand.TYPE

# The compiler zeroes memory with a function for each architecture, and on x86_64 the C library's
# names say how wide an inode is.
ZEROING = {"___bzero", "_bzero"}
INODE = "$INODE64"

# LIEF shows a code signature as bytes. Its numbers are big-endian.
EMBEDDED_SIGNATURE, CODE_DIRECTORY = 0xFADE0CC0, 0xFADE0C02
ADHOC, SHA256 = 0x2, 2


def commands(binary, kind):
    return [command for command in binary.commands if isinstance(command, kind)]


def libraries(binary):
    """Pairs of load command and name, which LIEF gives as bytes if it is not UTF-8."""
    return [(each.command, str(each.name)) for each in commands(binary, MachO.DylibCommand)]


def names_of(binary, wanted):
    return [name for command, name in libraries(binary) if command == wanted]


def run_paths(binary):
    return [command.path for command in commands(binary, MachO.RPathCommand)]


def unless(holds, fault):
    return [] if holds else [fault]


# --- One function per check that finds more than one kind of fault ---


def faults_of_imports(binary):
    count = len(names_of(binary, TYPES.LOAD_DYLIB))
    promised = binary.header.has(MachO.Header.FLAGS.NOUNDEFS)
    return unless(promised, "the header does not promise it") + [
        f"{symbol.name} is bound to no loaded library"
        for symbol in macho.undefined(binary)
        if not 1 <= symbol.library_ordinal <= count
    ]


def faults_of_loads(binary):
    loaded = set(names_of(binary, TYPES.LOAD_DYLIB))
    return (
        [f"loads {name}" for name in sorted(loaded - SYSTEM_LIBRARIES)]
        + [f"does not load {name}" for name in sorted(SYSTEM_LIBRARIES - loaded)]
        + [
            f"{command.name} {name}"
            for command, name in libraries(binary)
            if command not in (TYPES.LOAD_DYLIB, TYPES.ID_DYLIB)
        ]
    )


def faults_of_system_loads(binary):
    """Of a program, which may load any library of the system, but no other."""
    return [
        f"{command.name} {name}"
        for command, name in libraries(binary)
        if command != TYPES.LOAD_DYLIB or not name.startswith(SYSTEM)
    ]


def faults_of_exports(binary, expected):
    trie = binary.dyld_exports_trie or binary.dyld_info
    exported = {str(entry.symbol.name) for entry in trie.exports} if trie else set()
    return [f"missing {name}" for name in sorted(expected - exported)] + [
        f"not in the list: {name}" for name in sorted(exported - expected)
    ]


def faults_of_unwinding(binary):
    names = {symbol.value: symbol.name for symbol in macho.defined(binary)}
    covered = [entry for entry in macho.unwind_entries(binary) if entry.encoding != 0]
    starts = binary.function_starts.functions if binary.has_function_starts else []
    return unless(starts, "where functions start is unknown") + [
        f"{names.get(start, hex(start))} has none"
        for start in starts
        if not any(entry.start <= start < entry.end for entry in covered)
    ]


def imports(binary):
    names = {str(symbol.name).removesuffix(INODE) for symbol in macho.undefined(binary)}
    return names - ZEROING


def differences(binaries, content_of_slice):
    """What some slices have and others lack."""
    contents = [content_of_slice(binary) for binary in binaries]
    names = set().union(*contents)
    return sorted(name for name in names if not all(name in each for each in contents))


def code_directory(signature):
    magic, _, count = unpack(">III", signature, 0)
    if magic != EMBEDDED_SIGNATURE:
        raise Malformed("a signature of an unknown kind")
    for index in range(count):
        _, offset = unpack(">II", signature, 12 + 8 * index)
        if unpack(">I", signature, offset)[0] == CODE_DIRECTORY:
            return signature[offset:]
    raise Malformed("a signature without a code directory")


def faults_of_signature(binary, content):
    """Compares every page of the slice's content with its hash in the ad-hoc signature."""
    if not binary.has_code_signature:
        return ["no signature"]
    signed_end = binary.code_signature.data_offset
    directory = code_directory(bytes(binary.code_signature.content))
    flags, hashes, _, _, pages, limit = unpack(">6I", directory, 12)
    hash_size, hash_type, _, page_shift = unpack("4B", directory, 36)
    page = 1 << page_shift
    if not flags & ADHOC:
        return ["not an ad-hoc signature"]
    if (hash_type, hash_size) != (SHA256, hashlib.sha256().digest_size):
        return [f"hashes of an unexpected kind ({hash_type}, {hash_size} bytes)"]
    if limit != signed_end or pages != -(-limit // page):
        return [f"{pages} pages up to {limit:#x} are signed, but it starts at {signed_end:#x}"]
    return [
        f"page {index} differs from its hash"
        for index in range(pages)
        if hashlib.sha256(content[index * page : min((index + 1) * page, limit)]).digest()
        != directory[hashes + index * hash_size : hashes + (index + 1) * hash_size]
    ]


# --- All checks ---


def checks_of_library(binary, expected):
    """Pairs of what is checked and its faults."""
    names = names_of(binary, TYPES.ID_DYLIB)
    is_library = binary.header.file_type == MachO.Header.FILE_TYPE.DYLIB
    yield "a dynamic library", unless(is_library, f"{binary.header.file_type}")
    yield "install name", unless(names == [INSTALL_NAME], f"{names}")
    yield "loads the five system libraries alone", faults_of_loads(binary)
    yield "exports exactly the list", faults_of_exports(binary, expected)
    yield from checks_of_shipped(binary)


def library_with(expected):
    return functools.partial(checks_of_library, expected=expected)


def checks_of_program(binary):
    header, flags = binary.header, MachO.Header.FLAGS
    is_program = header.file_type == MachO.Header.FILE_TYPE.EXECUTE
    yield "a program", unless(is_program, f"{header.file_type}")
    yield "at any address", unless(header.has(flags.PIE), f"flags {header.flags:#x}")
    yield "loads libraries of the system alone", faults_of_system_loads(binary)
    yield from checks_of_shipped(binary)


def checks_of_shipped(binary):
    yield "no run path", run_paths(binary)
    yield "an unwind entry for every function", faults_of_unwinding(binary)
    yield "a stack protector", unless("___stack_chk_fail" in imports(binary), "not imported")


def checks_of_every_kind(binary, content):
    header, flags = binary.header, MachO.Header.FLAGS
    builds = commands(binary, MachO.BuildVersion)
    platforms = [build.platform for build in builds]
    minimums = [build.minos for build in builds]
    two_level = header.has(flags.TWOLEVEL) and not header.has(flags.FORCE_FLAT)
    is_for_macos = platforms == [MachO.BuildVersion.PLATFORMS.MACOS]
    yield "two-level name space", unless(two_level, f"flags {header.flags:#x}")
    yield "nothing undefined", faults_of_imports(binary)
    yield "for macOS", unless(is_for_macos, f"{platforms}")
    yield "minimum macOS 11.0", unless(minimums == [[11, 0, 0]], f"{minimums}")
    if architecture_of(binary) == "arm64":  # the only one that macOS refuses to run unsigned
        yield "ad-hoc signature and page hashes", faults_of_signature(binary, content)


def checks(data, checks_of_kind, forbidden=()):
    """Triples of slice, what is checked and its faults."""
    universal = macho.parse(data)
    names = [architecture_of(binary) for binary in universal]
    wanted = sorted(macho.ARCHITECTURES.values())
    yield "file", f"universal: {' and '.join(wanted)}", unless(sorted(names) == wanted, f"{names}")
    yield "file", "no build path", [text for text in forbidden if text.encode() in data]
    yield "file", "the same imports in every slice", differences(universal, imports)
    yield "file", "the same messages in every slice", differences(universal, macho.selectors)
    for binary in universal:
        of_every_kind = checks_of_every_kind(binary, content_of(binary, data))
        for what, faults in itertools.chain(checks_of_kind(binary), of_every_kind):
            yield architecture_of(binary), what, faults


def read_exports(file):
    lines = {line.strip() for line in pathlib.Path(file).read_text(encoding="utf-8").splitlines()}
    return {line for line in lines if line and not line.startswith("#")}


def main(arguments):
    if len(arguments) < 2 or not all(arguments):
        print(__doc__, file=sys.stderr)
        return 2
    is_library = arguments[0] != "--program"
    file, *forbidden = arguments[0 if is_library else 1 :]
    failed = 0
    try:
        of_kind = library_with(read_exports(forbidden.pop(0))) if is_library else checks_of_program
        for where, what, faults in checks(pathlib.Path(file).read_bytes(), of_kind, forbidden):
            print(f"{'FAILED' if faults else 'ok':6}  {where:6}  {what}")
            for fault in faults:
                print(f"{'':16}{fault}")
            failed += bool(faults)
    except (Malformed, OSError, UnicodeDecodeError) as fault:
        print(f"FAILED  {file}: {fault}")
        failed += 1
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
