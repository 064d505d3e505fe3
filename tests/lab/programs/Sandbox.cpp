// Runs a program in a sandbox. Usage: sandbox [--writable FOLDER] PROGRAM [ARGUMENT]...

#include "Sandbox.h"

#include <cstdio>
#include <exception>
#include <string>
#include <unistd.h>
#include <vector>

int main(int argc, char** argv) try {
  const bool hasFolder = argc > 2 && std::string(argv[1]) == "--writable";
  char** const program = argv + (hasFolder ? 3 : 1);
  if (argc < 2 || *program == nullptr)
    return 2;
  std::vector<std::filesystem::path> writable;
  if (hasFolder)
    writable.emplace_back(argv[2]);
  test::Sandbox::enter(writable);
  ::execvp(*program, program);
  std::perror(*program);
  return 127;
} catch (const std::exception& failure) {
  std::fprintf(stderr, "%s\n", failure.what());
  return 1;
}
