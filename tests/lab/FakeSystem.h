#pragma once

#include <atomic>
#include <cstddef>
#include <optional>
#include <string>
#include <sys/types.h>

// The test program's own versions of functions that the launcher library calls: fork,
// pthread_create, pipe2, setsid, getpwuid_r and operator new. They do what they always do until
// told otherwise. The program must export its symbols, so that a library finds them.

namespace test::FakeSystem {

// The function succeeds, fails, or waits for another answer: pipe2 with the pipe already open.
enum class Answer { YES, NO, LATER };

struct Function {
  std::atomic<Answer> answer{Answer::YES};
  std::atomic<int> calls{0}; // those that still wait included
};

extern Function fork;
extern Function pipe;
extern Function session; // setsid, whose failure is the end of the process
extern Function thread;  // pthread_create, and its calls for a detached thread
extern Function storage; // operator new outside the main thread, whose calls are not counted

struct PasswordEntry {
  uid_t user;
  std::string home;
  std::size_t size; // of the buffer that it needs
};

// The only entry, if set.
extern std::optional<PasswordEntry> passwordEntry;

} // namespace test::FakeSystem
