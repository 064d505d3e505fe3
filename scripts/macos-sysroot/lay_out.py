#!/usr/bin/env python3
"""Creates a folder in which clang and lld find what a build for macOS needs.

Usage: lay_out.py ZIGLANG LLVM SYSROOT

ZIGLANG is the folder that holds the package of requirements.txt, LLVM the folder of Debian's LLVM.
SYSROOT is replaced.
"""

import pathlib
import re
import shutil
import sys

OWN = pathlib.Path(__file__).resolve().parent

# What launcher-inspect takes from packages of headers: the package, its folder, its target.
HEADER_PACKAGE = """add_library({target} INTERFACE IMPORTED)
target_compile_definitions({target} INTERFACE FMT_HEADER_ONLY=1)
"""
HEADER_PACKAGES = [
    ("CLI11", "CLI", "CLI11::CLI11"),
    ("fmt", "fmt", "fmt::fmt-header-only"),
    ("nlohmann_json", "nlohmann", "nlohmann_json::nlohmann_json"),
]


def copy_headers_and_stubs(ziglang, sysroot):
    for part in ("System", "usr"):
        shutil.copytree(OWN / part, sysroot / part)
    shutil.copytree(ziglang / "lib/libc/include/any-macos-any", sysroot / "usr/include")
    shutil.copy(ziglang / "lib/libc/darwin/libSystem.tbd", sysroot / "usr/lib")


def copy_header_packages(sysroot):
    """The folders alone: /usr/include has the headers of Linux too."""
    for package, folder, target in HEADER_PACKAGES:
        shutil.copytree(f"/usr/include/{folder}", sysroot / "usr/include" / folder)
        configuration = sysroot / "usr/lib/cmake" / package / f"{package}Config.cmake"
        configuration.parent.mkdir(parents=True)
        configuration.write_text(HEADER_PACKAGE.format(target=target))


def write_libcxx_configuration(llvm, sysroot):
    """Turns on in a copy of Debian's file the availability checks that keep out what macOS 11 lacks."""
    original = llvm / "include/c++/v1/__config_site"
    checked, switches = re.subn(
        r"#define _LIBCPP_HAS_NO_VENDOR_AVAILABILITY_ANNOTATIONS\n"
        r"|(#define _LIBCPP_HAS_VENDOR_AVAILABILITY_ANNOTATIONS) 0\n",
        lambda match: f"{match[1]} 1\n" if match[1] else "", original.read_text())
    if switches != 1:
        sys.exit(f"lay_out.py: {llvm}'s __config_site has no switch for availability checks")
    folder = sysroot / "usr/include/libc++-config"
    folder.mkdir()
    (folder / "__config_site").write_text(checked)
    shutil.copystat(original, folder / "__config_site")  # so that nothing is built again


def main(ziglang, llvm, sysroot):
    shutil.rmtree(sysroot, ignore_errors=True)
    copy_headers_and_stubs(ziglang / "ziglang", sysroot)
    copy_header_packages(sysroot)
    write_libcxx_configuration(llvm, sysroot)
    # The compiler calls the tool that joins the architectures by this name.
    (sysroot / "bin").mkdir()
    (sysroot / "bin/lipo").symlink_to(llvm / "bin/llvm-lipo")


if __name__ == "__main__":
    if len(sys.argv) != 4:
        sys.exit("Usage: lay_out.py ZIGLANG LLVM SYSROOT")
    main(*map(pathlib.Path, sys.argv[1:]))
