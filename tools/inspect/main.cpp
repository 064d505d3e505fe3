// launcher-inspect: tells what the next launch would do.

#include "Arguments.h"
#include "Disclosure.h"
#include "DisplayText.h"
#include "Inspection.h"
#include "JsonReport.h"
#include "Terminal.h"
#include "TextReport.h"

#include <cstdlib>
#include <exception>
#include <filesystem>
#include <iostream>
#include <string>
#include <system_error>

namespace fs = std::filesystem;

using namespace LauncherInspect;

// The launcher's rules ask for the home and the working folder of their process: this one takes the
// places that it was told.
static void enterHome(const fs::path& home) {
  const fs::path absolute = fs::absolute(home);
  ::setenv("HOME", absolute.c_str(), 1);
  ::setenv("CFFIXED_USER_HOME", absolute.c_str(), 1); // what Foundation goes by
}

static void enterWorkingDirectory(const fs::path& folder) {
  std::error_code error;
  fs::current_path(folder, error);
  if (error)
    throw UsageError(
        "--working-directory: \"" + folder.string() + "\" cannot be entered (" + error.message() +
        "); name a folder that this user can enter");
}

static std::string nameToMask() {
  const std::string name = findLoginName();
  if (name.empty())
    throw UsageError("--mask: this user has no login name; set USER to the name to mask");
  return name;
}

static int report(const Arguments& arguments) {
  if (arguments.home)
    enterHome(*arguments.home);
  if (arguments.workingDirectory)
    enterWorkingDirectory(*arguments.workingDirectory);
  const std::string mask = arguments.mask ? nameToMask() : "";
  const Inspection inspection = inspect(arguments.clientVersion);
  const Disclosure disclosure(inspection.home, mask);
  std::cout << (arguments.json ? toJson(inspection, disclosure)
                               : toText(inspection, disclosure, describeOutput()))
            << std::flush;
  if (!std::cout)
    throw std::runtime_error("the report cannot be written; is there room where it goes?");
  return inspection.chosen ? COPY_WOULD_START : NO_COPY_WOULD_START;
}

static void complain(const std::string& message) {
  std::cerr << "launcher-inspect: " << escape(message) << "\n";
}

int main(int argc, char** argv) {
  try {
    const auto arguments = readArguments(argc, argv);
    return arguments ? report(*arguments) : COPY_WOULD_START;
  } catch (const UsageError& error) {
    complain(error.what());
    std::cerr << "Run \"launcher-inspect --help\" for the options.\n";
    return WRONG_USAGE;
  } catch (const std::exception& error) {
    complain(error.what());
    return NO_COPY_WOULD_START;
  }
}
