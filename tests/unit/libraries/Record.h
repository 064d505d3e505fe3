#pragma once

// The file that the stand-in libraries and the program that loads them write to.

#include <cstdlib>
#include <fstream>

#define EXPORTED extern "C" __attribute__((visibility("default")))

inline std::ofstream record() {
  return std::ofstream(std::getenv("LIBRARY_RECORD"), std::ios::app);
}
