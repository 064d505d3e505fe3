#include "Fork.h"

#include "Process.h"
#include "User.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <ctime>
#include <exception>
#include <sys/wait.h>
#include <system_error>
#include <thread>
#include <unistd.h>

namespace fs = std::filesystem;

namespace test {

// Neither 0 nor 1: a body that exits by itself does not pass.
static constexpr int BODY_RAN_WITHOUT_FAILURE = 42;

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
  ::_exit(testing::Test::HasFailure() ? 1 : BODY_RAN_WITHOUT_FAILURE);
}

static pid_t forkChild() {
  std::fflush(stdout);
  const pid_t child = ::fork();
  if (child < 0)
    throw std::system_error(errno, std::generic_category(), "fork");
  return child;
}

void inChildProcess(const Body& body) {
  const pid_t child = forkChild();
  if (child == 0)
    runAndExit(body);
  EXPECT_EQ(waitFor(child), BODY_RAN_WITHOUT_FAILURE) << "the child process failed";
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

static double processorSeconds(pid_t process) {
  clockid_t clock{};
  timespec used{};
  if (::clock_getcpuclockid(process, &clock) != 0 || ::clock_gettime(clock, &used) != 0)
    return 0;
  return static_cast<double>(used.tv_sec) + static_cast<double>(used.tv_nsec) * 1e-9;
}

static bool isRunning(pid_t child) {
  siginfo_t state{};
  return ::waitid(P_PID, static_cast<id_t>(child), &state, WEXITED | WNOHANG | WNOWAIT) == 0 &&
         state.si_pid == 0;
}

// Whether the child is still running after it has used the processor for a while.
static bool keepsBusy(pid_t child) {
  constexpr double BUSY_SECONDS = 0.03;
  const double before = processorSeconds(child);
  while (isRunning(child) && processorSeconds(child) - before < BUSY_SECONDS)
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  return isRunning(child);
}

bool neverReturns(const Body& body) {
  int entered[2];
  orThrow(::pipe(entered), "pipe");
  const pid_t child = forkChild();
  if (child == 0) {
    const bool told = ::write(entered[1], "!", 1) == 1;
    body();
    ::_exit(told ? 0 : 1);
  }
  ::close(entered[1]);
  char mark = 0;
  const bool wasEntered = ::read(entered[0], &mark, 1) == 1;
  ::close(entered[0]);
  const bool stayed = keepsBusy(child);
  ::kill(child, SIGKILL);
  waitFor(child);
  return wasEntered && stayed;
}

} // namespace test
