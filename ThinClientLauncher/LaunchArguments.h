#pragma once

// Reads the argument vector of the entry point: never argv[0], and nothing at or beyond argc.

#include <cstring>

constexpr const char* LOAD_MODE_ARGUMENT = "loadmode";
constexpr const char* LAUNCHER_MODE_ARGUMENT = "launchermode";

inline bool isFirstArgument(const char* text, int argc, char** argv) {
  return argc >= 2 && argv[1] != nullptr && std::strcmp(argv[1], text) == 0;
}

inline bool isLoadMode(int argc, char** argv) {
  return isFirstArgument(LOAD_MODE_ARGUMENT, argc, argv);
}

// Whether argv[2] is the host's client version; it may be empty.
inline bool hasClientVersion(int argc, char** argv) {
  return argc >= 3 && argv[2] != nullptr && isFirstArgument(LAUNCHER_MODE_ARGUMENT, argc, argv);
}
