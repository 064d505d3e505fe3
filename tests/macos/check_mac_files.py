#!/usr/bin/env python3
"""Checks each program and library for a Mac below a folder, and prints a line for each.

Usage: check_mac_files.py FOLDER

Each has both architectures, and what it loads is the system's or lies on its run path. Needs LIEF, as
check_macho.py does. Exit status: 0 all hold, 1 one does not or there is none, 2 wrong usage.
"""

import pathlib
import sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "scripts"))
import check_macho  # noqa: E402  (needs the path above)

MACH_O = bytes.fromhex("cafebabe"), bytes.fromhex("cffaedfe")  # both architectures, or one
ON_RUN_PATH = "@rpath/"


def faults_of_run_path(binary, folder):
    paths = [path.replace("@loader_path", str(folder)) for path in check_macho.run_paths(binary)]
    own = [name for command, name in check_macho.libraries(binary)
           if command != check_macho.TYPES.ID_DYLIB and not name.startswith(check_macho.SYSTEM)]
    return check_macho.unless(own or not paths, f"it needs none of {paths}") + [
        f"{name} is not found by {paths}" for name in own
        if not name.startswith(ON_RUN_PATH)
        or not any((pathlib.Path(path) / name[len(ON_RUN_PATH):]).exists() for path in paths)]


def checks_of_linked(binary, folder):
    names = check_macho.names_of(binary, check_macho.TYPES.ID_DYLIB)
    yield "install name", [name for name in names if not name.startswith(ON_RUN_PATH)]
    yield "run path", faults_of_run_path(binary, folder)


def faults_of(data, folder=None):
    """Of a file in this folder."""
    try:
        return [f"{where}: {what}: {fault}" for where, what, faults
                in check_macho.checks(data, lambda binary: checks_of_linked(binary, folder)) for fault in faults]
    except check_macho.Malformed as fault:
        return [str(fault)]


def main(folder):
    files = [path for path in sorted(folder.rglob("*")) if path.is_file() and not path.is_symlink()
             and "CMakeFiles" not in path.parts and path.suffix != ".a"
             and path.read_bytes().startswith(MACH_O)]
    failed = not files
    for file in files:
        faults = faults_of(file.read_bytes(), file.parent)
        print(f"{'FAILED' if faults else 'ok':6}  {file.relative_to(folder)}", *faults, sep="\n        ")
        failed = failed or bool(faults)
    print(f"{len(files)} files for a Mac checked")
    return 1 if failed else 0


if __name__ == "__main__":
    if len(sys.argv) != 2:
        print(__doc__, file=sys.stderr)
        sys.exit(2)
    sys.exit(main(pathlib.Path(sys.argv[1])))
