// A main library that a loader refuses if it binds all symbols at once.

#include "Record.h"

extern "C" int definedNowhere();

EXPORTED int VDIEntryPoint(int, void*) {
  record() << "called\n";
  return definedNowhere();
}
