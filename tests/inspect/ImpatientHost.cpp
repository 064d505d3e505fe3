// A host that loads the library at argv[1] and calls its entry point with the arguments behind it.
// It does not wait for the started application: the stand-in that it is linked with takes the
// launcher's pause.

#include <cstdio>
#include <dlfcn.h>

int main(int argc, char** argv) {
  void* const library = argc > 1 ? dlopen(argv[1], RTLD_NOW) : nullptr;
  void* const entry = library ? dlsym(library, "ThinClientLauncherEntryPoint") : nullptr;
  if (entry == nullptr) {
    std::fprintf(
        stderr, "%s\n", argc > 1 ? dlerror() : "usage: impatient_host LIBRARY ARGUMENT...");
    return 2;
  }
  return reinterpret_cast<int (*)(int, char**)>(entry)(argc - 1, argv + 1);
}
