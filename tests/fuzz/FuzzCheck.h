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

// Calls a function, which may take at most the processor time that is promised for hostile files. A
// second and a third call may show that other work on the machine added to the time.
template <typename Function>
void withinLimit(Function function) {
  constexpr std::clock_t LIMIT = CLOCKS_PER_SEC / 20;
  bool isWithin = false;
  for (int calls = 0; calls < 3 && !isWithin; ++calls) {
    const std::clock_t start = std::clock();
    function();
    isWithin = std::clock() - start < LIMIT;
  }
  FUZZ_CHECK(isWithin);
}
