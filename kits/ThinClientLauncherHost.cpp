#include "ThinClientLauncherHost.h"

#include "LaunchArguments.h"
#include "LaunchProgress.h"
#include "LauncherConstants.h"

#include <array>
#include <atomic>
#include <cstdio>
#include <dlfcn.h>
#include <exception>
#include <filesystem>
#include <pthread.h>
#include <unistd.h>

namespace {

using Status = ThinClientLauncherHostStatus;
using EntryPoint = int (*)(int, char**);

// A buffer of the caller's.
struct Buffer {
  char* text;
  std::size_t size;

  void fill(const char* content) const {
    if (size > 0)
      std::snprintf(text, size, "%s", content);
  }
};

// What the caller receives: the status, and the reason in its buffer.
struct Answer {
  Buffer reason;

  Status give(Status status, const char* text) const {
    reason.fill(text);
    return status;
  }
};

// The process whose call is running; in a process forked meanwhile, that is another one.
std::atomic<pid_t> caller{0};

// Whether this is the only call in the process; it is until the end of the scope.
class OnlyCall {
public:
  OnlyCall() {
    const pid_t self = ::getpid();
    pid_t other = caller;
    isOnly = other != self && caller.compare_exchange_strong(other, self);
  }
  ~OnlyCall() {
    if (isOnly)
      caller = 0;
  }
  OnlyCall(const OnlyCall&) = delete;
  OnlyCall& operator=(const OnlyCall&) = delete;

  explicit operator bool() const { return isOnly; }

private:
  bool isOnly = false;
};

const char* loaderError() {
  const char* const text = ::dlerror();
  return text != nullptr ? text : "the loader gives no reason";
}

// The entry point takes texts that it may change, and changes none.
void call(EntryPoint entry, const char* clientVersion) {
  std::array<char*, 4> arguments{
      const_cast<char*>("host"),
      const_cast<char*>(LAUNCHER_MODE_ARGUMENT),
      const_cast<char*>(clientVersion),
      nullptr};
  entry(clientVersion != nullptr ? 3 : 2, arguments.data());
}

Status launch(const char* path, const char* clientVersion, const Answer& answer) try {
  void* const library = ::dlopen(path, RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr)
    return answer.give(THIN_CLIENT_LAUNCHER_HOST_NOT_LOADED, loaderError());
  void* const entry = ::dlsym(library, VDI_LAUNCHER_LIBRARY_EntryPoint);
  if (entry == nullptr)
    return answer.give(THIN_CLIENT_LAUNCHER_HOST_NO_ENTRY_POINT, loaderError());
  LaunchProgress::begin();
  call(reinterpret_cast<EntryPoint>(entry), clientVersion);
  return answer.give(THIN_CLIENT_LAUNCHER_HOST_RETURNED, "");
} catch (const std::filesystem::filesystem_error& failure) {
  return answer.give(THIN_CLIENT_LAUNCHER_HOST_FILE_SYSTEM_ERROR, failure.what());
} catch (const std::exception& failure) {
  return answer.give(THIN_CLIENT_LAUNCHER_HOST_FAILED, failure.what());
} catch (...) {
  return answer.give(THIN_CLIENT_LAUNCHER_HOST_FAILED, "an exception of an unknown type");
}

Status launchOnce(const char* path, const char* clientVersion, const Answer& answer) {
  if (path == nullptr || *path == '\0') // dlopen would return the host's own program
    return answer.give(THIN_CLIENT_LAUNCHER_HOST_NOT_LOADED, "no library is named");
  const OnlyCall onlyCall;
  if (!onlyCall)
    return answer.give(THIN_CLIENT_LAUNCHER_HOST_BUSY, "another launch is running in this process");
  return launch(path, clientVersion, answer);
}

LaunchProgress::Progress awaitProgress(unsigned int milliseconds) try {
  return LaunchProgress::await(std::chrono::milliseconds(milliseconds));
} catch (...) { // then nothing is known
  return {};
}

// Not inlined: its caller, which a cancellation may unwind, must have nothing to clean up. The C
// library's unwinder does not understand the tables of every C++ library.
template <typename Action>
__attribute__((noinline)) auto perform(const Action& action) {
  return action();
}

// Cancellation would leave the launcher at a file operation, with its log open, and end the process
// where everything is caught. An asynchronous one takes effect where it is enabled again, which
// must be in no destructor and beside no object that has one.
template <typename Action>
auto withoutCancellation(const Action& action) {
  int before = PTHREAD_CANCEL_ENABLE;
  ::pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &before);
  const auto result = perform(action);
  ::pthread_setcancelstate(before, nullptr);
  return result;
}

} // namespace

extern "C" Status ThinClientLauncherHostLaunch(
    const char* library, const char* clientVersion, char* text, std::size_t size) {
  return withoutCancellation([&] { return launchOnce(library, clientVersion, {{text, size}}); });
}

extern "C" ThinClientLauncherHostProgress ThinClientLauncherHostAwait(
    unsigned int milliseconds,
    char* folder,
    std::size_t folderSize,
    char* version,
    std::size_t versionSize) {
  return withoutCancellation([&] {
    const LaunchProgress::Progress progress = awaitProgress(milliseconds);
    Buffer{folder, folderSize}.fill(progress.folder.c_str());
    Buffer{version, versionSize}.fill(progress.version.c_str());
    return progress.reached;
  });
}
