#include "../Platform.h"

#include "Descriptor.h"
#include "FileClock.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <dlfcn.h>
#include <fcntl.h>
#include <limits>
#include <link.h>
#include <pwd.h>
#include <sys/auxv.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>
#include <vector>

namespace fs = std::filesystem;

namespace Platform {

// A relative path would name another file whenever a thread of the host changes its working folder.
static bool isAbsolute(const char* path) {
  return path != nullptr && *path == '/';
}

// --- Folders ---

constexpr std::size_t MAXIMUM_PASSWORD_ENTRY = 1024 * 1024;

static fs::path homeFromPasswordFile() {
  std::vector<char> buffer(16 * 1024);
  passwd entry{};
  passwd* found = nullptr;
  while (::getpwuid_r(::geteuid(), &entry, buffer.data(), buffer.size(), &found) == ERANGE &&
         buffer.size() < MAXIMUM_PASSWORD_ENTRY)
    buffer.resize(buffer.size() * 2);
  return isAbsolute(found != nullptr ? found->pw_dir : nullptr) ? found->pw_dir : "";
}

static fs::path homeDirectory() {
  const char* const home = std::getenv("HOME");
  return isAbsolute(home) ? home : homeFromPasswordFile();
}

fs::path libraryDirectory() {
  const fs::path home = homeDirectory();
  return home.empty() ? fs::path() : home / "Library";
}

fs::path applicationSupportDirectory() {
  const fs::path library = libraryDirectory();
  return library.empty() ? fs::path() : library / "Application Support";
}

// --- Files ---

// Opening a device can have effects, so the file's type is asked for first. Without O_NONBLOCK, a
// pipe that takes the file's place meanwhile would be waited for.
std::optional<std::string> readFile(const fs::path& file, std::size_t limit) {
  struct stat status {};
  if (::stat(file.c_str(), &status) != 0 || !S_ISREG(status.st_mode))
    return std::nullopt;
  const Descriptor input(::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
  std::string text(std::min(limit, static_cast<std::size_t>(status.st_size)), '\0');
  ssize_t more = input < 0 ? -1 : 1;
  std::size_t size = 0;
  while (more > 0 && size < text.size()) {
    more = TEMP_FAILURE_RETRY(::read(input, text.data() + size, text.size() - size));
    size += more > 0 ? static_cast<std::size_t>(more) : 0;
  }
  text.resize(size);
  return more < 0 ? std::nullopt : std::optional(std::move(text));
}

// libstdc++ refuses times after the year 2262 and garbles those before 1882, although file systems
// have them. Its file clock holds the years 1882 to 2466.
static fs::file_time_type farTime(std::int64_t seconds, std::chrono::nanoseconds fraction) {
  using Time = fs::file_time_type;
  using Seconds = std::chrono::duration<Time::rep>;
  constexpr std::int64_t FAR_PAST =
      std::numeric_limits<std::int64_t>::min() / 2; // does not overflow
  const Seconds time = Seconds(std::max(seconds, FAR_PAST)) + fileClockOffset();
  if (time >= std::chrono::floor<Seconds>(Time::max().time_since_epoch()))
    return Time::max();
  if (time <= std::chrono::ceil<Seconds>(Time::min().time_since_epoch()))
    return Time::min() + std::chrono::nanoseconds(1);
  return Time(time) + fraction;
}

fs::file_time_type modificationTime(const fs::path& file) {
  // Well inside what the library converts.
  constexpr std::int64_t YEAR_1901 = std::numeric_limits<std::int32_t>::min();
  constexpr std::int64_t YEAR_2242 = std::int64_t{1} << 33;
  struct stat status {};
  if (::stat(file.c_str(), &status) == 0 &&
      (status.st_mtim.tv_sec < YEAR_1901 || status.st_mtim.tv_sec > YEAR_2242))
    return farTime(status.st_mtim.tv_sec, std::chrono::nanoseconds(status.st_mtim.tv_nsec));
  return fs::last_write_time(file);
}

// --- Libraries ---

// If the executable's path is unknown, nothing can exist below the prefix, since exe is no folder:
// loading fails, and the log shows the path.
std::string frameworksPrefix() {
  const fs::path self = "/proc/self/exe";
  std::error_code error;
  const fs::path executable = fs::read_symlink(self, error);
  return (error ? self : executable.parent_path()).string() + "/../Frameworks/";
}

void* loadLibrary(const std::string& path) {
  return ::dlopen(path.c_str(), RTLD_NOW | RTLD_GLOBAL);
}

void* findSymbol(void* library, const std::string& name) {
  return ::dlsym(library, name.c_str());
}

// The loader has no name for the executable, and dladdr repeats argv[0] for it.
fs::path imagePath(const void* code) {
  Dl_info image{};
  link_map* library = nullptr;
  const int found = ::dladdr1(code, &image, reinterpret_cast<void**>(&library), RTLD_DL_LINKMAP);
  const bool isNamed = found != 0 && *library->l_name != '\0';
  return fs::canonical(isNamed ? library->l_name : "/proc/self/exe");
}

fs::path startedProgram() {
  // NOLINTNEXTLINE(performance-no-int-to-ptr): the kernel passes addresses as numbers
  const auto* const path = reinterpret_cast<const char*>(::getauxval(AT_EXECFN));
  return isAbsolute(path) ? path : "";
}

std::string loaderError() {
  const char* const text = ::dlerror();
  return text != nullptr ? text : "";
}

} // namespace Platform
