// Starts bundles through the launcher's own operation, which the library does not export:
// Starter FOLDER ARGUMENT [FOLDER ARGUMENT]... Ends once all outcomes are known; exit status 0 when
// every call paused once.

#include "LauncherHelper.h"
#include "Polling.h"
#include "SleepStandIn.h"

#include <filesystem>
#include <iterator>

static bool isAlone() {
  const std::filesystem::directory_iterator threads("/proc/self/task");
  return std::distance(begin(threads), end(threads)) == 1;
}

int main(int argc, char** argv) {
  std::size_t calls = 0;
  for (int i = 1; i + 1 < argc; i += 2, ++calls)
    LauncherHelper::launchFromDirectory(argv[i], argv[i + 1]);
  return test::eventually(isAlone) && test::pausesAskedFor() == calls ? 0 : 1;
}
