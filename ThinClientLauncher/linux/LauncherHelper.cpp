#include "../LauncherHelper.h"

#include "ApplicationStart.h"
#include "PropertyList.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <dlfcn.h>
#include <exception>
#include <memory>
#include <pthread.h>
#include <pwd.h>
#include <syslog.h>
#include <system_error>
#include <unistd.h>
#include <vector>

namespace fs = std::filesystem;

namespace LauncherHelper::Platform {

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

std::string bundleVersion(const fs::path& bundle) {
  return PropertyList::readText(bundle / "Contents/Info.plist", "CFBundleShortVersionString");
}

// --- Application start ---

// The worker may still run when the host closes the library: its code has to stay.
static void keepLibraryMapped() {
  Dl_info self{};
  if (::dladdr(reinterpret_cast<void*>(&keepLibraryMapped), &self) != 0)
    ::dlopen(self.dli_fname, RTLD_LAZY | RTLD_NOLOAD | RTLD_NODELETE);
}

// No signal for the host is handled on a thread that is started while one of these lives.
class SignalsBlocked {
public:
  SignalsBlocked() {
    sigset_t all;
    ::sigfillset(&all);
    for (const int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT})
      ::sigdelset(&all, fault); // the host's crash handler is to see a crash of this thread too
    ::pthread_sigmask(SIG_SETMASK, &all, &before);
  }
  ~SignalsBlocked() { ::pthread_sigmask(SIG_SETMASK, &before, nullptr); }
  SignalsBlocked(const SignalsBlocked&) = delete;
  SignalsBlocked& operator=(const SignalsBlocked&) = delete;

private:
  sigset_t before;
};

static void report(const char* failure) {
  if (*failure == '\0')
    ::syslog(LOG_USER | LOG_INFO, "launch app succeed");
  else
    ::syslog(LOG_USER | LOG_ERR, "Failed to run the app: %s", failure);
}

struct Start {
  fs::path bundle;
  std::string argument;
};

// May outlive the process's static objects and touches none of this library's. An exception that
// left the thread would end the host.
static void startAndReport(const Start& start) noexcept {
  try {
    report(ApplicationStart::run(start.bundle, start.argument).c_str());
  } catch (const std::exception& failure) {
    report(failure.what());
  }
}

static void* runWorker(void* start) {
  startAndReport(*std::unique_ptr<Start>(static_cast<Start*>(start)));
  return nullptr;
}

// A host may have made the stacks of its threads smaller than the start needs.
constexpr std::size_t MINIMUM_STACK_SIZE = 1024 * 1024;

static bool startWorker(Start* start) {
  pthread_attr_t attributes;
  if (::pthread_attr_init(&attributes) != 0)
    return false;
  std::size_t stackSize = 0;
  ::pthread_attr_getstacksize(&attributes, &stackSize);
  ::pthread_attr_setstacksize(&attributes, std::max(stackSize, MINIMUM_STACK_SIZE));
  ::pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
  pthread_t worker{};
  const bool started = ::pthread_create(&worker, &attributes, runWorker, start) == 0;
  ::pthread_attr_destroy(&attributes);
  return started;
}

// The application's working folder is another, so a relative path has to be resolved here.
static fs::path resolved(const fs::path& path) {
  std::error_code error;
  const fs::path absolute = fs::absolute(path, error);
  return error ? path : absolute;
}

void startApplication(const fs::path& bundle, const std::string& argument) {
  keepLibraryMapped();
  auto start = std::make_unique<Start>(Start{resolved(bundle), argument});
  const SignalsBlocked signalsBlocked;
  // Where no thread can be had, no process can either, and the system log, which may block, is not
  // written on the caller's thread: such a start fails unreported.
  if (startWorker(start.get()))
    static_cast<void>(start.release()); // the worker owns it
}

// --- Libraries ---

// Where the executable cannot be found, the notation of other systems stands in, for the loader to
// refuse and the log to show.
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

} // namespace LauncherHelper::Platform
