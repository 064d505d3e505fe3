"""Inverts branches of the library's machine code, one at a time, and runs the tests that should notice.

Usage: mutate_branches.py ARCHITECTURE LIBRARY MACHINE SEED MUTANTS [EMULATOR]

MACHINE is the folder of machine_tests. Prints one line per branch whose inversion no test notices, and
the score. A branch counts if the tests execute it: a trap in its place ends them.
"""

import pathlib
import random
import re
import subprocess
import sys
import tempfile
import time

import relink  # brings the folder of scripts

import mutate

BRANCHES = {"arm64": re.compile(r"b\.\w+|cbn?z|tbn?z"), "x86_64": re.compile(r"j(?!mp)\w+")}
PROGRAMS = ("machine_tests", "machine_comparison")  # the quicker one first
TRAPS = {"arm64": bytes(4), "x86_64": b"\xcc"}


def branches(architecture, library):
    """Triples of address, instruction and function, of the project's own functions. Without those that
    may skip a call of operator delete: a string that was moved from leaves it nothing to do."""
    listing = subprocess.run(
        ["llvm-objdump", "--macho", "--disassemble", "--no-show-raw-insn", f"--arch={architecture}",
         library], check=True, capture_output=True, text=True).stdout.splitlines()
    function, found = "", []
    for number, line in enumerate(listing):
        instruction = re.match(r"\s*([0-9a-f]+):\s+(\S+)", line)
        if not instruction:
            function = line.removesuffix(":")
        elif (relink.OWN_NAME.match(function) and BRANCHES[architecture].fullmatch(instruction[2])
              and "__ZdlPv" not in "".join(listing[number : number + 6])):
            found.append((int(instruction[1], 16), instruction[2], function))
    return found


def inverted(architecture, code):
    """The last bit of a condition's number; on arm64, compare-and-branch has it elsewhere."""
    changed = bytearray(code)
    if architecture == "x86_64":
        changed[1 if code[0] == 0x0F else 0] ^= 1
    else:
        changed[0 if code[3] == 0x54 else 3] ^= 1
    return bytes(changed)


class Tests:
    """The tests, over changed copies of the library that relink.py wrote."""

    def __init__(self, machine, emulator):
        self.machine, self.emulator, self.limit = machine.resolve(), emulator, None
        self.library = self.machine / "libmachine_code.so"
        self.content = self.library.read_bytes()
        self.image = self.content.index((machine / "LIBRARY.s.bin").read_bytes()[:4096])

    def code(self, address):
        return self.content[self.image + address :][:8]

    def notice(self, address, code, programs=PROGRAMS):
        start = self.image + address
        with tempfile.NamedTemporaryFile() as mutant:
            mutant.write(self.content[:start] + code + self.content[start + len(code) :])
            mutant.flush()
            sandbox = [*mutate.SANDBOX, "--ro-bind", mutant.name, str(self.library), *self.emulator]
            return any(
                mutate.run([*sandbox, str(self.machine / each), "--gtest_fail_fast"], self.limit) != 0
                for each in programs)

    def measure(self):
        start = time.monotonic()
        if self.notice(0, b""):
            sys.exit("mutate_branches.py: the tests fail without a mutant")
        self.limit = max(mutate.LEAST_LIMIT, mutate.TIME_FACTOR * (time.monotonic() - start))


def main(architecture, library, machine, seed, wanted, *emulator):
    tests = Tests(pathlib.Path(machine), emulator)
    tests.measure()
    candidates = branches(architecture, library)
    random.Random(int(seed)).shuffle(candidates)
    executed = noticed = 0
    for address, instruction, function in candidates:
        if executed == int(wanted):
            break
        if not tests.notice(address, TRAPS[architecture], PROGRAMS[:1]):
            continue
        executed += 1
        if tests.notice(address, inverted(architecture, tests.code(address))):
            noticed += 1
        else:
            print(f"{architecture} {address:#x}: {instruction} in {function}", flush=True)
    print(f"{architecture}, seed {seed}: {noticed} of {executed} inverted branches noticed")


if __name__ == "__main__":
    if len(sys.argv) not in (6, 7):
        sys.exit(__doc__)
    main(*sys.argv[1:])
