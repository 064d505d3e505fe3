#pragma once

// Gives default visibility to a class that the library exports. The linker's export lists
// (linux/exports.map, macos/exports.txt) name each exported symbol.
#define THIN_CLIENT_LAUNCHER_EXPORT __attribute__((visibility("default")))
