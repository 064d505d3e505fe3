#pragma once

#include <cstdio>
#include <cstdlib>

// Ends the process, for the fuzzer to keep the input, when a statement does not hold.
#define FUZZ_CHECK(statement)                                                                      \
  do {                                                                                             \
    if (!(statement)) {                                                                            \
      std::fprintf(stderr, "%s:%d: does not hold: %s\n", __FILE__, __LINE__, #statement);          \
      std::abort();                                                                                \
    }                                                                                              \
  } while (false)
