#pragma once

// What a system supplies to the launcher. linux/ and macos/ implement it; the build picks one.
//
// No operation keeps state or changes anything on disk.

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>

namespace Platform {

// The user's Application Support and Library folders; the empty path when the system names none.
std::filesystem::path applicationSupportDirectory();
std::filesystem::path libraryDirectory();

// The text under a key in the information property list of the bundle; empty when the bundle, the
// list or the key is missing or unreadable, or the value is no text.
std::string bundleText(const std::filesystem::path& bundle, const char* key);

// The text under CFBundleShortVersionString.
std::string bundleVersion(const std::filesystem::path& bundle);

// What keeps a property list from holding a text under a key.
enum class ListProblem {
  None,
  NoFile,
  NotRegular,
  Unreadable,
  Empty,
  TooLarge,
  UnknownEncoding,
  Declarations, // in its document type
  Malformed,
  NoDictionary,
  NoKey,
  NoText
};

// Why bundleVersion is empty, as far as the list can be read; None: the text itself is empty. For
// diagnosis: no launch asks for it.
ListProblem versionProblem(const std::filesystem::path& bundle);

// The file name of the program that startApplication executes in Contents/MacOS, from the property
// list as it stands: CFBundleExecutable, or the bundle's own name.
std::filesystem::path executableName(const std::filesystem::path& bundle);

// The start of a regular file, at most this many bytes; nothing for a file of any other kind, nor,
// with a reason in errno, for one that cannot be read. Waits for no terminal and no end of a pipe.
std::optional<std::string> readFile(const std::filesystem::path& file, std::size_t limit);

// When a file was last modified. A time that the file clock cannot represent becomes its latest
// one, or the earliest after its minimum, which stands for no time at all. Raises
// std::filesystem::filesystem_error when the file cannot be examined.
std::filesystem::file_time_type modificationTime(const std::filesystem::path& file);

// Requests the start of a new instance of the bundle with exactly this argument, and returns
// without waiting for it. An argument that is not UTF-8 is left out. The outcome goes to the system
// log once, from another thread: "launch app succeed", or "Failed to run the app: " and the reason.
// The caller's thread reports two failures itself, without waiting for the log: no thread can be
// created, or the system cannot represent the path.
void startApplication(const std::filesystem::path& bundle, const std::string& argument);

// The Frameworks folder beside the folder of the running executable, as text for loadLibrary, with
// a separator at its end.
std::string frameworksPrefix();

// Loads a library, binds all its symbols and makes them visible to libraries loaded later; null on
// failure.
void* loadLibrary(const std::string& path);

// The address of a symbol; null when the library has none of that name.
void* findSymbol(void* library, const std::string& name);

// The file, without links, of the executable or library that holds this code. Raises
// std::filesystem::filesystem_error when it cannot be examined.
std::filesystem::path imagePath(const void* code);

// The program of this process under the absolute path that it was started by, links included; empty
// if that is unknown.
std::filesystem::path startedProgram();

// The reason for the last failure of loadLibrary or findSymbol on this thread.
std::string loaderError();

} // namespace Platform
