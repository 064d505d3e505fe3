// A host for launches that are disturbed from outside: by a tracer that fails system calls, by
// signals, by a full disk. Stops itself where a tracer may attach, so that nothing but the launch
// is disturbed: before the launch ("caller"), or before the thread that starts the application does
// anything ("starter"), and once more when that thread is done.
//
// Usage: fault_host LIBRARY undisturbed|caller|starter
// Exit status: 0 the entry point returned 0, 3 it raised the file-system error, 4 anything else.
// Prints how the start ended.

#include <cerrno>
#include <csignal>
#include <cstring>
#include <ctime>
#include <dlfcn.h>
#include <filesystem>
#include <iostream>
#include <pthread.h>
#include <semaphore.h>
#include <string>

namespace {

sem_t starterReleased;
sem_t startReported;
std::string stopAt;
bool startHeld = false;
const char* outcome = "no start";

struct Thread {
  void* (*routine)(void*);
  void* argument;
};

void waitFor(sem_t& semaphore) {
  while (sem_wait(&semaphore) != 0) {
  }
}

void* runReleased(void* data) {
  const Thread thread = *static_cast<Thread*>(data);
  delete static_cast<Thread*>(data);
  waitFor(starterReleased);
  return thread.routine(thread.argument);
}

} // namespace

// What follows stands in for the C library's functions of these names, which the library calls.

extern "C" int pthread_create(
    pthread_t* thread, const pthread_attr_t* attributes, void* (*routine)(void*), void* argument) {
  using Create = int (*)(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
  static const auto create = reinterpret_cast<Create>(::dlsym(RTLD_NEXT, "pthread_create"));
  const int result = create(thread, attributes, runReleased, new Thread{routine, argument});
  startHeld = result == 0;
  return result;
}

extern "C" void syslog(int priority, const char*, ...) {
  outcome = (priority & 7) == 3 ? "start failed" : "started";
  sem_post(&startReported);
}

// The pause of the launcher, and the only sleep in here: over as soon as the start is.
extern "C" int nanosleep(const timespec* pause, timespec*) {
  if (!startHeld)
    return 0;
  if (stopAt == "starter")
    std::raise(SIGSTOP);
  outcome = "start unreported";
  sem_post(&starterReleased);
  timespec end{};
  ::clock_gettime(CLOCK_REALTIME, &end);
  end.tv_sec += pause->tv_sec;
  while (sem_timedwait(&startReported, &end) != 0 && errno == EINTR) {
  }
  if (stopAt == "starter")
    std::raise(SIGSTOP);
  return 0;
}

static int launch(int (*entry)(int, char**)) {
  std::string program = "host";
  std::string mode = "launchermode";
  std::string version = "45.12.0.1000";
  char* arguments[] = {program.data(), mode.data(), version.data(), nullptr};
  try {
    return entry(3, arguments) == 0 ? 0 : 4;
  } catch (const std::filesystem::filesystem_error&) {
    return 3;
  } catch (...) {
    return 4;
  }
}

int main(int argc, char** argv) {
  if (argc != 3)
    return 2;
  stopAt = argv[2];
  sem_init(&starterReleased, 0, 0);
  sem_init(&startReported, 0, 0);
  void* const library = ::dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
  void* const entry =
      library == nullptr ? nullptr : ::dlsym(library, "ThinClientLauncherEntryPoint");
  if (entry == nullptr)
    return 2;
  if (stopAt == "caller")
    std::raise(SIGSTOP);
  const int status = launch(reinterpret_cast<int (*)(int, char**)>(entry));
  if (stopAt == "caller")
    std::raise(SIGSTOP);
  std::cout << outcome << std::endl;
  return status;
}
