#include "Program.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace test {

namespace {

bool arrangeDescriptors(const char* output, int inherited) {
  const int input = ::open("/dev/zero", O_RDONLY);
  const int file = ::open(output, O_WRONLY | O_CREAT | O_APPEND, 0666);
  if (::dup2(input, STDIN_FILENO) < 0 || ::dup2(file, STDOUT_FILENO) < 0 ||
      ::dup2(file, STDERR_FILENO) < 0)
    return false;
  if (inherited == INHERITED_DESCRIPTOR)
    ::fcntl(inherited, F_SETFD, 0);
  else if (inherited >= 0)
    ::dup2(inherited, INHERITED_DESCRIPTOR);
  const int firstUnused = inherited < 0 ? INHERITED_DESCRIPTOR : INHERITED_DESCRIPTOR + 1;
  ::closefrom(firstUnused);
  return true;
}

} // namespace

pid_t startProgram(
    const std::filesystem::path& program,
    std::vector<std::string> arguments,
    const std::filesystem::path& output,
    int inherited) {
  std::string name = program.string();
  std::vector<char*> argv{name.data()};
  for (auto& argument : arguments)
    argv.push_back(argument.data());
  argv.push_back(nullptr);
  const pid_t process = ::fork();
  if (process == 0) {
    if (arrangeDescriptors(output.c_str(), inherited))
      ::execv(argv[0], argv.data());
    ::_exit(127);
  }
  return process;
}

int waitForProgram(pid_t process) {
  int status = -1;
  ::waitpid(process, &status, 0);
  return status;
}

} // namespace test
