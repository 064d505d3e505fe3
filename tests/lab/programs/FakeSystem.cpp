// Do not include syslog.h: with _FORTIFY_SOURCE it defines functions that this file defines.

#include "FakeSystem.h"

#include "Eventually.h"

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <ctime>
#include <dlfcn.h>
#include <map>
#include <mutex>
#include <new>
#include <pthread.h>
#include <pwd.h>
#include <semaphore.h>
#include <unistd.h>
#include <utility>

extern "C" void vsyslog(int priority, const char* format, va_list arguments);

namespace {

enum class Answer { YES, LATER, NO };

std::atomic<Answer> answerToFork{Answer::YES};
std::atomic<Answer> answerToThread{Answer::YES};
std::atomic<Answer> answerToPipe{Answer::YES};
std::atomic<Answer> answerToNew{Answer::YES}; // outside the main thread
std::atomic<int> forks{0};
std::atomic<int> pipes{0};

// Whether to go on; waits while the answer is LATER.
bool isGranted(const std::atomic<Answer>& answer) {
  return test::eventually([&] { return answer != Answer::LATER; }) && answer == Answer::YES;
}

template <typename Function>
Function* original(Function*, const char* name) {
  return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

std::mutex journalMutex;
std::string journal;

bool isDetached(const pthread_attr_t* attributes) {
  int state = PTHREAD_CREATE_JOINABLE;
  return attributes != nullptr && ::pthread_attr_getdetachstate(attributes, &state) == 0 &&
         state == PTHREAD_CREATE_DETACHED;
}

// --- The one password entry ---

bool fakesPasswords = false;
unsigned entryUser = 0;
std::string entryHome;
std::size_t entrySize = 0;

// --- Held starts ---

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

void takeMessage(int priority, const char* format, va_list arguments) {
  constexpr int LEVELS = 7;
  constexpr int ERROR = 3;
  if (!holdsStarts) {
    ::vsyslog(priority, format, arguments);
    return;
  }
  startOutcome = (priority & LEVELS) == ERROR ? "start failed" : "started";
  ::sem_post(&startReported);
}

} // namespace

namespace test::FakeSystem {

bool setAnswer(const std::string& function, const std::string& answer) {
  const std::map<std::string, std::atomic<Answer>*> functions = {
      {"fork", &answerToFork},
      {"pthread_create", &answerToThread},
      {"pipe2", &answerToPipe},
      {"new", &answerToNew}};
  const std::map<std::string, Answer> answers = {
      {"yes", Answer::YES}, {"later", Answer::LATER}, {"no", Answer::NO}};
  if (functions.count(function) == 0 || answers.count(answer) == 0)
    return false;
  *functions.at(function) = answers.at(answer);
  return true;
}

int count(const std::string& function) {
  return function == "fork" ? forks : pipes;
}

std::string takeJournal() {
  const std::lock_guard lock(journalMutex);
  return std::exchange(journal, "");
}

void addToJournal(const std::string& event) {
  const std::lock_guard lock(journalMutex);
  journal += (journal.empty() ? "" : ", ") + event;
}

void setPasswordEntry(unsigned user, const std::string& home, std::size_t size) {
  fakesPasswords = true;
  entryUser = user;
  entryHome = home;
  entrySize = size;
}

void holdStarts() {
  ::sem_init(&startReleased, 0, 0);
  ::sem_init(&startReported, 0, 0);
  holdsStarts = true;
}

bool isStartHeld() {
  return startHeld;
}

void finishStart() {
  constexpr std::time_t PAUSE_SECONDS = 3;
  startHeld = false;
  startOutcome = "start unreported";
  ::sem_post(&startReleased);
  timespec end{};
  ::clock_gettime(CLOCK_REALTIME, &end);
  end.tv_sec += PAUSE_SECONDS;
  while (::sem_timedwait(&startReported, &end) != 0 && errno == EINTR) {
  }
}

std::string outcome() {
  return startOutcome.load();
}

} // namespace test::FakeSystem

// --- In place of the C++ library's ---

void* operator new(std::size_t size) {
  const bool denied = answerToNew == Answer::NO && ::gettid() != ::getpid();
  void* const memory = denied ? nullptr : ::malloc(size);
  if (memory == nullptr)
    throw std::bad_alloc();
  return memory;
}

void operator delete(void* memory) noexcept {
  ::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
  ::free(memory);
}

// --- In place of the C library's ---

extern "C" pid_t fork() {
  ++forks;
  if (isGranted(answerToFork))
    return original(&fork, "fork")();
  errno = EAGAIN;
  return -1;
}

extern "C" int pipe2(int* ends, int flags) {
  if (answerToPipe == Answer::NO) {
    errno = EMFILE;
    return -1;
  }
  const int result = original(&pipe2, "pipe2")(ends, flags);
  ++pipes;
  isGranted(answerToPipe);
  return result;
}

extern "C" int pthread_create(
    pthread_t* thread, const pthread_attr_t* attributes, void* (*body)(void*), void* argument) {
  test::FakeSystem::addToJournal(isDetached(attributes) ? "detached thread" : "joinable thread");
  if (!isGranted(answerToThread))
    return EAGAIN;
  const auto create = original(&pthread_create, "pthread_create");
  if (!holdsStarts)
    return create(thread, attributes, body, argument);
  const int result = create(thread, attributes, runOnceReleased, new Thread{body, argument});
  startHeld = result == 0;
  return result;
}

extern "C" int
getpwuid_r(uid_t user, passwd* entry, char* buffer, std::size_t size, passwd** found) {
  if (!fakesPasswords)
    return original(&getpwuid_r, "getpwuid_r")(user, entry, buffer, size, found);
  *found = nullptr;
  if (size < entrySize)
    return ERANGE;
  if (user == entryUser) {
    *entry = {};
    entry->pw_dir = entryHome.data();
    *found = entry;
  }
  return 0;
}

extern "C" void syslog(int priority, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  takeMessage(priority, format, arguments);
  va_end(arguments);
}

// What a library calls that is compiled with _FORTIFY_SOURCE.
extern "C" void __syslog_chk(int priority, int, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  takeMessage(priority, format, arguments);
  va_end(arguments);
}
