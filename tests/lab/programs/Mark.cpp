#include "Record.h"

// Part of every library of the tests. A look-up in the whole process finds it when such a library
// is loaded and its symbols are visible to all.
EXPORTED void libraryOfTheTests() {}
