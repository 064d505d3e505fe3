// launcher-inspect: tells what the next launch would do.

#include "Arguments.h"
#include "DisplayText.h"
#include "JsonReport.h"
#include "Terminal.h"
#include "TextReport.h"

#include <cstdlib>
#include <exception>
#include <filesystem>
#include <iostream>
#include <pwd.h>
#include <stdexcept>
#include <string>
#include <system_error>
#include <unistd.h>

namespace fs = std::filesystem;

using namespace LauncherInspect;

static void requireUsable(const char* option, const fs::path& folder, std::error_code error) {
  if (error)
    throw UsageError(
        std::string(option) + ": \"" + folder.string() + "\" is no folder that can be used (" +
        error.message() + "); name an existing one");
}

// The launcher compares paths as text, so all names of a folder must be the same text.
static fs::path normalise(const fs::path& folder) {
  std::error_code error;
  const fs::path normal = fs::absolute(folder, error).lexically_normal();
  return normal.has_filename() ? normal : normal.parent_path();
}

// The launcher's rules ask for the home and the working folder of their process.
static void enterHome(const fs::path& home) {
  const fs::path absolute = normalise(home);
  std::error_code error;
  if (!fs::is_directory(absolute, error) && !error)
    error = std::make_error_code(std::errc::not_a_directory);
  requireUsable("--home", home, error);
  ::setenv("HOME", absolute.c_str(), 1);
  ::setenv("CFFIXED_USER_HOME", absolute.c_str(), 1); // what Foundation goes by
}

static void enterWorkingDirectory(const fs::path& folder) {
  std::error_code error;
  fs::current_path(folder, error);
  requireUsable("--working-directory", folder, error);
}

// The name that the launcher masks in its log, or that of the user who runs this process.
static std::string nameToMask() {
  if (const char* const user = std::getenv("USER"); user != nullptr && *user != '\0')
    return user;
  if (const passwd* const entry = ::getpwuid(::geteuid()))
    return entry->pw_name;
  throw UsageError("--mask: this user has no login name; set USER to the name to mask");
}

static int inspect(const Arguments& arguments) {
  if (arguments.home)
    enterHome(*arguments.home);
  if (arguments.workingDirectory)
    enterWorkingDirectory(*arguments.workingDirectory);
  const std::string mask = arguments.mask ? nameToMask() : "";
  const Report report = makeReport(findFacts(arguments.clientVersion), mask);
  std::cout << (arguments.json ? toJson(report) : toText(report, describeOutput())) << std::flush;
  if (!std::cout)
    throw std::runtime_error(
        "the report cannot be written; check that there is space where it goes");
  return report.at("chosen").is_null() ? NO_COPY_WOULD_START : COPY_WOULD_START;
}

static void complain(const std::string& message) {
  std::cerr << "launcher-inspect: " << escape(message) << "\n";
}

int main(int argc, char** argv) {
  try {
    const auto arguments = readArguments(argc, argv);
    return arguments ? inspect(*arguments) : COPY_WOULD_START;
  } catch (const UsageError& error) {
    complain(error.what());
    std::cerr << "Run \"launcher-inspect --help\" for the options.\n";
    return WRONG_USAGE;
  } catch (const std::exception& error) {
    complain(error.what());
    return NO_COPY_WOULD_START;
  }
}
