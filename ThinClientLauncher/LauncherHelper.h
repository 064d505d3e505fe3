#pragma once

// What the launcher's rules ask of the system: the installation layout, library loading and
// application start. The same on every system; Platform.h is what each system supplies below it.
//
// No operation keeps state or changes anything on disk, and only library loading writes to the log.
// Existence tests raise std::filesystem::filesystem_error when a path cannot be examined; a path
// that is not found is no failure.

#include <filesystem>
#include <string>

namespace LauncherHelper {

// --- Layout ---

// The folder that holds the installer's copy.
std::filesystem::path getOriginalInstallationDirectory();

// The user's folder of versioned copies, which need not exist; the empty path when the user has no
// Application Support folder.
std::filesystem::path getLauncherDirectory();

// Always the empty path: no system has a separate current package.
std::filesystem::path getCurrentPackageDirectory();

// Whether dir holds something under the bundle's name; the content is not examined.
bool isVDIPluginDirectory(const std::filesystem::path& dir);

// Always false: no system has a setup engine.
bool isSetupEngineDirectory(const std::filesystem::path& dir);

// The version text of the bundle in dir, unchanged; empty when there is none to read.
std::string getDirectoryVersion(const std::filesystem::path& dir);

// Always empty: the version of a copy is its bundle's.
std::string getVDIExeVersion(const std::filesystem::path& dir);

// The folder of the log files, which need not exist; the empty path when the user has no Library
// folder.
std::filesystem::path getLogPath();

// The path's bytes.
std::string toStdString(const std::filesystem::path& path);

// --- Libraries ---
//
// They are never closed. Failures are logged, except a main library without its entry function.
// Exceptions of an entry function pass through.

// Loads the main library from the executable's Frameworks folder and returns when its entry
// function returns.
void loadMainDllFromCurrentDirectory();

// For an executable that starts the launcher itself: loads the launcher library and returns when
// its entry point returns. Prefers the copy in the launcher folder, except in load mode; if that
// copy fails to load, no other is tried.
void loadLauncherDll(int argc, char** argv);

// --- Applications ---

// Asks the system to start the bundle in dir as a new instance with exactly this argument, then
// sleeps for 3000 milliseconds, whatever the outcome of the start. An argument that is not UTF-8 is
// left out. The outcome goes to the system log alone, possibly after the return.
void launchFromDirectory(const std::filesystem::path& dir, const std::string& argument);

} // namespace LauncherHelper
