#include "Record.h"

__attribute__((constructor)) static void loaded() {
  record() << "loaded\n";
}
