// Runs a fuzz target over every file of a folder, in the place of the fuzzer.

#include "Home.h"

#include <cstdint>
#include <iostream>

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv);
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int main(int argc, char** argv) {
  LLVMFuzzerInitialize(&argc, &argv);
  std::size_t replayed = 0;
  for (const auto& entry : std::filesystem::directory_iterator(argc > 1 ? argv[1] : ".")) {
    const std::string input = test::readFile(entry.path());
    std::cout << entry.path().filename() << std::endl;
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(input.data()), input.size());
    ++replayed;
  }
  return replayed > 0 ? 0 : 1;
}
