// Runs a program in a sandbox. Usage: sandbox PROGRAM [ARGUMENT]...

#include "Sandbox.h"

#include <cstdio>
#include <exception>
#include <unistd.h>

int main(int argc, char** argv) try {
  if (argc < 2)
    return 2;
  test::Sandbox::enter();
  ::execvp(argv[1], argv + 1);
  std::perror(argv[1]);
  return 127;
} catch (const std::exception& failure) {
  std::fprintf(stderr, "%s\n", failure.what());
  return 1;
}
