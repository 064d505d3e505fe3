#pragma once

#include <filesystem>
#include <iterator>
#include <string>

namespace test {

#ifdef __SANITIZE_THREAD__
constexpr int SANITIZER_THREADS = 1; // from the program's first thread on
#else
constexpr int SANITIZER_THREADS = 0;
#endif

// The number of threads of a process, or of "self", without the thread sanitizer's own.
inline int countThreads(const std::string& process) {
  const std::filesystem::directory_iterator tasks("/proc/" + process + "/task");
  return static_cast<int>(std::distance(begin(tasks), end(tasks))) - SANITIZER_THREADS;
}

} // namespace test
