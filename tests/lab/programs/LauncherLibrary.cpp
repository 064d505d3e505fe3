// A fake of the launcher library: records its arguments.

#include "Record.h"

EXPORTED int ThinClientLauncherEntryPoint(int argc, char** argv) {
  std::ofstream file = record();
  file << "launcher " << argc;
  for (int i = 1; i < argc; ++i)
    file << " [" << argv[i] << ']';
  file << (argv[argc] == nullptr ? " null\n" : " not null\n") << std::flush;
  throwIfAsked();
  return 7;
}
