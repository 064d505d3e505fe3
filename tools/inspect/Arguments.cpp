#include "Arguments.h"

#include <CLI/CLI.hpp>

#include <iostream>
#include <string>
#include <vector>

namespace fs = std::filesystem;

namespace LauncherInspect {

static const char* const DESCRIPTION =
    "Tells which copy of the plug-in the launcher would start, why not the others,\n"
    "and which folders it would remove then. Starts and changes nothing.\n";

static const char* const EXIT_STATUSES =
    "Exit status: 0 a copy would start, 1 none would, 2 wrong usage,\n"
    "3 an error would stop the launcher or has stopped this report.\n"
    "With --check: 0 well, 1 warning, 2 critical, 3 unknown.";

static CLI::Option* addDirectory(
    CLI::App& app, const char* name, std::optional<fs::path>& directory, const char* help) {
  const auto assign = [&directory](const std::string& path) { directory = path; };
  return app.add_option_function<std::string>(name, assign, help)->type_name("DIR");
}

static void addOptions(CLI::App& app, Arguments& arguments) {
  app.set_help_flag("-h,--help", "Print this help");
  app.set_version_flag("--version", "launcher-inspect " LAUNCHER_VERSION, "Print the version");
  app.add_option(
         "--client-version",
         arguments.clientVersion,
         "Version that the host passes; 1.0.0.1 is any")
      ->type_name("V");
  addDirectory(app, "--home", arguments.home, "Home folder to look into, or a copy of one");
  addDirectory(
      app, "--working-directory", arguments.workingDirectory, "Working folder of the host");
  addDirectory(
      app, "--explain", arguments.explained, "Print every rule that this copy passed or failed")
      ->type_name("FOLDER");
  app.add_flag("--brief", arguments.brief, "Print one line per copy, the chosen one first");
  app.add_flag("--json", arguments.json, "Print one JSON object");
  app.add_flag("--check", arguments.check, "Print one line for a monitoring system");
  app.add_flag("--mask", arguments.mask, "Replace the login name by stars");
  app.footer(EXIT_STATUSES);
}

// Each layout stands alone, but for an explanation as JSON.
static void requireOneLayout(const Arguments& arguments) {
  std::vector<std::string> layouts;
  if (arguments.brief)
    layouts.emplace_back("--brief");
  if (arguments.check)
    layouts.emplace_back("--check");
  if (arguments.json)
    layouts.emplace_back("--json");
  if (arguments.explained && !arguments.json)
    layouts.emplace_back("--explain");
  if (layouts.size() > 1)
    throw UsageError(layouts[0] + " excludes " + layouts[1] + "; give one of the two");
}

std::optional<Arguments> readArguments(int argc, const char* const* argv) {
  Arguments arguments;
  CLI::App app(DESCRIPTION, "launcher-inspect");
  addOptions(app, arguments);
  try {
    app.parse(argc, argv);
  } catch (const CLI::Success& success) {
    app.exit(success);
    return std::nullopt;
  } catch (const CLI::ArgumentMismatch& error) {
    throw UsageError(error.what() + std::string("; give the option once, with one value"));
  } catch (const CLI::ParseError& error) {
    throw UsageError(error.what());
  }
  requireOneLayout(arguments);
  return arguments;
}

} // namespace LauncherInspect
