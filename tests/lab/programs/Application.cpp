// A plug-in application: loads the launcher library, which gets its own arguments.
// LOADER_OPERATIONS names other operations to perform: main, launcher and start, with blanks
// between them. LOADER_LOG names a log to open before. Records exceptions, and at the end whether
// the symbols of a loaded library are visible to all.

#include "Eventually.h"
#include "FakeSleep.h"
#include "LauncherHelper.h"
#include "Logger.h"
#include "Record.h"
#include "Threads.h"

#include <dlfcn.h>
#include <sstream>
#include <stdexcept>
#include <string>

// Found in place of a main library's by a look-up without a library.
EXPORTED int VDIEntryPoint(int, void*) {
  record() << "entry of the application\n";
  return 0;
}

// The arguments are the folder and the argument to pass. Waits for the outcome.
static void start(char** argv) {
  test::noteThreadsAtRest();
  LauncherHelper::launchFromDirectory(argv[1], argv[2]);
  const bool ended = test::eventually([] { return test::countThreads() == 1; });
  if (!ended || test::FakeSleep::count() != 1)
    throw std::runtime_error("no end of the start, or not one pause");
}

static void perform(const std::string& operation, int argc, char** argv) {
  if (operation == "main")
    LauncherHelper::loadMainDllFromCurrentDirectory();
  else if (operation == "launcher")
    LauncherHelper::loadLauncherDll(argc, argv);
  else
    start(argv);
}

int main(int argc, char** argv) {
  if (const char* log = std::getenv("LOADER_LOG"))
    Logger::open(log, true);
  const char* const named = std::getenv("LOADER_OPERATIONS");
  std::istringstream operations(named != nullptr ? named : "launcher");
  try {
    for (std::string operation; operations >> operation;)
      perform(operation, argc, argv);
  } catch (const std::exception& failure) {
    record() << "exception: " << failure.what() << '\n';
  }
  if (::dlsym(RTLD_DEFAULT, "libraryOfTheTests") != nullptr)
    record() << "visible\n";
}
