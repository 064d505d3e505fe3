#!/usr/bin/env python3
"""A host in Python: requests a launch through the kit for hosts, and tells how far it has come.

Usage: host.py KIT LIBRARY CLIENT_VERSION

KIT is libThinClientLauncherHost, by path or by the name that the system's loader finds.
Exit status: 0 the launch ran to its end, 1 it did not, 2 wrong usage.
"""

import ctypes
import os
import sys

RETURNED = 0
REQUESTED, ENTERED, STARTED_SAFELY = 3, 4, 5
REACHED = {
    REQUESTED: "start requested",
    ENTERED: "entered load mode",
    STARTED_SAFELY: "started safely",
}


def launch(kit, library, client_version):
    """Returns the status and its reason."""
    request = kit.ThinClientLauncherHostLaunch
    request.argtypes = [ctypes.c_char_p, ctypes.c_char_p, ctypes.c_char_p, ctypes.c_size_t]
    request.restype = ctypes.c_int
    reason = ctypes.create_string_buffer(1024)
    status = request(os.fsencode(library), os.fsencode(client_version), reason, len(reason))
    return status, os.fsdecode(reason.value)


def follow(kit, milliseconds):
    """Returns how far the launch has come, and the chosen folder and its version."""
    ask = kit.ThinClientLauncherHostAwait
    text, size = ctypes.c_char_p, ctypes.c_size_t
    ask.argtypes = [ctypes.c_uint, text, size, text, size]
    ask.restype = ctypes.c_int
    folder, version = ctypes.create_string_buffer(4096), ctypes.create_string_buffer(64)
    progress = ask(milliseconds, folder, len(folder), version, len(version))
    return progress, os.fsdecode(folder.value), os.fsdecode(version.value)


def main():
    if len(sys.argv) != 4:
        print(__doc__, file=sys.stderr)
        return 2
    kit = ctypes.CDLL(sys.argv[1])
    status, reason = launch(kit, *sys.argv[2:])
    if status != RETURNED:
        print(f"{sys.argv[0]}: no launch (status {status}): {reason}", file=sys.stderr)
        return 1
    progress, folder, version = follow(kit, 5000)
    if progress in REACHED:
        print(f"{REACHED[progress]}: {version} in {folder}")
    else:
        print("no start is known of")
    return 0


if __name__ == "__main__":
    sys.exit(main())
