#!/usr/bin/env python3
"""Creates a folder in which clang and lld find what a build for macOS needs.

Usage: lay_out.py WHEEL LLVM SYSROOT

WHEEL is the ziglang wheel, LLVM the folder of Debian's LLVM. SYSROOT is replaced.
"""

import pathlib
import re
import shutil
import subprocess
import sys
import zipfile

OWN = pathlib.Path(__file__).resolve().parent
WHEEL_HEADERS = "ziglang/lib/libc/include/any-macos-any/"
WHEEL_STUB = "ziglang/lib/libc/darwin/libSystem.tbd"

LIBCXX_STUB = """--- !tapi-tbd
tbd-version: 4
targets: [ x86_64-macos, arm64-macos ]
install-name: '/usr/lib/libc++.1.dylib'
exports:
  - targets: [ x86_64-macos, arm64-macos ]
    symbols: [ {symbols} ]
...
"""


def copy_own_headers_and_stubs(sysroot):
    for part in ("System", "usr"):
        shutil.copytree(OWN / part, sysroot / part)


def extract_darwin(wheel, sysroot):
    with zipfile.ZipFile(wheel) as archive:
        for name in archive.namelist():
            if name.startswith(WHEEL_HEADERS) and not name.endswith("/"):
                target = sysroot / "usr/include" / name[len(WHEEL_HEADERS) :]
                target.parent.mkdir(parents=True, exist_ok=True)
                target.write_bytes(archive.read(name))
        (sysroot / "usr/lib/libSystem.tbd").write_bytes(archive.read(WHEEL_STUB))


def write_libcxx_stub(llvm, sysroot):
    """The Mac's libc++ exports what Debian's libc++ and libc++abi do."""
    listing = subprocess.run(
        [llvm / "bin/llvm-nm", "--dynamic", "--defined-only", "--format=just-symbols"]
        + [llvm / "lib" / name for name in ("libc++.so.1", "libc++abi.so.1")],
        check=True, capture_output=True, text=True).stdout
    symbols = sorted({"_" + name for name in re.findall(r"^(_\w+)", listing, re.MULTILINE)})
    (sysroot / "usr/lib/libc++.tbd").write_text(LIBCXX_STUB.format(symbols=", ".join(symbols)))


def write_libcxx_configuration(llvm, sysroot):
    """Turns on in a copy of Debian's file the availability checks that keep out what macOS 11 lacks."""
    configuration = (llvm / "include/c++/v1/__config_site").read_text()
    checked, switches = re.subn(
        r"#define _LIBCPP_HAS_NO_VENDOR_AVAILABILITY_ANNOTATIONS\n"
        r"|(#define _LIBCPP_HAS_VENDOR_AVAILABILITY_ANNOTATIONS) 0\n",
        lambda match: f"{match[1]} 1\n" if match[1] else "", configuration)
    if switches != 1:
        sys.exit(f"lay_out.py: {llvm}'s __config_site has no switch for availability checks")
    folder = sysroot / "usr/include/libc++-config"
    folder.mkdir()
    (folder / "__config_site").write_text(checked)


def name_lipo(llvm, sysroot):
    """The compiler calls the tool that joins the architectures by this name."""
    (sysroot / "bin").mkdir()
    (sysroot / "bin/lipo").symlink_to(llvm / "bin/llvm-lipo")


def main(wheel, llvm, sysroot):
    shutil.rmtree(sysroot, ignore_errors=True)
    copy_own_headers_and_stubs(sysroot)
    extract_darwin(wheel, sysroot)
    write_libcxx_stub(llvm, sysroot)
    write_libcxx_configuration(llvm, sysroot)
    name_lipo(llvm, sysroot)


if __name__ == "__main__":
    if len(sys.argv) != 4:
        sys.exit("Usage: lay_out.py WHEEL LLVM SYSROOT")
    main(*map(pathlib.Path, sys.argv[1:]))
