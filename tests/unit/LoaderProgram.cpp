// An application that loads libraries as LauncherHelper does, at a place of its own on disk.
// Usage: program main|launcher|entry COUNT [ARGUMENT...], with the path of the log in LOADER_LOG
// and that of the record in LIBRARY_RECORD.
//
// Performs the operation COUNT times, with COUNT and the arguments as its argument vector, and then
// records whether the symbols of a loaded library are visible to all.

#include "LauncherHelper.h"
#include "Logger.h"
#include "ThinClientLauncherEntryPoint.h"
#include "libraries/Record.h"

#include <dlfcn.h>
#include <exception>

static void perform(const std::string& operation, int argc, char** argv) {
  if (operation == "main")
    LauncherHelper::loadMainDllFromCurrentDirectory();
  else if (operation == "launcher")
    LauncherHelper::loadLauncherDll(argc, argv);
  else
    ThinClientLauncherEntryPoint(argc, argv);
}

int main(int argc, char** argv) {
  if (argc < 3)
    return 2;
  const std::string operation = argv[1];
  if (operation != "entry") // which opens its own
    Logger::open(std::getenv("LOADER_LOG"), true);
  try {
    for (int i = std::atoi(argv[2]); i > 0; --i)
      perform(operation, argc - 2, argv + 2);
  } catch (const std::exception& failure) {
    record() << "exception: " << failure.what() << '\n';
  }
  if (::dlsym(RTLD_DEFAULT, "libraryOfTheTests") != nullptr)
    record() << "visible\n";
  return 0;
}
