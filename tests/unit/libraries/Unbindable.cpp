#include "Record.h"

// Defined nowhere: a loader that binds all symbols at once refuses this library.
extern "C" int definedNowhere();

EXPORTED int VDIEntryPoint(int, void*) {
  record() << "called\n";
  return definedNowhere();
}
