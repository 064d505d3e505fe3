#include "Arguments.h"

#include <CLI/CLI.hpp>

#include <iostream>

namespace fs = std::filesystem;

namespace LauncherInspect {

static const char* const DESCRIPTION =
    "Tells which copy of the plug-in the launcher would start, why not the others,\n"
    "and which folders it would remove then. Starts and changes nothing.\n";

static const char* const EXIT_STATUSES =
    "Exit status: 0 a copy would start, 1 none would, 2 wrong usage,\n"
    "3 it cannot be told.";

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
  CLI::Option* const explain =
      addDirectory(
          app, "--explain", arguments.explained, "Print every rule that this copy passed or failed")
          ->type_name("FOLDER");
  CLI::Option* const brief =
      app.add_flag("--brief", arguments.brief, "Print one line per copy, the chosen one first");
  app.add_flag("--json", arguments.json, "Print one JSON object")->excludes(brief);
  brief->excludes(explain);
  app.add_flag("--mask", arguments.mask, "Replace the login name by stars");
  app.footer(EXIT_STATUSES);
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
  } catch (const CLI::ExcludesError& error) {
    throw UsageError(error.what() + std::string("; give one of the two"));
  } catch (const CLI::ParseError& error) {
    throw UsageError(error.what());
  }
  return arguments;
}

} // namespace LauncherInspect
