#include "Fork.h"

#include "User.h"

#include <gtest/gtest.h>

#include <csignal>
#include <exception>
#include <sys/time.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

namespace fs = std::filesystem;

namespace test {

static void orThrow(int result, const char* call) {
  if (result != 0)
    throw std::system_error(errno, std::generic_category(), call);
}

static void runAndExit(const Body& body) {
  try {
    body();
  } catch (const std::exception& failure) {
    ADD_FAILURE() << "exception in the child process: " << failure.what();
  }
  std::fflush(stdout);
  ::_exit(testing::Test::HasFailure() ? 1 : BODY_RAN);
}

static pid_t forkChild() {
  std::fflush(stdout);
  const pid_t child = ::fork();
  if (child < 0)
    throw std::system_error(errno, std::generic_category(), "fork");
  return child;
}

// The exit status, or 128 plus the signal that ended the child.
static int waitFor(pid_t child) {
  int status = 0;
  while (::waitpid(child, &status, 0) < 0) {
    if (errno != EINTR)
      throw std::system_error(errno, std::generic_category(), "waitpid");
  }
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

void inChildProcess(const Body& body) {
  const pid_t child = forkChild();
  if (child == 0)
    runAndExit(body);
  EXPECT_EQ(waitFor(child), BODY_RAN) << "the child process failed";
}

void inChildProcessAt(const fs::path& workingDirectory, const Body& body) {
  inChildProcess([&] {
    fs::current_path(workingDirectory);
    body();
  });
}

static void giveAway(const fs::path& folder) {
  orThrow(::lchown(folder.c_str(), NOBODY, NOBODY), "lchown");
  for (const auto& entry : fs::recursive_directory_iterator(folder))
    orThrow(::lchown(entry.path().c_str(), NOBODY, NOBODY), "lchown");
}

void asUnprivilegedUser(const fs::path& folder, const Body& body) {
  inChildProcess([&] {
    fs::current_path(folder); // that user may have no access to this process's own
    if (::geteuid() == 0)
      giveAway(folder);
    ASSERT_TRUE(becomeUnprivileged());
    body();
  });
}

ScopedPermissions::ScopedPermissions(fs::path path, fs::perms permissions)
    : file(std::move(path)), before(fs::status(file).permissions()) {
  fs::permissions(file, permissions);
}

ScopedPermissions::~ScopedPermissions() {
  fs::permissions(file, before);
}

bool neverReturns(const Body& body) {
  const pid_t child = forkChild();
  if (child == 0) {
    const itimerval busyTime{{0, 0}, {0, 30'000}};
    ::setitimer(ITIMER_PROF, &busyTime, nullptr);
    body();
    ::_exit(0);
  }
  return waitFor(child) == 128 + SIGPROF;
}

} // namespace test
