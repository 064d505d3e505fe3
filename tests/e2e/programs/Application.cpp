// The plug-in's application: starts the launcher library with its own arguments.
//
// As "application start FOLDER ARGUMENT", requests a start by the operation that the library does
// not export. Ends when the outcome is known; exit status 0 if it paused once.

#include "Eventually.h"
#include "FakeSleep.h"
#include "LauncherHelper.h"

#include <filesystem>
#include <iterator>
#include <string>
#include <thread>

static std::ptrdiff_t threadCount() {
  const std::filesystem::directory_iterator threads("/proc/self/task");
  return std::distance(begin(threads), end(threads));
}

static bool start(const char* folder, const char* argument) {
  // A sanitizer may start a thread of its own with the first one, and keep it.
  std::thread([] {}).join();
  const std::ptrdiff_t threadsBefore = threadCount();
  LauncherHelper::launchFromDirectory(folder, argument);
  return test::eventually([=] { return threadCount() == threadsBefore; }) &&
         test::FakeSleep::count() == 1;
}

int main(int argc, char** argv) {
  if (argc == 4 && argv[1] == std::string("start"))
    return start(argv[2], argv[3]) ? 0 : 1;
  LauncherHelper::loadLauncherDll(argc, argv);
}
