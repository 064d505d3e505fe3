// Loads a library into a process that has nothing else and reports what that cost.
// Usage: bench_load LIBRARY

#include "Measure.h"

#include <dlfcn.h>

int main(int argc, char** argv) {
  if (argc != 2)
    return 2;
  const struct Moment start = now();
  const void* library = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
  reportCost(start);
  return library == NULL;
}
