// Starts bundles through the launcher's own operation, which the library does not export:
// Starter FOLDER ARGUMENT [FOLDER ARGUMENT]... Ends once all outcomes are known; exit status 0 when
// every call paused once.

#include "Eventually.h"
#include "FakeSleep.h"
#include "LauncherHelper.h"

#include <filesystem>
#include <iterator>
#include <thread>

static std::ptrdiff_t threadCount() {
  const std::filesystem::directory_iterator threads("/proc/self/task");
  return std::distance(begin(threads), end(threads));
}

int main(int argc, char** argv) {
  // With the first thread, a sanitizer may start one of its own for good.
  std::thread([] {}).join();
  const std::ptrdiff_t threadsBefore = threadCount();
  std::size_t calls = 0;
  for (int i = 1; i + 1 < argc; i += 2, ++calls)
    LauncherHelper::launchFromDirectory(argv[i], argv[i + 1]);
  return test::eventually([=] { return threadCount() == threadsBefore; }) &&
                 test::FakeSleep::count() == calls
             ? 0
             : 1;
}
