// A library of the same language with the same dependencies and nothing of its own: what loading
// costs at the least.

#include <string>

extern "C" __attribute__((visibility("default"))) std::size_t emptyEntry(const char* text) {
  return std::string(text).size();
}
