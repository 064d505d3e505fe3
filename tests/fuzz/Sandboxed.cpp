// Every fuzz target runs in a sandbox. What it finds stays in the working folder.

#include "Sandbox.h"

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  test::Sandbox::enter({std::filesystem::current_path()});
  return 0;
}
