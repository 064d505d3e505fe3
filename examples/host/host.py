#!/usr/bin/env python3
"""A host in Python: requests a launch through the kit for hosts.

Usage: host.py KIT LIBRARY CLIENT_VERSION

KIT is libThinClientLauncherHost, by path or by the name that the system's loader finds.
Exit status: 0 the launch ran to its end, 1 it did not, 2 wrong usage.
"""

import ctypes
import os
import sys

RETURNED = 0


def launch(kit, library, client_version):
    """Returns the status and its reason."""
    request = ctypes.CDLL(kit).ThinClientLauncherHostLaunch
    request.argtypes = [ctypes.c_char_p, ctypes.c_char_p, ctypes.c_char_p, ctypes.c_size_t]
    request.restype = ctypes.c_int
    reason = ctypes.create_string_buffer(1024)
    status = request(os.fsencode(library), os.fsencode(client_version), reason, len(reason))
    return status, os.fsdecode(reason.value)


def main():
    if len(sys.argv) != 4:
        print(__doc__, file=sys.stderr)
        return 2
    status, reason = launch(*sys.argv[1:])
    if status == RETURNED:
        return 0
    print(f"{sys.argv[0]}: no launch (status {status}): {reason}", file=sys.stderr)
    return 1


if __name__ == "__main__":
    sys.exit(main())
