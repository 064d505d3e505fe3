#include "Enclosure.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <set>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace fs = std::filesystem;

namespace test::Enclosure {

namespace {

// In the environment of the program inside: the descriptor on which it tells that it got there.
constexpr const char* ARRIVAL_VARIABLE = "LAUNCHER_TEST_ARRIVAL";
constexpr const char* TEMPORARY_FOLDER = "/launcher-test";

constexpr const char* ADVICE = R"(
The end-to-end tests need a private mount namespace and did not get one. What helps:
  - bubblewrap is not installed: scripts/install-packages.sh test
  - an ordinary user may not create user namespaces:
      sysctl -w kernel.unprivileged_userns_clone=1             (Debian)
      sysctl -w kernel.apparmor_restrict_unprivileged_userns=0 (Ubuntu)
    or run the tests as root
  - a container forbids namespaces: start it with the capability SYS_ADMIN and without the default
    seccomp and AppArmor profiles
)";

// The new root is a file system of its own that holds the entries of the real one: a mount point
// that is missing there is never created on the real root.
std::vector<std::string> enclosingCommand(char** argv) {
  std::vector<std::string> command{"bwrap", "--die-with-parent", "--tmpfs", "/"};
  const std::set<fs::path> replaced{"/Applications", "/dev", TEMPORARY_FOLDER};
  for (const auto& entry : fs::directory_iterator("/")) {
    const std::string path = entry.path().string();
    if (replaced.count(entry.path()) == 0)
      command.insert(command.end(), {"--bind-try", path, path});
  }
  command.insert(command.end(), {"--dev", "/dev", "--tmpfs", "/Applications"});
  command.insert(command.end(), {"--tmpfs", TEMPORARY_FOLDER, "--setenv", "TMPDIR"});
  command.insert(command.end(), {TEMPORARY_FOLDER, fs::read_symlink("/proc/self/exe").string()});
  for (char** argument = argv + 1; *argument != nullptr; ++argument)
    command.emplace_back(*argument);
  return command;
}

[[noreturn]] void execute(std::vector<std::string> command) {
  std::vector<char*> argv;
  for (auto& word : command)
    argv.push_back(word.data());
  argv.push_back(nullptr);
  ::execvp(argv[0], argv.data());
  std::perror(argv[0]);
  ::_exit(127);
}

// Whether the other side wrote before it ended.
bool hasArrived(int descriptor) {
  char letter = 0;
  const bool arrived = ::read(descriptor, &letter, 1) == 1;
  ::close(descriptor);
  return arrived;
}

} // namespace

bool isInside() {
  const char* const descriptor = std::getenv(ARRIVAL_VARIABLE);
  if (descriptor == nullptr)
    return false;
  const int arrival = std::atoi(descriptor);
  ::unsetenv(ARRIVAL_VARIABLE);
  const bool told = ::write(arrival, "!", 1) == 1;
  ::close(arrival);
  return told;
}

int runInside(char** argv) {
  std::array<int, 2> arrival{};
  if (::pipe(arrival.data()) != 0)
    return 1;
  ::setenv(ARRIVAL_VARIABLE, std::to_string(arrival[1]).c_str(), 1);
  const pid_t child = ::fork();
  if (child == 0) {
    ::close(arrival[0]);
    execute(enclosingCommand(argv));
  }
  ::close(arrival[1]);
  int status = 0;
  if (!hasArrived(arrival[0]))
    std::fputs(ADVICE, stderr);
  ::waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : 1;
}

} // namespace test::Enclosure
