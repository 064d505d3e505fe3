#include "ChildProcess.h"

#include "FileSystem.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <grp.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

namespace fs = std::filesystem;

namespace test {

namespace {

constexpr unsigned NOBODY = 65534;

void redirect(int standard, const fs::path& file) {
  const int descriptor = ::open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  if (descriptor < 0 || ::dup2(descriptor, standard) < 0)
    std::_Exit(126);
  ::close(descriptor);
}

void dropPrivileges() {
  if (::geteuid() != 0)
    return;
  if (::setgroups(0, nullptr) != 0 || ::setgid(NOBODY) != 0 || ::setuid(NOBODY) != 0)
    std::_Exit(126);
}

[[noreturn]] void execute(const ChildProcess& process) {
  for (const auto& [name, value] : process.environment)
    ::setenv(name.c_str(), value.c_str(), 1);
  if (process.unprivileged)
    dropPrivileges();
  if (::chdir(process.workingDirectory.c_str()) != 0)
    std::_Exit(126);
  std::vector<char*> argv;
  for (const auto& argument : process.command)
    argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);
  ::execvp(argv.front(), argv.data());
  std::perror(argv.front());
  std::_Exit(127);
}

} // namespace

Result run(const ChildProcess& process) {
  const ScopedFolder captured;
  const fs::path out = process.output.empty() ? captured.path() / "out" : fs::path(process.output);
  const fs::path err = captured.path() / "err";
  const pid_t child = ::fork();
  if (child < 0)
    throw std::system_error(errno, std::generic_category(), "fork");
  if (child == 0) {
    redirect(STDOUT_FILENO, out);
    redirect(STDERR_FILENO, err);
    execute(process);
  }
  int status = 0;
  while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  const int code = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  return {code, process.output.empty() ? readFile(out) : "", readFile(err)};
}

} // namespace test
