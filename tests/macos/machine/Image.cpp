// Linked into the library that relink.py writes: the loader's work on it before its initialisers
// and after its last function.

#include "MacRuntime.h"

extern "C" {
// What relink.py wrote.
extern const ClassReference classes[];
extern const SelectorReference selectors[];
extern char image[], endOfConstants[];
void __cxa_finalize(void*);
}

namespace {

[[gnu::constructor(101)]] void adopt() {
  mac_adopt(classes, selectors, image, endOfConstants);
}

[[gnu::destructor(101)]] void finalize() {
  __cxa_finalize(image);
}

} // namespace
