// Every fuzz target runs in a sandbox.

#include "Sandbox.h"

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  test::Sandbox::enter();
  return 0;
}
