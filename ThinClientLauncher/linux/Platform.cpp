#include "../Platform.h"

#include "PropertyList.h"

#include <cerrno>
#include <cstdlib>
#include <dlfcn.h>
#include <pwd.h>
#include <system_error>
#include <unistd.h>
#include <vector>

namespace fs = std::filesystem;

namespace Platform {

// --- Folders ---

constexpr std::size_t MAXIMUM_PASSWORD_ENTRY = 1024 * 1024;

static fs::path homeFromPasswordFile() {
  std::vector<char> buffer(16 * 1024);
  passwd entry{};
  passwd* found = nullptr;
  while (::getpwuid_r(::geteuid(), &entry, buffer.data(), buffer.size(), &found) == ERANGE &&
         buffer.size() < MAXIMUM_PASSWORD_ENTRY)
    buffer.resize(buffer.size() * 2);
  return found != nullptr && found->pw_dir != nullptr ? found->pw_dir : "";
}

static fs::path homeDirectory() {
  const char* const home = std::getenv("HOME");
  return home != nullptr && *home != '\0' ? home : homeFromPasswordFile();
}

fs::path libraryDirectory() {
  const fs::path home = homeDirectory();
  return home.empty() ? fs::path() : home / "Library";
}

fs::path applicationSupportDirectory() {
  const fs::path library = libraryDirectory();
  return library.empty() ? fs::path() : library / "Application Support";
}

// --- Bundles ---

static PropertyList::Entry entryOf(const fs::path& bundle, const char* key) {
  return PropertyList::read(bundle / "Contents/Info.plist", key);
}

std::string bundleVersion(const fs::path& bundle) {
  return entryOf(bundle, "CFBundleShortVersionString").text;
}

ListProblem versionProblem(const fs::path& bundle) {
  return entryOf(bundle, "CFBundleShortVersionString").problem;
}

fs::path executableName(const fs::path& bundle) {
  const std::string name = entryOf(bundle, "CFBundleExecutable").text;
  return name.empty() ? bundle.stem() : fs::path(name);
}

// --- Libraries ---

// If the executable's path is unknown, the prefix is macOS's notation for it: loading fails, and
// the log shows that path.
std::string frameworksPrefix() {
  std::error_code error;
  const fs::path executable = fs::read_symlink("/proc/self/exe", error);
  const std::string folder = error ? "@executable_path" : executable.parent_path().string();
  return folder + "/../Frameworks/";
}

void* loadLibrary(const std::string& path) {
  return ::dlopen(path.c_str(), RTLD_NOW | RTLD_GLOBAL);
}

void* findSymbol(void* library, const std::string& name) {
  return ::dlsym(library, name.c_str());
}

std::string loaderError() {
  const char* const text = ::dlerror();
  return text != nullptr ? text : "";
}

} // namespace Platform
