#!/usr/bin/env python3
"""Writes the library for macOS as assembler source, to be linked as a library for Linux.

Usage: relink.py ARCHITECTURE LIBRARY ASSEMBLY

Takes the slice of LIBRARY for arm64 or x86_64. Its segments become one section that holds every byte
at its place, except the pointers that a Mac's loader writes too. Linux's linker and loader do the
rest: they bind, initialise, export, unwind and unload. ASSEMBLY.bin receives the bytes.
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
    "NSLog": "mac_NSLog",
    "NSSearchPathForDirectoriesInDomains": "mac_NSSearchPathForDirectoriesInDomains",
    "_ZNKSt3__16locale9use_facetERNS0_2idE": "mac_use_facet",
}

# How the border passes the messages on, as MacRuntime.h says. Those that are 0 return no BOOL, and take
# neither unnamed nor floating-point arguments.
MESSAGES = {
    **dict.fromkeys((
        "UTF8String", "bundleWithPath:", "class", "configuration", "count", "dictionary",
        "executablePath", "fileURLWithPath:", "firstObject", "infoDictionary", "localizedDescription",
        "mainBundle", "objectAtIndex:", "objectForKey:",
        "openApplicationAtURL:configuration:completionHandler:", "setArguments:",
        "setCreatesNewApplicationInstance:", "setEnvironment:", "setPromptsUserIfNeeded:",
        "sharedWorkspace", "stringWithUTF8String:"), 0),
    "isKindOfClass:": 1,
    "arrayWithObjects:": 2,
}

# The functions in C. Of these, NSLog takes unnamed arguments, which the border moves.
FUNCTIONS = set("""
    NSLog NSSearchPathForDirectoriesInDomains _Unwind_Resume __bzero __cxa_allocate_exception
    __cxa_atexit __cxa_begin_catch __cxa_end_catch __cxa_free_exception __cxa_guard_acquire
    __cxa_guard_release __cxa_throw __gxx_personality_v0 __stack_chk_fail bzero dladdr dlerror dlopen dlsym
    fclose fflush fopen fread fseek fseeko ftello fwrite getenv localtime_r memchr memcmp memcpy memmove
    memset objc_autoreleasePoolPop objc_autoreleasePoolPush objc_autoreleaseReturnValue objc_msgSend
    objc_release objc_retain objc_retainAutorelease objc_retainAutoreleasedReturnValue sched_yield setbuf
    strcmp strftime strlen time
    """.split())
DATA = {"dyld_stub_binder", "_NSConcreteGlobalBlock", "__CFConstantStringClassReference", "__stack_chk_guard"}

# The project's own functions and classes. Tests call inner ones too, which are no exports.
OWN_NAME = re.compile(r"__ZN?K?\d|__ZT[VIS]\d")

TABLES = ("image", "endOfConstants", "classes", "selectors")  # Image.cpp needs them

CLASS_PREFIX = "_OBJC_CLASS_$_"
STRING_CLASS = "___CFConstantStringClassReference"
BYTE_STRING = 0x7C8  # the flags of a constant string of bytes, not of UTF-16

# x86_64 names each saved register, the lowest first. arm64 has a bit for each pair, the highest first.
MODE, HAS_LSDA = 0x0F000000, 0x40000000
X86_64_FRAME, ARM64_FRAMELESS, ARM64_FRAME = 0x01000000, 0x02000000, 0x04000000
SAVED_REGISTERS = [None, "%rbx", "%r12", "%r13", "%r14", "%r15"]
SAVED_PAIRS = {0x1: "x19 x20", 0x2: "x21 x22", 0x4: "x23 x24", 0x8: "x25 x26", 0x10: "x27 x28",
               0x100: "d8 d9", 0x200: "d10 d11", 0x400: "d12 d13", 0x800: "d14 d15"}


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


# --- The border ---


def is_known(name):
    """C++'s names say whether the last arguments are unnamed."""
    if name.startswith("__Z"):
        return not name.endswith("z")
    return name.startswith(CLASS_PREFIX) or name.removeprefix("_") in FUNCTIONS | DATA


def faults_of_border(binary):
    """What the border may pass on wrongly."""
    imported = {str(symbol.name) for symbol in macho.undefined(binary)}
    return [
        f"the border knows no message {name}: add it to MESSAGES in relink.py, with how it is passed on"
        for name in sorted(macho.selectors(binary) - set(MESSAGES))
    ] + [
        f"the border knows no function {name}: add it to FUNCTIONS in relink.py, and to REPLACED, with "
        "a function that moves them, if it takes unnamed arguments"
        for name in sorted(imported)
        if not is_known(name)
    ]


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


def frame_on_x86_64(encoding):
    yield ".cfi_def_cfa %rbp, 16\n.cfi_offset %rbp, -16"
    lowest = -16 - 8 * (encoding >> 16 & 0xFF)
    for index in range(5):
        register = SAVED_REGISTERS[encoding >> 3 * index & 7]
        if register:
            yield f".cfi_offset {register}, {lowest + 8 * index}"


def pairs_on_arm64(encoding, place):
    for bit, pair in SAVED_PAIRS.items():
        if encoding & bit:
            first, second = pair.split()
            yield f".cfi_offset {first}, {place}\n.cfi_offset {second}, {place - 8}"
            place -= 16


def frame_on_arm64(encoding):
    yield ".cfi_def_cfa x29, 16\n.cfi_offset x29, -16\n.cfi_offset x30, -8"
    yield from pairs_on_arm64(encoding, -24)


def frameless_on_arm64(encoding):
    yield f".cfi_def_cfa sp, {16 * (encoding >> 12 & 0xFFF)}"
    yield from pairs_on_arm64(encoding, -8)


FRAMES = {
    "x86_64": {X86_64_FRAME: frame_on_x86_64},
    "arm64": {ARM64_FRAME: frame_on_arm64, ARM64_FRAMELESS: frameless_on_arm64},
}


def unwinding(architecture, entry):
    """For an entry of the compact form, which holds at calls."""
    frame = FRAMES[architecture].get(entry.encoding & MODE)
    if not frame:
        sys.exit(f"relink.py: the unwind entry at {entry.start:#x} is of an unknown kind")
    yield from frame(entry.encoding)
    if entry.encoding & HAS_LSDA:
        yield f".set personality, image + {entry.personality:#x}"
        yield f".set lsda_{entry.start}, image + {entry.lsda:#x}"
        yield f".cfi_personality 0x9b, personality\n.cfi_lsda 0x1b, lsda_{entry.start}"


def code(architecture, entries, copy):
    """From the start of the image to the end of the last function."""
    yield copy(0, entries[0].start)
    for entry in entries:
        if entry.encoding == 0:
            yield copy(entry.start, entry.end)
        else:
            yield from (".cfi_startproc", *unwinding(architecture, entry))
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


def tables(binary, memory, classes):
    """For Image.cpp, and the functions that run after it."""
    (constants,) = (each for each in segments_of(binary) if each.name == "__DATA_CONST")
    yield f".set endOfConstants, image + {constants.virtual_address + constants.virtual_size:#x}"
    yield ".data\n.balign 8\nclasses:"
    for address, name in classes.items():
        yield f'.quad image + {address:#x}, 1f\n.section .rodata\n1: .asciz "{name}"\n.data'
    yield ".quad 0, 0\nselectors:"
    for slot, word in macho.words(binary, "__objc_selrefs"):
        start = struct.unpack("<Q", word)[0]
        name = memory[start : memory.index(0, start)].decode()
        yield f".quad image + {slot:#x}, {MESSAGES[name]}"
    yield '.quad 0, 0\n.section .init_array, "aw"\n.balign 8'
    for _, word in macho.words(binary, "__mod_init_func"):
        yield f".quad image + {struct.unpack('<Q', word)[0]:#x}"
    yield '.section .note.GNU-stack, ""'


def assembly(architecture, binary, memory, file):
    def copy(start, end):
        return f'.incbin "{file}", {start}, {end - start}' if start < end else ""

    pointers, classes = pointers_and_classes(binary, memory)
    entries = macho.unwind_entries(binary)
    yield "\n".join(f".globl {name}\n.hidden {name}" for name in TABLES)
    yield '.section .image, "awx"\n.balign 4096\nimage:'
    yield from code(architecture, entries, copy)
    yield from data(entries[-1].end, len(memory), pointers, copy)
    yield from symbols(binary, entries[-1].end)
    yield from tables(binary, memory, classes)


def main(architecture, library, target):
    universal = macho.parse(pathlib.Path(library).read_bytes())
    (binary,) = (each for each in universal if macho.architecture_of(each) == architecture)
    faults = faults_of_border(binary)
    if faults:
        sys.exit("relink.py: " + "\n".join(faults))
    memory = memory_of(binary)
    pathlib.Path(target + ".bin").write_bytes(memory)
    lines = assembly(architecture, binary, memory, target + ".bin")
    pathlib.Path(target).write_text("\n".join(lines) + "\n", encoding="utf-8")


if __name__ == "__main__":
    if len(sys.argv) != 4:
        sys.exit("Usage: relink.py ARCHITECTURE LIBRARY ASSEMBLY")
    main(*sys.argv[1:])
