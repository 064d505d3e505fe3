#include "Record.h"

// In every stand-in library: a look-up in the whole process finds it when one is loaded and its
// symbols are visible to all.
EXPORTED int libraryOfTheTests;
int libraryOfTheTests = 1;
