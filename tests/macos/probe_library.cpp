// Stands for the main library and for a copy of the launcher: says in the environment how it was
// entered.

#include <cstdlib>
#include <string>

#define EXPORTED extern "C" __attribute__((visibility("default")))

EXPORTED int VDIEntryPoint(int number, void* pointer) {
  setenv("PROBE_MAIN", (std::to_string(number) + (pointer ? " pointer" : " null")).c_str(), 1);
  return 1;
}

EXPORTED int ThinClientLauncherEntryPoint(int argc, char** argv) {
  std::string arguments = std::to_string(argc);
  for (int index = 0; index < argc; ++index)
    arguments += std::string(" ") + argv[index];
  setenv("PROBE_LAUNCHER", arguments.c_str(), 1);
  return 1;
}
