// A main library and a launcher library in one: says in the environment how it was entered.

#include <cstdlib>
#include <string>

#define EXPORTED extern "C" __attribute__((visibility("default")))

EXPORTED int VDIEntryPoint(int number, void* pointer) {
  const std::string arguments = std::to_string(number) + (pointer ? " pointer" : " null");
  return setenv("PROBE", ("main " + arguments).c_str(), 1) + 1;
}

EXPORTED int ThinClientLauncherEntryPoint(int argc, char** argv) {
  std::string arguments = std::to_string(argc);
  for (int index = 0; index < argc; ++index)
    arguments += std::string(" ") + argv[index];
  return setenv("PROBE", ("launcher " + arguments).c_str(), 1) + 1;
}
