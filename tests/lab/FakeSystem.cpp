#include "FakeSystem.h"

#include "Eventually.h"
#include "Original.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <new>
#include <pthread.h>
#include <pwd.h>
#include <unistd.h>

namespace test::FakeSystem {

Function fork;
Function pipe;
Function session;
Function thread;
Function storage;
std::optional<PasswordEntry> passwordEntry;

} // namespace test::FakeSystem

namespace {

namespace fake = test::FakeSystem;

using fake::Answer;

// Whether to go on; waits while the answer is LATER.
bool isGranted(const fake::Function& function) {
  return test::eventually([&] { return function.answer != Answer::LATER; }) &&
         function.answer == Answer::YES;
}

bool isDetached(const pthread_attr_t* attributes) {
  int state = PTHREAD_CREATE_JOINABLE;
  return attributes != nullptr && ::pthread_attr_getdetachstate(attributes, &state) == 0 &&
         state == PTHREAD_CREATE_DETACHED;
}

} // namespace

// --- In place of the C++ library's ---

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  const bool denied = fake::storage.answer == Answer::NO && ::gettid() != ::getpid();
  return denied ? nullptr : ::malloc(size);
}

void* operator new(std::size_t size) {
  void* const memory = ::operator new(size, std::nothrow);
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
  ++fake::fork.calls;
  if (isGranted(fake::fork))
    return test::original(&fork, "fork")();
  errno = EAGAIN;
  return -1;
}

extern "C" int pipe2(int* ends, int flags) {
  if (fake::pipe.answer == Answer::NO) {
    errno = EMFILE;
    return -1;
  }
  const int result = test::original(&pipe2, "pipe2")(ends, flags);
  ++fake::pipe.calls;
  isGranted(fake::pipe);
  return result;
}

extern "C" pid_t setsid() {
  if (fake::session.answer == Answer::NO)
    ::raise(SIGKILL);
  return test::original(&setsid, "setsid")();
}

extern "C" int pthread_create(
    pthread_t* thread, const pthread_attr_t* attributes, void* (*body)(void*), void* argument) {
  fake::thread.calls += isDetached(attributes);
  return isGranted(fake::thread)
             ? test::original(&pthread_create, "pthread_create")(thread, attributes, body, argument)
             : EAGAIN;
}

extern "C" int
getpwuid_r(uid_t user, passwd* entry, char* buffer, std::size_t size, passwd** found) {
  if (!fake::passwordEntry)
    return test::original(&getpwuid_r, "getpwuid_r")(user, entry, buffer, size, found);
  *found = nullptr;
  if (size < fake::passwordEntry->size)
    return ERANGE;
  if (user == fake::passwordEntry->user) {
    *entry = {};
    entry->pw_dir = fake::passwordEntry->home.data();
    *found = entry;
  }
  return 0;
}
