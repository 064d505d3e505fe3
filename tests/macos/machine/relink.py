#!/usr/bin/env python3
"""Writes the library for macOS as assembler source, to be linked as a library for Linux.

Usage: relink.py LIBRARY ASSEMBLY

Takes the x86_64 slice of LIBRARY. Its segments become one section that holds every byte at its
place, except the pointers that a Mac's loader writes too. Linux's linker and loader do the rest:
they bind, initialise, export, unwind and unload. ASSEMBLY.bin receives the bytes.
"""

import pathlib
import re
import struct
import sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[3] / "scripts"))
import macho  # noqa: E402  (needs the path above)

# Functions of the tests for what Linux has in another form, or what must not be called.
REPLACED = {
    "dlopen": "mac_dlopen",
    "NSLog": "__wrap_NSLog",
    "NSSearchPathForDirectoriesInDomains": "mac_NSSearchPathForDirectoriesInDomains",
    "_ZNKSt3__16locale9use_facetERNS0_2idE": "mac_use_facet",
}

# The project's own functions and classes. Tests call inner ones too, which are no exports.
OWN_NAME = re.compile(r"__ZN?K?\d|__ZT[VIS]\d")

CLASS_PREFIX = "_OBJC_CLASS_$_"
STRING_CLASS = "___CFConstantStringClassReference"
BYTE_STRING = 0x7C8  # the flags of a constant string of bytes, not of UTF-16

MODE, FRAME_POINTER_MODE, HAS_LSDA = 0x0F000000, 0x01000000, 0x40000000
SAVED_REGISTERS = [None, "%rbx", "%r12", "%r13", "%r14", "%r15"]


def name_on_linux(symbol):
    name = symbol.removeprefix("_")
    return f'"{REPLACED.get(name, name)}"'


def segments_of(binary):
    return [segment for segment in binary.segments if segment.name != "__LINKEDIT"]


def memory_of(binary):
    """The segments as they lie in memory."""
    segments = segments_of(binary)
    memory = bytearray(max(each.virtual_address + each.virtual_size for each in segments))
    for segment in segments:
        start, content = segment.virtual_address, bytes(segment.content)
        memory[start : start + len(content)] = content
    return memory


# --- Pointers ---


def gnustep_string(address, content):
    """A constant string is class, flags, text, length; GNUstep's is class, text, length."""
    _, flags, text, length = struct.unpack("<4Q", content)
    if flags != BYTE_STRING:
        sys.exit(f"relink.py: the string at {address:#x} is of an unknown kind, {flags:#x}")
    return {address + 8: f"image + {text:#x}", address + 16: f"{length}"}


def pointers_and_classes(binary, memory):
    """Two dictionaries by address: expressions, and names of classes to be looked up."""
    pointers, classes = {}, {}
    for rebase in binary.relocations:
        (target,) = struct.unpack_from("<Q", memory, rebase.address)
        pointers[rebase.address] = f"image + {target:#x}"
    for binding in binary.bindings:  # the lazy ones too, in place of a pointer to the binder
        symbol = str(binding.symbol.name)
        if symbol.startswith(CLASS_PREFIX):
            classes[binding.address] = symbol[len(CLASS_PREFIX) :]
        elif symbol == STRING_CLASS:
            classes[binding.address] = "NSConstantString"
        else:
            pointers[binding.address] = f"{name_on_linux(symbol)} + {binding.addend}"
    for address, content in macho.words(binary, "__cfstring", 32):
        pointers.update(gnustep_string(address, content))
    return pointers, classes


# --- Directives ---


def unwinding(entry):
    """For an entry of the compact form, which holds at calls."""
    if entry.encoding & MODE != FRAME_POINTER_MODE:
        sys.exit(f"relink.py: the unwind entry at {entry.start:#x} is of an unknown kind")
    yield ".cfi_def_cfa %rbp, 16"
    yield ".cfi_offset %rbp, -16"
    lowest = -16 - 8 * (entry.encoding >> 16 & 0xFF)
    for index in range(5):
        register = SAVED_REGISTERS[entry.encoding >> 3 * index & 7]
        if register:
            yield f".cfi_offset {register}, {lowest + 8 * index}"
    if entry.encoding & HAS_LSDA:
        yield f".set personality, image + {entry.personality:#x}"
        yield f".set lsda_{entry.start}, image + {entry.lsda:#x}"
        yield f".cfi_personality 0x9b, personality\n.cfi_lsda 0x1b, lsda_{entry.start}"


def code(entries, copy):
    """From the start of the image to the end of the last function."""
    yield copy(0, entries[0].start)
    for entry in entries:
        if entry.encoding == 0:
            yield copy(entry.start, entry.end)
        else:
            yield from (".cfi_startproc", *unwinding(entry))
            yield from (copy(entry.start, entry.end), ".cfi_endproc")


def data(start, end, pointers, copy):
    for address, expression in sorted(pointers.items()):
        yield f"{copy(start, address)}\n.quad {expression}"
        start = address + 8
    yield copy(start, end)


def symbols(binary, code_end):
    exported = {str(entry.symbol.name): entry.address for entry in binary.dyld_info.exports}
    inner = {
        symbol.name: symbol.value
        for symbol in macho.defined(binary)
        if OWN_NAME.match(symbol.name)
    }
    for symbol, address in sorted({**inner, **exported}.items()):
        name = name_on_linux(symbol)
        yield f".globl {name}\n.set {name}, image + {address:#x}"
        yield f".type {name}, {'@function' if address < code_end else '@object'}"


def start_and_end(binary, classes):
    """Gives MacRuntime.mm the references to Objective-C before the library's initialisers run."""
    (constants,) = (each for each in segments_of(binary) if each.name == "__DATA_CONST")
    initialisers = [struct.unpack("<Q", word)[0] for _, word in macho.words(binary, "__mod_init_func")]
    yield f"""
.text
adopt:
  lea classes(%rip), %rdi
  lea selectors(%rip), %rsi
  lea image(%rip), %rdx
  mov ${constants.virtual_address + constants.virtual_size}, %rcx
  jmp mac_adopt@PLT
finalize:
  lea image(%rip), %rdi
  jmp __cxa_finalize@PLT
.section .init_array, "aw"
.quad adopt"""
    yield from (f".quad image + {function:#x}" for function in initialisers)
    yield '.section .fini_array, "aw"\n.quad finalize\n.data\nclasses:'
    for address, name in classes.items():
        yield f'.quad image + {address:#x}, 1f\n.section .rodata\n1: .asciz "{name}"\n.data'
    yield ".quad 0, 0\nselectors:"
    yield from (f".quad image + {slot:#x}" for slot, _ in macho.words(binary, "__objc_selrefs"))
    yield '.quad 0\n.section .note.GNU-stack, ""'


def assembly(binary, memory, file):
    def copy(start, end):
        return f'.incbin "{file}", {start}, {end - start}' if start < end else ""

    pointers, classes = pointers_and_classes(binary, memory)
    entries = macho.unwind_entries(binary)
    yield '.section .image, "awx"\n.balign 4096\nimage:'
    yield from code(entries, copy)
    yield from data(entries[-1].end, len(memory), pointers, copy)
    yield from symbols(binary, entries[-1].end)
    yield from start_and_end(binary, classes)


def main(library, target):
    universal = macho.parse(pathlib.Path(library).read_bytes())
    (binary,) = (each for each in universal if macho.architecture_of(each) == "x86_64")
    memory = memory_of(binary)
    pathlib.Path(target + ".bin").write_bytes(memory)
    lines = assembly(binary, memory, target + ".bin")
    pathlib.Path(target).write_text("\n".join(lines) + "\n", encoding="utf-8")


if __name__ == "__main__":
    if len(sys.argv) != 3:
        sys.exit("Usage: relink.py LIBRARY ASSEMBLY")
    main(*sys.argv[1:])
