/* A host: loads the launcher library by path, finds its entry point by name and asks for a launch.
   Usage: example_host LIBRARY CLIENT_VERSION */

#include <dlfcn.h>
#include <stdio.h>

typedef int (*EntryPoint)(int argc, char** argv);

int main(int argc, char** argv) {
  if (argc != 3) {
    fprintf(stderr, "usage: %s LIBRARY CLIENT_VERSION\n", argv[0]);
    return 2;
  }
  void* library = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
  if (library == NULL) {
    fprintf(stderr, "%s\n", dlerror());
    return 1;
  }
  EntryPoint entry;
  *(void**)&entry = dlsym(library, "ThinClientLauncherEntryPoint");
  if (entry == NULL) {
    fprintf(stderr, "%s\n", dlerror());
    return 1;
  }
  char* arguments[] = {argv[0], "launchermode", argv[2], NULL};
  return entry(3, arguments);
}
