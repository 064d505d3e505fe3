#!/usr/bin/env python3
"""Tests the checker: every fault that is put into a copy of the library is found and named.

Usage: check_macho_test.py LIBRARY EXPORTS
"""

import contextlib
import io
import pathlib
import random
import struct
import sys
import tempfile
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "scripts"))
import check_macho  # noqa: E402  (needs the path above)

ARCHITECTURES = ("arm64", "x86_64")


class Checker(unittest.TestCase):
    library = exports = None  # set from the command line

    def setUp(self):
        self.data = bytearray(self.library.read_bytes())
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)

    # --- Ways to break a copy ---

    def start_of(self, architecture):
        """Where a slice starts in the file."""
        for name, content in check_macho.slices_of(bytes(self.data)):
            if name == architecture:
                return self.data.index(content)
        self.fail(f"no slice {architecture}")

    def slice_of(self, architecture):
        return check_macho.Slice(dict(check_macho.slices_of(bytes(self.data)))[architecture])

    def replace(self, old, new, architecture):
        """Overwrites every occurrence of a text in a slice with another of the same length."""
        self.assertEqual(len(old), len(new))
        start = self.start_of(architecture)
        end = start + len(self.slice_of(architecture).data)
        self.assertIn(old, self.data[start:end])
        self.data[start:end] = self.data[start:end].replace(old, new)

    def put(self, layout, offset, value, architecture):
        struct.pack_into(layout, self.data, self.start_of(architecture) + offset, value)

    def command(self, wanted, architecture):
        return self.slice_of(architecture).offsets(wanted)[0]

    # --- What the checker says ---

    def check(self, exports=None, forbidden=()):
        """The checker's exit status and the lines of what failed."""
        library = self.folder / "library"
        library.write_bytes(self.data)
        output = io.StringIO()
        with contextlib.redirect_stdout(output):
            status = check_macho.main([str(library), str(exports or self.exports), *forbidden])
        lines = output.getvalue().splitlines()
        return status, [line for line in lines if not line.startswith("ok")]

    def assert_found(self, expected, **options):
        status, failed = self.check(**options)
        self.assertEqual(status, 1)
        self.assertIn(expected, " ".join(" ".join(failed).split()))

    def exports_list(self, change):
        """A list of exports, changed."""
        changed = self.folder / "exports"
        changed.write_text("\n".join(change(sorted(check_macho.read_exports(self.exports)))))
        return changed

    # --- Tests ---

    def test_accepts_the_library_as_built(self):
        self.assertEqual(self.check(), (0, []))

    def test_finds_a_wrong_install_name_in_either_slice(self):
        for architecture in ARCHITECTURES:
            with self.subTest(architecture):
                self.setUp()
                self.replace(b"@rpath/libThin", b"@rpath/libThis", architecture)
                self.assert_found(f"FAILED {architecture} install name")

    def test_finds_a_missing_export(self):
        wanted = self.exports_list(lambda names: names + ["_missing"])
        self.assert_found("missing _missing", exports=wanted)

    def test_finds_an_extra_export(self):
        wanted = self.exports_list(lambda names: names[1:])
        first = sorted(check_macho.read_exports(self.exports))[0]
        self.assert_found(f"not in the list: {first}", exports=wanted)

    def test_finds_an_export_of_another_name_in_either_slice(self):
        for architecture in ARCHITECTURES:
            with self.subTest(architecture):
                self.setUp()
                trie = self.slice_of(architecture).exports_trie()
                self.replace(trie, trie.replace(b"EntryPoint", b"EntryPaint"), architecture)
                self.assert_found("missing _ThinClientLauncherEntryPoint")
                self.assert_found("not in the list: _ThinClientLauncherEntryPaint")

    def test_finds_a_flipped_byte_in_every_page_of_the_signed_slice(self):
        start, (_, end) = self.start_of("arm64"), self.slice_of("arm64").signature()
        dice = random.Random(1)
        for page in range(4096, end, 4096):  # the first one holds the structures themselves
            offset = start + dice.randrange(page, min(page + 4096, end))
            with self.subTest(hex(offset)):
                self.data[offset] ^= 1 << dice.randrange(8)
                self.assert_found(f"page {page // 4096} differs from its hash")
                self.setUp()

    def test_finds_a_flipped_byte_in_the_hashes(self):
        start, (signature, end) = self.start_of("arm64"), self.slice_of("arm64").signature()
        directory = check_macho.code_directory(signature)
        last_byte = len(signature) - len(directory) + struct.unpack_from(">I", directory, 4)[0] - 1
        self.data[start + end + last_byte] ^= 1
        self.assert_found("differs from its hash")

    def test_finds_a_missing_signature(self):
        self.put("<I", self.command(check_macho.LC_CODE_SIGNATURE, "arm64"), 0x2B, "arm64")
        self.assert_found("FAILED arm64 ad-hoc signature and page hashes no signature")

    def test_finds_a_signature_that_is_not_ad_hoc(self):
        _, end = self.slice_of("arm64").signature()
        signature = self.slice_of("arm64").data[end:]
        directory = signature.index(struct.pack(">I", check_macho.CSMAGIC_CODEDIRECTORY))
        self.put(">I", end + directory + 12, 0, "arm64")
        self.assert_found("not an ad-hoc signature")

    def test_finds_a_missing_slice(self):
        self.data[4:8] = struct.pack(">I", 1)
        self.assert_found("FAILED file universal: arm64 and x86_64")

    def test_finds_another_file_type(self):
        self.put("<I", 12, 8, "x86_64")
        self.assert_found("FAILED x86_64 a dynamic library type 8")

    def test_finds_a_flat_name_space(self):
        self.put("<I", 24, self.slice_of("x86_64").flags & ~check_macho.MH_TWOLEVEL, "x86_64")
        self.assert_found("FAILED x86_64 two-level name space")

    def test_finds_an_undefined_symbol(self):
        binary = self.slice_of("x86_64")
        symbols, count, texts, _ = check_macho.unpack(
            "<4I", binary.data, binary.only(check_macho.LC_SYMTAB, "") + 8)
        (name, _) = next(binary.imports())
        for entry in range(symbols, symbols + 16 * count, 16):
            (text,) = check_macho.unpack("<I", binary.data, entry)
            if check_macho.text_at(binary.data, texts + text) == name:
                self.put("<H", entry + 6, 0xFE00, "x86_64")  # to be looked up anywhere
        self.assert_found(f"FAILED x86_64 nothing undefined {name} is bound to no loaded library")

    def test_finds_a_header_that_promises_nothing(self):
        self.put("<I", 24, self.slice_of("x86_64").flags & ~check_macho.MH_NOUNDEFS, "x86_64")
        self.assert_found("FAILED x86_64 nothing undefined the header does not promise it")

    def test_finds_another_platform(self):
        build_version = self.command(check_macho.LC_BUILD_VERSION, "x86_64")
        self.put("<I", build_version + 8, 2, "x86_64")
        self.assert_found("FAILED x86_64 for macOS platform 2")

    def test_finds_another_minimum_version(self):
        build_version = self.command(check_macho.LC_BUILD_VERSION, "x86_64")
        self.put("<I", build_version + 12, 12 << 16, "x86_64")
        self.assert_found("FAILED x86_64 minimum macOS 11.0 12.0")

    def test_finds_a_run_path(self):
        uuid = self.command(0x1B, "x86_64")  # as long as a run path of twelve bytes
        self.put("<I", uuid, check_macho.LC_RPATH, "x86_64")
        self.put("<I", uuid + 8, 12, "x86_64")
        self.put("12s", uuid + 12, b"/opt/lib", "x86_64")
        self.assert_found("FAILED x86_64 no run path /opt/lib")

    def test_finds_a_library_beyond_the_five(self):
        self.replace(b"/usr/lib/libobjc.A.dylib", b"/opt/lib/libobjc.A.dylib"[:24], "x86_64")
        self.assert_found("loads /opt/lib/libobjc.A.dyli")
        self.assert_found("does not load /usr/lib/libobjc.A.dylib")

    def test_finds_a_library_loaded_another_way(self):
        load = self.command(check_macho.LC_LOAD_DYLIB, "x86_64")
        self.put("<I", load, 0x8000001F, "x86_64")
        self.assert_found("re-exported /System/Library/Frameworks/")

    def test_finds_a_build_path(self):
        self.replace(b"Logs/VantuOrlixVDI", b"/home/builder/tree", "x86_64")
        self.assert_found("FAILED file no build path /home/builder", forbidden=["/home/builder"])

    def test_refuses_a_file_that_ends_too_early(self):
        whole = bytes(self.data)
        for size in (0, 7, 20, len(whole) // 3, len(whole) - 1):
            with self.subTest(size):
                self.data = whole[:size]
                self.assert_found("FAILED")

    def test_never_stumbles_over_garbage(self):
        whole, dice = bytes(self.data), random.Random(2)
        for round_number in range(200):
            with self.subTest(round_number):
                self.data = bytearray(whole)
                for architecture in ARCHITECTURES:
                    self.put("B", dice.randrange(2048), dice.randrange(256), architecture)
                self.assertIn(self.check()[0], (0, 1))

    def test_refuses_a_file_that_is_missing(self):
        output = io.StringIO()
        with contextlib.redirect_stdout(output):
            status = check_macho.main([str(self.folder / "none"), str(self.exports)])
        self.assertEqual(status, 1)
        self.assertIn("No such file", output.getvalue())


if __name__ == "__main__":
    if len(sys.argv) != 3:
        sys.exit("Usage: check_macho_test.py LIBRARY EXPORTS")
    Checker.library, Checker.exports = map(pathlib.Path, sys.argv[1:])
    unittest.main(argv=sys.argv[:1])
