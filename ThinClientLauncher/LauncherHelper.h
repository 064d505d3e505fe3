#pragma once

// The platform bridge: the one contract between the launcher's rules and the system it runs on.
//
// The first half is what the rules call; LauncherHelper.cpp builds it, the same on every system.
// The second half is what a system supplies, in linux/ or macos/; the build picks one.
//
// No operation keeps state, logs (but the loading of libraries) or changes anything on disk.
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

// --- Libraries; they stay loaded. Failures go to the log, exceptions of an entry pass through ---

// Loads the main library from the executable's Frameworks folder and returns when its entry does.
void loadMainDllFromCurrentDirectory();

// For an executable that starts the launcher itself: loads the launcher library and returns when
// its entry point does. Prefers the copy in the launcher folder, except in load mode; when that
// copy fails to load, no other is tried.
void loadLauncherDll(int argc, char** argv);

// --- Applications ---

// Asks the system to start the bundle in dir as a new instance with exactly this argument, then
// sleeps for 3000 milliseconds, whatever becomes of the start. An argument that is not UTF-8 is
// left out. The outcome goes to the system log alone, possibly after the return.
void launchFromDirectory(const std::filesystem::path& dir, const std::string& argument);

// --- What a system supplies ---

namespace Platform {

// The user's Application Support and Library folders; the empty path when the system names none.
std::filesystem::path applicationSupportDirectory();
std::filesystem::path libraryDirectory();

// The text under CFBundleShortVersionString in the information property list of the bundle; empty
// when the bundle, the list or the key is missing or unreadable, or the value is no text.
std::string bundleVersion(const std::filesystem::path& bundle);

// Requests the start of a new instance of the bundle and returns without waiting for it. Once, on a
// thread of its own that ends with that, the system log gets "launch app succeed" or "Failed to run
// the app: " and the reason. Where there is no thread to be had, the start fails unreported; a path
// that the system cannot name is reported on the caller's thread.
void startApplication(const std::filesystem::path& bundle, const std::string& argument);

// The Frameworks folder beside the folder of the running executable, as text for loadLibrary, with
// a separator at its end.
std::string frameworksPrefix();

// Loads a library with all its symbols bound and visible to later ones; null on failure.
void* loadLibrary(const std::string& path);

// The address of a symbol; null when the library has none of that name.
void* findSymbol(void* library, const std::string& name);

// What went wrong in the last loadLibrary or findSymbol of this thread.
std::string loaderError();

} // namespace Platform

} // namespace LauncherHelper
