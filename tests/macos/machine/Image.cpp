// Linked into what relink.py writes: the loader's work on it before its first function and after
// its last.

#include "MacRuntime.h"

extern "C" {
// What relink.py wrote.
extern const ClassReference classes[];
extern const SelectorReference selectors[];
extern char image[], endOfConstants[];
using Initialiser = void (*)();
extern const Initialiser initialisers[];
void __cxa_finalize(void*);
}

void mac_enter_image() {
  mac_adopt(classes, selectors, image, endOfConstants);
  for (const Initialiser* initialise = initialisers; *initialise != nullptr; ++initialise)
    (*initialise)();
}

namespace {

[[gnu::destructor(101)]] void finalize() {
  __cxa_finalize(image);
}

} // namespace
