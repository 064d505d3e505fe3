#pragma once

#include <filesystem>
#include <iterator>

namespace test {

#ifdef __SANITIZE_THREAD__
constexpr int SANITIZER_THREADS = 1; // from the program's first thread on
#else
constexpr int SANITIZER_THREADS = 0;
#endif

// The number of threads of this process, without the thread sanitizer's own.
inline int countThreads() {
  const std::filesystem::directory_iterator tasks("/proc/self/task");
  return static_cast<int>(std::distance(begin(tasks), end(tasks))) - SANITIZER_THREADS;
}

} // namespace test
