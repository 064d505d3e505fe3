#pragma once

#include "Eventually.h"

#ifdef __linux__
#include <filesystem>
#include <iterator>
#include <string>
#include <thread>
#include <unistd.h>
#endif

namespace test {

#ifdef __linux__

inline int countAllThreads() {
  const std::filesystem::directory_iterator tasks("/proc/self/task");
  return static_cast<int>(std::distance(begin(tasks), end(tasks)));
}

inline int threadsAtRest = 1;

// Call it before threads are counted: a sanitizer keeps threads of its own, one of them from the
// first thread on.
inline void noteThreadsAtRest() {
  std::string first;
  std::thread([&first] { first = std::to_string(::gettid()); }).join();
  eventually([&first] { return !std::filesystem::exists("/proc/self/task/" + first); });
  threadsAtRest = countAllThreads();
}

// The number of threads of this process, without a sanitizer's own.
inline int countThreads() {
  return countAllThreads() - threadsAtRest + 1;
}

#else
// On a Mac the tests start no application, and so no thread.
inline void noteThreadsAtRest() {}

inline int countThreads() {
  return 1;
}
#endif

} // namespace test
