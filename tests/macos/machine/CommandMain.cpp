// The start of the machine code of launcher-inspect.

#include "MacRuntime.h"

#include <cstdlib>

extern "C" int mac_main(int argc, char** argv);

// Without either, both systems ask for the account.
int main(int argc, char** argv) {
  if (const char* const home = std::getenv("HOME"))
    ::setenv("CFFIXED_USER_HOME", home, 0);
  mac_enter_image();
  return mac_main(argc, argv);
}
