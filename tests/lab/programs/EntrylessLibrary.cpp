// A library without the entry that the launcher looks up.

#include "Record.h"

__attribute__((constructor)) static void loaded() {
  record() << "loaded\n";
}
