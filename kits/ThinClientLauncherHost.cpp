#include "ThinClientLauncherHost.h"

#include "LaunchArguments.h"
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

// What the caller receives: the status, and the reason in its buffer.
struct Answer {
  char* text;
  std::size_t size;

  Status give(Status status, const char* reason) const {
    if (size > 0)
      std::snprintf(text, size, "%s", reason);
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

} // namespace

// Cancellation would leave the launcher at a file operation, with its log open, and end the process
// where everything is caught. An asynchronous one takes effect where it is enabled again, which
// must be in no destructor.
extern "C" Status ThinClientLauncherHostLaunch(
    const char* library, const char* clientVersion, char* text, std::size_t size) {
  int before = PTHREAD_CANCEL_ENABLE;
  ::pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &before);
  const Status status = launchOnce(library, clientVersion, {text, size});
  ::pthread_setcancelstate(before, nullptr);
  return status;
}
