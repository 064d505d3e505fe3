// A plug-in's executable. Its first argument says what it does:
//   record           records the safe start and returns the status
//   record-library   lets its main library do so
//   anything else    enters the launcher library with its arguments

#include <ThinClientLauncherPlugin.h>

#include <dlfcn.h>
#include <string>

static int recordInLibrary(const char* path) {
  void* const library = ::dlopen(path, RTLD_NOW);
  void* const entry = library != nullptr ? ::dlsym(library, "recordSafeStart") : nullptr;
  return entry != nullptr ? reinterpret_cast<int (*)()>(entry)() : 127;
}

int main(int argc, char** argv) {
  const std::string command = argc > 1 ? argv[1] : "";
  if (command == "record")
    return ThinClientLauncherPluginRecordSafeStart();
  if (command == "record-library")
    return recordInLibrary(argv[2]);
  ThinClientLauncherPluginRun(argc, argv);
  return 0;
}
