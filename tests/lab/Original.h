#pragma once

#include <dlfcn.h>

namespace test {

// The function that a fake of this name stands in front of.
template <typename Function>
Function* original(Function*, const char* name) {
  return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

} // namespace test
