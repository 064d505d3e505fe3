#include "Record.h"

#include <stdexcept>

static int calls = 0;

EXPORTED int ThinClientLauncherEntryPoint(int argc, char** argv) {
  std::ofstream file = record();
  file << "call " << ++calls << ": " << argc;
  for (int i = 0; i < argc; ++i)
    file << " [" << argv[i] << ']';
  file << (argv[argc] == nullptr ? " null\n" : " not null\n");
  if (std::getenv("LIBRARY_THROWS") != nullptr)
    throw std::runtime_error("thrown by the library");
  return 7;
}
