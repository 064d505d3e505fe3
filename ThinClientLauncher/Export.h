#pragma once

// Marks what the library exports. Everything is hidden by default; the linker's export list
// (linux/exports.map, macos/exports.txt) then keeps exactly the names it spells out.
#define THIN_CLIENT_LAUNCHER_EXPORT __attribute__((visibility("default")))
