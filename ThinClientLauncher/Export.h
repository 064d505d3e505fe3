#pragma once

// Marks what the library exports; everything else is hidden. The linker's export lists
// (linux/exports.map, macos/exports.txt) name the same symbols one by one.
#define THIN_CLIENT_LAUNCHER_EXPORT __attribute__((visibility("default")))
