#!/usr/bin/env python3
"""Writes a library or a program for macOS as assembler source, to be linked for Linux.

Usage: relink.py ARCHITECTURE FILE ASSEMBLY

Takes the slice of FILE for arm64 or x86_64. Its segments become one section that holds every byte at its
place, except the pointers that a Mac's loader writes too. Linux's linker and loader do the rest: they
bind, export, unwind and unload. ASSEMBLY.bin receives the bytes.
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
    "_ZNSt3__116generic_categoryEv": "mac_generic_category",
    "ioctl": "mac_ioctl",
    "main": "mac_main",
    "snprintf": "mac_snprintf",
    "stat": "mac_stat",
    "stat$INODE64": "mac_stat",
    "statvfs": "mac_statvfs",
    "strtold": "abort",
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

# The functions in C. Of these, NSLog, ioctl and snprintf take unnamed arguments, which the border moves.
FUNCTIONS = set("""
    NSLog NSSearchPathForDirectoriesInDomains _Unwind_Resume __bzero __cxa_allocate_exception
    __cxa_atexit __cxa_begin_catch __cxa_end_catch __cxa_free_exception __cxa_guard_abort
    __cxa_guard_acquire __cxa_guard_release __cxa_pure_virtual __cxa_rethrow __cxa_throw __divti3
    __dynamic_cast __error __gxx_personality_v0 __maskrune __stack_chk_fail __udivti3 access bzero dladdr
    dlerror dlopen dlsym fclose fflush fopen fread fseek fseeko ftello fwrite getenv geteuid getpwuid
    ioctl isatty listxattr localeconv localtime_r memchr memcmp memcpy memmove memset
    objc_autoreleasePoolPop objc_autoreleasePoolPush objc_autoreleaseReturnValue objc_msgSend objc_release
    objc_retain objc_retainAutorelease objc_retainAutoreleasedReturnValue sched_yield setbuf setenv
    snprintf stat stat$INODE64 statvfs strcmp strftime strlen strtol strtold strtoll sysctlbyname time
    """.split())
DATA = {"dyld_stub_binder", "_DefaultRuneLocale", "_NSConcreteGlobalBlock",
        "__CFConstantStringClassReference", "__stack_chk_guard"}

# The project's own functions and classes. Tests call inner ones too, which are no exports.
OWN_NAME = re.compile(r"__ZN?K?\d|__ZT[VIS]\d")

TABLES = ("image", "endOfConstants", "classes", "selectors", "initialisers")  # Image.cpp needs them

CLASS_PREFIX = "_OBJC_CLASS_$_"
STRING_CLASS = "___CFConstantStringClassReference"
BYTE_STRING = 0x7C8  # the flags of a constant string of bytes, not of UTF-16

# x86_64 names each saved register, the lowest first. arm64 has a bit for each pair, the highest first.
MODE = 0x0F000000
X86_64_FRAME, ARM64_FRAMELESS, ARM64_DWARF, ARM64_FRAME = 0x01000000, 0x02000000, 0x03000000, 0x04000000
OFFSET, ADVANCE, DEFINE_FRAME = 0x80, 0x40, 0x0C
SAVED_REGISTERS = [None, "%rbx", "%r12", "%r13", "%r14", "%r15"]
SAVED_PAIRS = {0x1: "x19 x20", 0x2: "x21 x22", 0x4: "x23 x24", 0x8: "x25 x26", 0x10: "x27 x28",
               0x100: "d8 d9", 0x200: "d10 d11", 0x400: "d12 d13", 0x800: "d14 d15"}


def name_on_linux(symbol):
    name = symbol.removeprefix("_")
    return f'"{REPLACED.get(name, name)}"'


def segments_of(binary):
    return [each for each in binary.segments if each.name not in ("__LINKEDIT", "__PAGEZERO")]


def end_of(binary, segment):
    return segment.virtual_address + segment.virtual_size - binary.imagebase


def memory_of(binary):
    """The segments as they lie in memory. A place counts from the image's base: a program's is 4 GiB."""
    segments = segments_of(binary)
    memory = bytearray(max(end_of(binary, each) for each in segments))
    for segment in segments:
        start, content = segment.virtual_address - binary.imagebase, bytes(segment.content)
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


def address_in(binary, word):
    """The expression for an address that the file holds."""
    return f"image + {struct.unpack('<Q', word)[0] - binary.imagebase:#x}"


def gnustep_string(binary, place, content):
    """A constant string is class, flags, text, length; GNUstep's is class, text, length."""
    flags, length = struct.unpack("<8xQ8xQ", content)
    if flags != BYTE_STRING:
        sys.exit(f"relink.py: the string at {place:#x} is of an unknown kind, {flags:#x}")
    return {place + 8: address_in(binary, content[16:24]), place + 16: f"{length}"}


def exports_of(binary):
    """Without what others' headers add to a program: Linux's libraries would use it."""
    exported = {str(entry.symbol.name): entry.address for entry in binary.dyld_info.exports}
    return {name: place for name, place in exported.items()
            if OWN_NAME.match(name) or not name.startswith("__Z")}


def pointers_and_classes(binary, memory):
    """Two dictionaries by place: expressions, and names of classes to be looked up."""
    pointers, classes = {}, {}
    own = {str(symbol.name) for symbol in macho.defined(binary)}
    for rebase in binary.relocations:
        place = rebase.address - binary.imagebase
        pointers[place] = address_in(binary, memory[place : place + 8])
    for binding in binary.bindings:  # the lazy ones too, in place of a pointer to the binder
        symbol, place = str(binding.symbol.name), binding.address - binary.imagebase
        if symbol.startswith(CLASS_PREFIX):
            classes[place] = symbol[len(CLASS_PREFIX) :]
        elif symbol == STRING_CLASS:
            classes[place] = "NSConstantString"
        elif symbol not in own:
            pointers[place] = f"{name_on_linux(symbol)} + {binding.addend}"
    for place, content in macho.words(binary, "__cfstring", 32):
        pointers.update(gnustep_string(binary, place, content))
    return pointers, classes


# --- Directives ---


def frame_on_x86_64(_, entry):
    encoding = entry.encoding
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


def frame_on_arm64(_, entry):
    yield ".cfi_def_cfa x29, 16\n.cfi_offset x29, -16\n.cfi_offset x30, -8"
    yield from pairs_on_arm64(entry.encoding, -24)


def frameless_on_arm64(_, entry):
    yield f".cfi_def_cfa sp, {16 * (entry.encoding >> 12 & 0xFFF)}"
    yield from pairs_on_arm64(entry.encoding, -8)


def frame_in_dwarf(binary, entry):
    """As it is after the prologue, in which there are no calls."""
    instructions = iter(macho.frame_instructions(binary, entry))
    for byte in instructions:
        kind, operand = byte & 0xC0, byte & 0x3F
        if kind == OFFSET:
            yield f".cfi_offset {operand}, {-8 * next(instructions)}"
        elif byte == DEFINE_FRAME:
            yield f".cfi_def_cfa {next(instructions)}, {next(instructions)}"
        elif kind != ADVANCE and byte != 0:
            sys.exit(f"relink.py: the frame at {entry.start:#x} has an unknown instruction, {byte:#x}")


FRAMES = {
    "x86_64": {X86_64_FRAME: frame_on_x86_64},
    "arm64": {ARM64_FRAME: frame_on_arm64, ARM64_FRAMELESS: frameless_on_arm64,
              ARM64_DWARF: frame_in_dwarf},
}


def unwinding(binary, entry, personality):
    """For an entry of the compact form, which holds at calls."""
    frame = FRAMES[macho.architecture_of(binary)].get(entry.encoding & MODE)
    if not frame:
        sys.exit(f"relink.py: the unwind entry at {entry.start:#x} is of an unknown kind")
    yield from frame(binary, entry)
    if entry.lsda:
        yield f".set personality, image + {personality:#x}"
        yield f".set lsda_{entry.start}, image + {entry.lsda:#x}"
        yield f".cfi_personality 0x9b, personality\n.cfi_lsda 0x1b, lsda_{entry.start}"


def code(binary, entries, copy):
    """From the start of the image to the end of the last function."""
    (personality,) = {entry.personality for entry in entries} - {0}  # C++'s
    yield copy(0, entries[0].start)
    for entry in entries:
        if entry.encoding == 0:
            yield copy(entry.start, entry.end)
        else:
            yield from (".cfi_startproc", *unwinding(binary, entry, personality))
            yield from (copy(entry.start, entry.end), ".cfi_endproc")


def data(start, end, pointers, copy):
    for address, expression in sorted(pointers.items()):
        yield f"{copy(start, address)}\n.quad {expression}"
        start = address + 8
    yield copy(start, end)


def symbols(binary, code_end):
    inner = {
        symbol.name: symbol.value - binary.imagebase
        for symbol in macho.defined(binary)
        if OWN_NAME.match(symbol.name)
    }
    for symbol, address in sorted({**inner, **exports_of(binary)}.items()):
        name = name_on_linux(symbol)
        yield f".globl {name}\n.set {name}, image + {address:#x}"
        yield f".type {name}, {'@function' if address < code_end else '@object'}"


def tables(binary, memory, classes):
    """For Image.cpp, and the functions that run after it."""
    (constants,) = (each for each in segments_of(binary) if each.name == "__DATA_CONST")
    yield f".set endOfConstants, image + {end_of(binary, constants):#x}"
    yield ".data\n.balign 8\nclasses:"
    for place, name in classes.items():
        yield f'.quad image + {place:#x}, 1f\n.section .rodata\n1: .asciz "{name}"\n.data'
    yield ".quad 0, 0\nselectors:"
    for slot, word in macho.words(binary, "__objc_selrefs"):
        start = struct.unpack("<Q", word)[0] - binary.imagebase
        name = memory[start : memory.index(0, start)].decode()
        yield f".quad image + {slot:#x}, {MESSAGES[name]}"
    yield ".quad 0, 0\ninitialisers:"
    for _, word in macho.words(binary, "__mod_init_func"):
        yield f".quad {address_in(binary, word)}"
    yield ".quad 0"
    if binary.header.file_type == macho.MachO.Header.FILE_TYPE.DYLIB:
        yield '.section .init_array, "aw"\n.balign 8\n.quad mac_enter_image'
    yield '.section .note.GNU-stack, ""'


def assembly(binary, memory, file):
    def copy(start, end):
        return f'.incbin "{file}", {start}, {end - start}' if start < end else ""

    pointers, classes = pointers_and_classes(binary, memory)
    entries = macho.unwind_entries(binary)
    yield "\n".join(f".globl {name}\n.hidden {name}" for name in TABLES)
    yield '.section .image, "awx"\n.balign 4096\nimage:'
    yield from code(binary, entries, copy)
    yield from data(entries[-1].end, len(memory), pointers, copy)
    yield from symbols(binary, entries[-1].end)
    yield from tables(binary, memory, classes)


def main(architecture, file, target):
    universal = macho.parse(pathlib.Path(file).read_bytes())
    (binary,) = (each for each in universal if macho.architecture_of(each) == architecture)
    faults = faults_of_border(binary)
    if faults:
        sys.exit("relink.py: " + "\n".join(faults))
    memory = memory_of(binary)
    pathlib.Path(target + ".bin").write_bytes(memory)
    lines = assembly(binary, memory, target + ".bin")
    pathlib.Path(target).write_text("\n".join(lines) + "\n", encoding="utf-8")


if __name__ == "__main__":
    if len(sys.argv) != 4:
        sys.exit("Usage: relink.py ARCHITECTURE FILE ASSEMBLY")
    main(*sys.argv[1:])
