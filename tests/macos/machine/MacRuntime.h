// What relink.py's tables hold.
#pragma once

#include <cstdint>

// Where the machine code expects a class.
struct ClassReference {
  void** place; // null after the last one
  const char* name;
};

// How the border passes a message on: 0 as it comes, 1 if it returns a BOOL, 2 if it takes unnamed
// arguments.
using MessageKind = std::uintptr_t;

// Where the machine code expects a selector; its name is there now.
struct SelectorReference {
  void** place; // null after the last one
  MessageKind kind;
};

// Runs before the machine code's initialisers. From then on only its last segment can be written,
// as on a Mac.
extern "C" void mac_adopt(
    const ClassReference* classes,
    const SelectorReference* selectors,
    char* image,
    char* endOfConstants);

// Prepares the machine code. A library's runs when it is loaded; a program calls it before its
// main, when Objective-C knows its own classes.
extern "C" void mac_enter_image();
