#pragma once

#include <cstdio>
#include <cstdlib>
#include <ctime>

// Ends the process, for the fuzzer to keep the input, when a statement does not hold.
#define FUZZ_CHECK(statement)                                                                      \
  do {                                                                                             \
    if (!(statement)) {                                                                            \
      std::fprintf(stderr, "%s:%d: does not hold: %s\n", __FILE__, __LINE__, #statement);          \
      std::abort();                                                                                \
    }                                                                                              \
  } while (false)

// The result of a function, which may take at most the processor time that is promised for hostile
// files. A second and a third call may show that other work on the machine added to the time.
template <typename Function>
auto withinLimit(Function function) {
  constexpr std::clock_t LIMIT = CLOCKS_PER_SEC / 20;
  for (int calls = 1;; ++calls) {
    const std::clock_t start = std::clock();
    auto result = function();
    const bool isWithin = std::clock() - start < LIMIT;
    FUZZ_CHECK(isWithin || calls < 3);
    if (isWithin)
      return result;
  }
}
