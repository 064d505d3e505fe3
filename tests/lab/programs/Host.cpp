// A host of the launcher library: loads it by path, launches once and prints how the launch ended
// and what the start reported to the system log. It lives on until then, but sleeps no pause.
//
// Usage: launcher_host LIBRARY [ARGUMENT]...
//
// HOST_STOPS in the environment: the host stops itself before and after the whole launch ("caller")
// or the start of the application ("worker"), for a tracer to attach to the thread of that name.
// Where it is traced, it makes no system calls beside the library's. HOST_PATIENCE: the seconds for
// which it awaits the outcome of the start.

// Do not include syslog.h: with _FORTIFY_SOURCE it defines functions that this file defines.

#include "FakeSleep.h"
#include "Original.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <iostream>
#include <pthread.h>
#include <semaphore.h>
#include <string>
#include <thread>

namespace {

using EntryPoint = int (*)(int, char**);

// --- Starts are held until the pause, and their outcome is noted in place of being logged ---

struct Thread {
  void* (*body)(void*);
  void* argument;
};

std::atomic<bool> holdsStarts{false};
std::atomic<bool> startHeld{false};
std::atomic<const char*> startOutcome{"no start"};
sem_t startReleased;
sem_t startReported;

void* runOnceReleased(void* data) {
  const Thread thread = *static_cast<Thread*>(data);
  delete static_cast<Thread*>(data);
  while (::sem_wait(&startReleased) != 0) {
  }
  ::sem_post(&startReleased); // for a second thread, which should not exist
  return thread.body(thread.argument);
}

void noteOutcome(int priority) {
  constexpr int LEVELS = 7;
  constexpr int ERROR = 3;
  startOutcome = (priority & LEVELS) == ERROR ? "start failed" : "started";
  ::sem_post(&startReported);
}

// The thread that is traced; empty for none.
std::string tracedActor() {
  const char* const actor = std::getenv("HOST_STOPS");
  return actor == nullptr ? "" : actor;
}

void stopFor(const std::string& actor) {
  if (tracedActor() == actor)
    std::raise(SIGSTOP);
}

// As long as the slowest machine needs, unless told otherwise.
std::time_t secondsOfPatience() {
  const char* const patience = std::getenv("HOST_PATIENCE");
  return patience == nullptr ? 60 : std::atol(patience);
}

// In the pause.
void finishStart() {
  if (!startHeld.exchange(false))
    return;
  stopFor("worker");
  startOutcome = "start unreported";
  ::sem_post(&startReleased);
  timespec end{};
  ::clock_gettime(CLOCK_REALTIME, &end);
  end.tv_sec += secondsOfPatience();
  while (::sem_timedwait(&startReported, &end) != 0 && errno == EINTR) {
  }
  stopFor("worker");
}

std::string launch(EntryPoint entry, int argc, char** argv) {
  try {
    return "returned " + std::to_string(entry(argc, argv));
  } catch (const std::filesystem::filesystem_error& failure) {
    return "filesystem_error " + failure.code().message();
  } catch (const std::exception& failure) {
    return std::string("another exception: ") + failure.what();
  }
}

} // namespace

extern "C" int pthread_create(
    pthread_t* thread, const pthread_attr_t* attributes, void* (*body)(void*), void* argument) {
  const auto create = test::original(&pthread_create, "pthread_create");
  if (!holdsStarts)
    return create(thread, attributes, body, argument);
  const int result = create(thread, attributes, runOnceReleased, new Thread{body, argument});
  startHeld = result == 0;
  return result;
}

extern "C" void syslog(int priority, const char*, ...) {
  noteOutcome(priority);
}

// What a library calls that is compiled with _FORTIFY_SOURCE: by gcc, and by clang with newer
// headers.
extern "C" void __syslog_chk(int priority, int, const char*, ...) {
  noteOutcome(priority);
}

extern "C" void __vsyslog_chk(int priority, int, const char*, std::va_list) {
  noteOutcome(priority);
}

int main(int argc, char** argv) {
  void* const library = argc < 2 ? nullptr : ::dlopen(argv[1], RTLD_NOW | RTLD_GLOBAL);
  if (library == nullptr) {
    std::cerr << (argc < 2 ? "no library" : ::dlerror()) << '\n';
    return 2;
  }
  const auto entry = reinterpret_cast<EntryPoint>(::dlsym(library, "ThinClientLauncherEntryPoint"));
  ::sem_init(&startReleased, 0, 0);
  ::sem_init(&startReported, 0, 0);
  // A sanitizer may start a thread of its own with the first one.
  std::thread([] {}).join();
  holdsStarts = true;
  test::FakeSleep::setAction(finishStart);
  stopFor("caller");
  // The library's path takes the place of the program's, which nothing reads.
  const std::string end = launch(entry, argc - 1, argv + 1);
  stopFor("caller");
  std::cout << end << '\n' << startOutcome << '\n';
}
