// A host of the library for measurements: loads it as a foreign host does, calls its entry point
// once in launcher mode, and reports what the call cost. The functions that the
// library would call for the pause and for the system log are this program's own. In C, as the
// baseline is: a host in C++ has loaded the standard library before the measurement begins.
// Usage: bench_host LIBRARY CLIENT_VERSION

#include "Measure.h"

#include <dlfcn.h>

typedef int (*EntryPoint)(int, char**);

int nanosleep(const struct timespec* request, struct timespec* left) {
  (void)request;
  (void)left;
  waitForStart();
  return 0;
}

int main(int argc, char** argv) {
  if (argc != 3)
    return 2;
  sem_init(&startReported, 0, 0);
  void* library = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
  EntryPoint entry = library == NULL ? NULL : dlsym(library, "ThinClientLauncherEntryPoint");
  if (entry == NULL) {
    fprintf(stderr, "%s\n", dlerror());
    return 1;
  }
  char mode[] = "launchermode";
  char* arguments[] = {argv[0], mode, argv[2], NULL};
  const long long start = processorNanoseconds();
  const int result = entry(3, arguments);
  reportCost(start);
  return result;
}
