#pragma once

// The file that LIBRARY_RECORD names, in which the libraries and the application of the tests write
// what happened to them. Without that variable, nothing is written.

#include <cstdlib>
#include <fstream>
#include <stdexcept>

#define EXPORTED extern "C" __attribute__((visibility("default")))

inline std::ofstream record() {
  const char* const file = std::getenv("LIBRARY_RECORD");
  return file == nullptr ? std::ofstream() : std::ofstream(file, std::ios::app);
}

inline void throwIfAsked() {
  if (std::getenv("LIBRARY_THROWS") != nullptr)
    throw std::runtime_error("thrown by the library");
}
