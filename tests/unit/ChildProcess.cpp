#include "ChildProcess.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <ctime>
#include <exception>
#include <grp.h>
#include <sched.h>
#include <sys/wait.h>
#include <system_error>
#include <thread>
#include <unistd.h>

namespace fs = std::filesystem;

namespace test {

// Neither 0 nor 1, so that no body that exits on its own passes.
static constexpr int BODY_RAN_WITHOUT_FAILURE = 42;
static constexpr uid_t UNPRIVILEGED = 65534;

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

static int waitFor(pid_t child) {
  int status = 0;
  while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
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

// A user namespace of one's own brings the right to change the root.
static bool changeRoot(const fs::path& root) {
  return (::geteuid() == 0 || ::unshare(CLONE_NEWUSER) == 0) && ::chroot(root.c_str()) == 0 &&
         ::chdir("/") == 0;
}

static bool mayChangeRoot() {
  const pid_t child = forkChild();
  if (child == 0)
    ::_exit(changeRoot("/") ? 0 : 1);
  return waitFor(child) == 0;
}

void inChildProcessWithRoot(const fs::path& root, const Body& body) {
  if (!mayChangeRoot())
    GTEST_SKIP() << "this system lets no user but root change the root folder";
  inChildProcess([&] {
    ASSERT_TRUE(changeRoot(root));
    body();
  });
}

static void becomeUnprivileged(const fs::path& folder) {
  orThrow(::lchown(folder.c_str(), UNPRIVILEGED, UNPRIVILEGED), "lchown");
  for (const auto& entry : fs::recursive_directory_iterator(folder))
    orThrow(::lchown(entry.path().c_str(), UNPRIVILEGED, UNPRIVILEGED), "lchown");
  orThrow(::setgroups(0, nullptr), "setgroups");
  orThrow(::setgid(UNPRIVILEGED), "setgid");
  orThrow(::setuid(UNPRIVILEGED), "setuid");
}

void asUnprivilegedUser(const fs::path& folder, const Body& body) {
  inChildProcess([&] {
    fs::current_path(folder); // the one where the tests are run may be closed to that user
    if (::geteuid() == 0)
      becomeUnprivileged(folder);
    ASSERT_NE(::geteuid(), uid_t{0});
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

int runProgram(
    const fs::path& program,
    const std::vector<std::string>& arguments,
    const fs::path& workingDirectory) {
  std::vector<std::string> texts{program.string()};
  texts.insert(texts.end(), arguments.begin(), arguments.end());
  std::vector<char*> argv;
  for (auto& text : texts)
    argv.push_back(text.data());
  argv.push_back(nullptr);

  const pid_t child = forkChild();
  if (child == 0) {
    if (::chdir(workingDirectory.c_str()) == 0)
      ::execv(program.c_str(), argv.data());
    ::_exit(127);
  }
  return waitFor(child);
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

bool neverReturns(const Body& body) {
  constexpr double BUSY_SECONDS = 0.03; // many times what any call here takes
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
  const double before = processorSeconds(child);
  while (isRunning(child) && processorSeconds(child) - before < BUSY_SECONDS)
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  const bool stayed = isRunning(child);
  ::kill(child, SIGKILL);
  waitFor(child);
  return wasEntered && stayed;
}

} // namespace test
