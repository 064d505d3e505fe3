// The plug-in's application: starts the launcher library with its own arguments.
//
// As "application start FOLDER ARGUMENT", requests a start by the operation that the library does
// not export. Ends when the outcome is known; exit status 0 if it paused once.

#include "Eventually.h"
#include "FakeSleep.h"
#include "LauncherHelper.h"
#include "Threads.h"

#include <string>

static bool start(const char* folder, const char* argument) {
  LauncherHelper::launchFromDirectory(folder, argument);
  return test::eventually([] { return test::countThreads("self") == 1; }) &&
         test::FakeSleep::count() == 1;
}

int main(int argc, char** argv) {
  if (argc == 4 && argv[1] == std::string("start"))
    return start(argv[2], argv[3]) ? 0 : 1;
  LauncherHelper::loadLauncherDll(argc, argv);
}
