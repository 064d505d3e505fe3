// launcher-inspect: tells what the next launch would do.

#include "Arguments.h"
#include "CheckReport.h"
#include "DisplayText.h"
#include "JsonReport.h"
#include "Platform.h"
#include "Terminal.h"
#include "TextReport.h"

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <iostream>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

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
  ::setenv("HOME", absolute.c_str(), 1);
  ::setenv("CFFIXED_USER_HOME", absolute.c_str(), 1); // what Foundation goes by
  std::error_code error;
  if (home.empty()) // libc++ takes it for the working folder
    error = std::make_error_code(std::errc::no_such_file_or_directory);
  else if (!fs::is_directory(absolute, error) && !error)
    error = std::make_error_code(std::errc::not_a_directory);
  requireUsable("--home", home, error);
}

static void enterWorkingDirectory(const fs::path& folder) {
  std::error_code error;
  fs::current_path(folder, error);
  requireUsable("--working-directory", folder, error);
}

static std::vector<std::string> namesToMask() {
  auto names = ownLoginNames();
  if (names.empty())
    throw UsageError("--mask: this user has no login name; set USER to the name to mask");
  return names;
}

// --- The report ---

// A copy is named by its folder in the launcher folder, or else by its path. Nothing when the
// launcher would stop before it gets there.
static std::optional<std::size_t>
indexOf(const fs::path& name, const fs::path& absolutePath, const Facts& facts) {
  for (const fs::path& path : {facts.places.launcherDirectory / name, absolutePath}) {
    const auto index = name.empty() ? std::nullopt : findCandidate(facts.decisions, path);
    if (index)
      return index;
  }
  if (facts.failure)
    return std::nullopt;
  throw UsageError(
      "--explain: \"" + name.string() +
      "\" is none of the candidates; give the name of a folder in the launcher folder or the path "
      "of a candidate; \"launcher-inspect --brief\" lists them");
}

static std::string toOutput(const Report& report, const Arguments& arguments) {
  if (arguments.check)
    return toCheckLine(report);
  if (arguments.json)
    return toJson(report);
  if (arguments.brief)
    return toBriefText(report, describeOutput());
  const bool isExplanation = report.contains("explained");
  return (isExplanation ? toExplanation : toText)(report, describeOutput());
}

static int inspect(const Arguments& arguments) {
  std::error_code ignored;
  const fs::path explained = fs::absolute(arguments.explained.value_or(""), ignored);
  if (arguments.home)
    enterHome(*arguments.home);
  if (arguments.workingDirectory)
    enterWorkingDirectory(*arguments.workingDirectory);
  const auto names = arguments.mask ? namesToMask() : std::vector<std::string>();
  Facts facts = findFacts(arguments.clientVersion);
  if (arguments.explained)
    facts.explained = indexOf(*arguments.explained, explained, facts);
  const Paths paths = arguments.json ? Paths::Absolute : Paths::BelowTilde;
  const Report report = makeReport(facts, names, paths);
  std::cout << toOutput(report, arguments);
  if (arguments.check)
    return checkStatusOf(report);
  if (facts.failure)
    return CANNOT_TELL;
  return facts.decisions.chosen ? COPY_WOULD_START : NO_COPY_WOULD_START;
}

static void requireWritten() {
  if (!std::cout.flush())
    throw std::runtime_error(
        "the output cannot be written; check that there is space where it goes");
}

// Also where the arguments cannot be read.
static bool hasOption(int argc, const char* const* argv, const std::string& option) {
  return std::find(argv, argv + argc, option) != argv + argc;
}

// Empty where none is named.
static fs::path namedHome(int argc, const char* const* argv) {
  const std::string option = "--home";
  for (int i = 1; i < argc; ++i) {
    const std::string argument = argv[i];
    if (argument == option && i + 1 < argc)
      return argv[i + 1];
    if (argument.rfind(option + "=", 0) == 0)
      return argument.substr(option.size() + 1);
  }
  return {};
}

static std::string masked(const std::string& message, const fs::path& home) {
  auto names = ownLoginNames();
  names.push_back(ownerOf(home));
  names.push_back(ownerOf(Platform::libraryDirectory().parent_path()));
  return Redaction("", names, Paths::Absolute).text(message);
}

// A monitoring system takes every status of a check for one of its own.
static int endWith(const std::exception& error, int argc, const char* const* argv) {
  const std::string message =
      hasOption(argc, argv, "--mask") ? masked(error.what(), namedHome(argc, argv)) : error.what();
  if (hasOption(argc, argv, "--check")) {
    std::cout << toUnknownLine(message);
    return CHECK_UNKNOWN;
  }
  std::cerr << "launcher-inspect: " << escape(message) << "\n";
  if (dynamic_cast<const UsageError*>(&error) == nullptr)
    return CANNOT_TELL;
  std::cerr << "Run \"launcher-inspect --help\" for the options.\n";
  return WRONG_USAGE;
}

int main(int argc, char** argv) {
  try {
    const auto arguments = readArguments(argc, argv);
    const int status = arguments ? inspect(*arguments) : COPY_WOULD_START;
    requireWritten();
    return status;
  } catch (const std::exception& error) {
    return endWith(error, argc, argv);
  }
}
