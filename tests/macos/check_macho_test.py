#!/usr/bin/env python3
"""Tests the checker: it finds and names every fault that is put into a copy of the library, or of a
program.

Usage: check_macho_test.py LIBRARY EXPORTS PROGRAM
"""

import contextlib
import io
import pathlib
import random
import struct
import sys
import tempfile
import unittest

import check_mac_files

HERE = pathlib.Path(__file__).resolve().parent
sys.path[:0] = [str(HERE.parents[1] / "scripts"), str(HERE / "machine")]
import check_macho  # noqa: E402  (needs the path above)
import relink  # noqa: E402
from check_macho import TYPES, MachO  # noqa: E402

FLAGS = MachO.Header.FLAGS
SIGNATURE = "ad-hoc signature and page hashes"
IMPORTS = "the same imports in every slice"
UNWINDING = "an unwind entry for every function"
LOADS = "loads the five system libraries alone"


class Slice:
    """One slice of a copy of the library, to be damaged. Offsets count from its start."""

    def __init__(self, data, architecture):
        self.data = bytearray(data)
        self.universal = MachO.parse(data)  # keeps the binary alive
        self.binary = next(
            binary
            for binary in self.universal
            if check_macho.architecture_of(binary) == architecture)

    def put(self, layout, offset, *values):
        struct.pack_into(layout, self.data, self.binary.fat_offset + offset, *values)

    def replace(self, old, new):
        """Overwrites every occurrence of a text with another of the same length."""
        content = check_macho.content_of(self.binary, bytes(self.data))
        assert old in content and len(old) == len(new)
        self.put(f"{len(content)}s", 0, content.replace(old, new))

    def command(self, wanted):
        """The offset of the first load command of a type."""
        return next(c.command_offset for c in self.binary.commands if c.command == wanted)

    def set_flags(self, added, removed=0):
        self.put("<I", 24, self.binary.header.flags & ~int(removed) | int(added))

    def symbol(self, name):
        """The offset of its entry in the symbol table."""
        index = [symbol.name for symbol in self.binary.symbols].index(name)
        return self.binary.symbol_command.symbol_offset + 16 * index

    def add_run_path(self, path):
        """Puts it over the UUID, whose command is as long as that of a path of twelve bytes."""
        self.put("<I", self.command(TYPES.UUID), int(TYPES.RPATH))
        self.put("<I", self.command(TYPES.UUID) + 8, 12)
        self.put("12s", self.command(TYPES.UUID) + 12, path)

    def rename_export(self):
        trie = bytes(self.binary.dyld_info.export_trie)
        self.replace(trie, trie.replace(b"EntryPoint", b"EntryPaint"))

    def uncover_last_function(self):
        """Lets the unwind entries end where it starts: that address is the last of their index."""
        section = self.binary.get_section("__unwind_info")
        index, count = struct.unpack_from("<2I", bytes(section.content), 20)
        start = self.binary.function_starts.functions[-1]
        self.put("<I", section.offset + index + 12 * (count - 1), start)

    # --- The signature's code directory; fields count from its start ---

    def directory(self):
        return check_macho.code_directory(bytes(self.binary.code_signature.content))

    def size_of_directory(self):
        return struct.unpack_from(">I", self.directory(), 4)[0]

    def flip(self, layout, field):
        """Flips the bit of value 2, which is the flag for an ad-hoc signature among the flags."""
        signature, directory = self.binary.code_signature, self.directory()
        start = signature.data_offset + len(signature.content) - len(directory)
        self.put(layout, start + field, struct.unpack_from(layout, directory, field)[0] ^ 2)


# What is checked, the faults that are named, and how they come about.
FAULTS_OF_EITHER_SLICE = [
    ("a dynamic library", "FILE_TYPE.BUNDLE", lambda s: s.put("<I", 12, 8)),
    ("two-level name space", "flags 0x100005", lambda s: s.set_flags(0, FLAGS.TWOLEVEL)),
    ("two-level name space", "flags 0x100185", lambda s: s.set_flags(FLAGS.FORCE_FLAT)),
    ("nothing undefined", "_dlopen is bound to no loaded library",
     lambda s: s.put("<H", s.symbol("_dlopen") + 6, 0xFE00)),  # to be looked up in every library
    ("nothing undefined", "the header does not promise it",
     lambda s: s.set_flags(0, FLAGS.NOUNDEFS)),
    ("install name", "['@rpath/libThisClientLauncher.dylib']",
     lambda s: s.replace(b"@rpath/libThin", b"@rpath/libThis")),
    ("for macOS", "[PLATFORMS.IOS]", lambda s: s.put("<I", s.command(TYPES.BUILD_VERSION) + 8, 2)),
    ("minimum macOS 11.0", "[[12, 0, 0]]",
     lambda s: s.put("<I", s.command(TYPES.BUILD_VERSION) + 12, 12 << 16)),
    ("no run path", "/opt/lib", lambda s: s.add_run_path(b"/opt/lib")),
    (LOADS, "loads /opt/lib/libobjc.dylib.A, does not load /usr/lib/libobjc.A.dylib",
     lambda s: s.replace(b"/usr/lib/libobjc.A.dylib", b"/opt/lib/libobjc.dylib.A")),
    ("exports exactly the list",
     "missing _ThinClientLauncherEntryPoint, not in the list: _ThinClientLauncherEntryPaint",
     lambda s: s.rename_export()),
    (UNWINDING, "where functions start is unknown",
     lambda s: s.put("<I", s.command(TYPES.FUNCTION_STARTS), 0x2B)),
]
FAULTS_OF_A_PROGRAM = [
    ("a program", "FILE_TYPE.BUNDLE", lambda s: s.put("<I", 12, 8)),
    ("at any address", "flags 0x18085", lambda s: s.set_flags(0, FLAGS.PIE)),
    ("loads libraries of the system alone", "LOAD_DYLIB /opt/lib/libobjc.dylib.A",
     lambda s: s.replace(b"/usr/lib/libobjc.A.dylib", b"/opt/lib/libobjc.dylib.A")),
    ("loads libraries of the system alone",
     "LOAD_WEAK_DYLIB /System/Library/Frameworks/Foundation.framework/Versions/C/Foundation",
     lambda s: s.put("<I", s.command(TYPES.LOAD_DYLIB), int(TYPES.LOAD_WEAK_DYLIB))),
    ("no run path", "/opt/lib", lambda s: s.add_run_path(b"/opt/lib")),
]
FAULTS_OF_A_RUN_PATH = [
    ("it needs none of ['/opt/lib']", lambda s: s.add_run_path(b"/opt/lib")),
    ("@rpath/libThinClient.dyl is not found by []",
     lambda s: s.replace(b"/usr/lib/libobjc.A.dylib", b"@rpath/libThinClient.dyl")),
    ("/opt/lib/libobjc.dylib.A is not found by []",
     lambda s: s.replace(b"/usr/lib/libobjc.A.dylib", b"/opt/lib/libobjc.dylib.A")),
]
FAULTS_OF_THEIR_DIFFERENCE = [
    (IMPORTS, "_strftime, _strftimf", b"_strftime", b"_strftimf"),
    ("the same messages in every slice", "setArguments:, setArgumentz:",
     b"setArguments:", b"setArgumentz:"),
]
FAULTS_OF_THE_BORDER = [
    ("message setArgumentz:", b"setArguments:", b"setArgumentz:"),
    ("function _vsprintf", b"_strftime", b"_vsprintf"),
    ("function __ZNKSt3__110error_code7messageEz",  # a last "z" stands for unnamed arguments
     b"__ZNKSt3__110error_code7messageEv", b"__ZNKSt3__110error_code7messageEz"),
]
FAULTS_OF_THE_SIGNATURE = [
    ("no signature", lambda s: s.put("<I", s.command(TYPES.CODE_SIGNATURE), 0x2B)),
    ("not an ad-hoc signature", lambda s: s.flip(">I", 12)),
    (".* pages up to .* are signed, but it starts at .*", lambda s: s.flip(">I", 28)),
    (".* pages up to .* are signed, but it starts at .*", lambda s: s.flip(">I", 32)),
    ("hashes of an unexpected kind .2, 34 bytes.", lambda s: s.flip("B", 36)),
    ("hashes of an unexpected kind .0, 32 bytes.", lambda s: s.flip("B", 37)),
    ("page .* differs from its hash", lambda s: s.flip("B", s.size_of_directory() - 1)),
]


def damaged(data, architecture, damage):
    """A copy of the file with one slice damaged."""
    copy = Slice(data, architecture)
    damage(copy)
    return copy.data


class Checker(unittest.TestCase):
    library = exports = program = None  # set from the command line

    def setUp(self):
        self.data = self.library.read_bytes()

    def faults(self, data, exports=None, forbidden=()):
        """The checks that do not hold, as triples of slice, check and faults."""
        expected = check_macho.read_exports(self.exports) if exports is None else exports
        checks = check_macho.checks(bytes(data), check_macho.library_with(expected), forbidden)
        return [(where, what, ", ".join(faults)) for where, what, faults in checks if faults]

    def run_checker(self, *arguments):
        """The exit status and the output."""
        output = io.StringIO()
        with contextlib.redirect_stdout(output), contextlib.redirect_stderr(output):
            status = check_macho.main([str(argument) for argument in arguments])
        return status, output.getvalue()

    def run_on(self, data):
        with tempfile.NamedTemporaryFile() as library:
            library.write(data)
            library.flush()
            return self.run_checker(library.name, self.exports)

    # --- The library as it is ---

    def test_accepts_the_library(self):
        status, output = self.run_checker(self.library, self.exports, "/home/builder")
        self.assertEqual((status, "FAILED" in output), (0, False))
        self.assertEqual(len(output.splitlines()), 27)

    def test_accepts_the_program(self):
        status, output = self.run_checker("--program", self.program, "/home/builder")
        self.assertEqual((status, "FAILED" in output), (0, False))
        self.assertEqual(len(output.splitlines()), 25)

    def test_program(self):
        data = self.program.read_bytes()
        for what, faults, damage in FAULTS_OF_A_PROGRAM:
            with self.subTest(what):
                copy = bytes(damaged(data, "x86_64", damage))
                found = [(where, each, ", ".join(faults)) for where, each, faults
                         in check_macho.checks(copy, check_macho.checks_of_program) if faults]
                self.assertIn(("x86_64", what, faults), found)

    def test_linked(self):
        data = self.program.read_bytes()
        self.assertEqual(check_mac_files.faults_of(data), [])
        for fault, damage in FAULTS_OF_A_RUN_PATH:
            with self.subTest(fault):
                found = check_mac_files.faults_of(bytes(damaged(data, "x86_64", damage)))
                self.assertIn(f"x86_64: run path: {fault}", found)

    def test_no_file_linked(self):
        with tempfile.TemporaryDirectory() as folder, contextlib.redirect_stdout(io.StringIO()):
            self.assertEqual(check_mac_files.main(pathlib.Path(folder)), 1)

    # --- Faults of a slice ---

    def test_either_slice(self):
        for architecture in ("x86_64", "arm64"):
            for what, faults, damage in FAULTS_OF_EITHER_SLICE:
                with self.subTest(architecture=architecture, faults=faults):
                    found = self.faults(damaged(self.data, architecture, damage))
                    unsigned = [fault for fault in found if fault[1] != SIGNATURE]
                    self.assertEqual(unsigned, [(architecture, what, faults)])

    def test_stack_protector(self):
        found = self.faults(self.data.replace(b"___stack_chk_fail", b"___stack_chk_fall"))
        slices = [where for where, what, _ in found if what == "a stack protector"]
        self.assertEqual(sorted(slices), ["arm64", "x86_64"])

    def test_missing_unwind_entry(self):
        for architecture in ("x86_64", "arm64"):
            with self.subTest(architecture):
                copy = damaged(self.data, architecture, Slice.uncover_last_function)
                found = [" ".join(fault) for fault in self.faults(copy) if fault[1] != SIGNATURE]
                self.assertRegex(" ".join(found), f"^{architecture} {UNWINDING} _[^ ]+ has none$")

    def test_debugger_entry(self):
        accepted = damaged(
            self.data, "x86_64", lambda s: s.put("<BBH", s.symbol("_dlopen") + 4, 0x20, 0, 0))
        self.assertEqual(self.faults(accepted), [("file", IMPORTS, "_dlopen")])

    def test_other_loads(self):
        for way in ("REEXPORT_DYLIB", "LOAD_WEAK_DYLIB", "LAZY_LOAD_DYLIB", "LOAD_UPWARD_DYLIB"):
            with self.subTest(way):
                value = int(getattr(TYPES, way))
                copy = damaged(
                    self.data, "x86_64", lambda s: s.put("<I", s.command(TYPES.LOAD_DYLIB), value))
                faults = " ".join(faults for _, what, faults in self.faults(copy) if what == LOADS)
                self.assertIn(f", {way} /System/Library/Frameworks/", faults)

    # --- Faults of the file ---

    def test_difference(self):
        for what, faults, old, new in FAULTS_OF_THEIR_DIFFERENCE:
            with self.subTest(what):
                copy = damaged(self.data, "x86_64", lambda s: s.replace(old, new))
                self.assertEqual(self.faults(copy), [("file", what, faults)])

    def test_missing_slice(self):
        damaged = self.data[:4] + struct.pack(">I", 1) + self.data[8:]
        self.assertEqual(
            self.faults(damaged), [("file", "universal: arm64 and x86_64", "['x86_64']")])

    def test_build_path(self):
        damaged = self.data.replace(b"Logs/VantuOrlixVDI", b"/home/builder/tree")
        self.assertIn(
            ("file", "no build path", "/home/builder"),
            self.faults(damaged, forbidden=["/other", "/home/builder"]))

    def test_exports_list(self):
        names = check_macho.read_exports(self.exports)
        first = min(names)
        for exports, fault in (
            (names | {"_other"}, "missing _other"), (names - {first}, f"not in the list: {first}")):
            with self.subTest(fault):
                found = self.faults(self.data, exports)
                self.assertEqual([faults for _, _, faults in found], [fault, fault])

    # --- What the tests of the machine code do not know how to call ---

    def test_border(self):
        for architecture in ("x86_64", "arm64"):
            for unknown, old, new in FAULTS_OF_THE_BORDER:
                with self.subTest(architecture=architecture, unknown=unknown):
                    copy = Slice(self.data, architecture)
                    self.assertEqual(relink.faults_of_border(copy.binary), [])
                    copy.replace(old, new)
                    universal = MachO.parse(bytes(copy.data))
                    faults = [fault for each in universal for fault in relink.faults_of_border(each)]
                    self.assertRegex(
                        ", ".join(faults), f"^the border knows no {unknown}: add it to [A-Z]+ in [^,]+, ")

    # --- The signature ---

    def test_signature(self):
        for expected, damage in FAULTS_OF_THE_SIGNATURE:
            with self.subTest(expected):
                ((where, what, faults),) = self.faults(damaged(self.data, "arm64", damage))
                self.assertEqual((where, what), ("arm64", SIGNATURE))
                self.assertRegex(faults, f"^{expected}$")

    def test_every_page(self):
        dice, whole = random.Random(1), Slice(self.data, "arm64")
        end = whole.binary.code_signature.data_offset
        for page in range(4096, end, 4096):  # the first one holds the load commands
            with self.subTest(hex(page)):
                copy, offset = bytearray(self.data), dice.randrange(page, min(page + 4096, end))
                copy[whole.binary.fat_offset + offset] ^= 1 << dice.randrange(8)
                # A byte of the symbol tables can break another check as well.
                fault = f"page {page // 4096} differs from its hash"
                self.assertIn(("arm64", SIGNATURE, fault), self.faults(copy))

    # --- Files that are something else ---

    def test_truncated(self):
        for size in (0, 7, 20, len(self.data) // 3, len(self.data) - 1):
            with self.subTest(size):
                status, output = self.run_on(self.data[:size])
                self.assertEqual((status, "FAILED" in output), (1, True))

    def test_garbage(self):
        dice, universal = random.Random(2), MachO.parse(self.data)
        for round_number in range(200):
            with self.subTest(round_number):
                damaged = bytearray(self.data)
                for binary in universal:
                    damaged[binary.fat_offset + dice.randrange(2600)] = dice.randrange(256)
                self.assertIn(self.run_on(damaged)[0], (0, 1))

    def test_no_file(self):
        status, output = self.run_checker("/none", self.exports)
        self.assertEqual((status, "No such file" in output), (1, True))

    def test_usage(self):
        for arguments in ([], [self.library], [self.library, ""], ["--program"]):
            self.assertEqual(self.run_checker(*arguments)[0], 2)


if __name__ == "__main__":
    if len(sys.argv) != 4:
        sys.exit("Usage: check_macho_test.py LIBRARY EXPORTS PROGRAM")
    Checker.library, Checker.exports, Checker.program = map(pathlib.Path, sys.argv[1:])
    unittest.main(argv=sys.argv[:1])
