#include "HostProcess.h"

#include "FileSystem.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <iterator>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace test {

namespace {

constexpr int COMMANDS_IN_HOST = 3;
constexpr timeval PATIENCE{90, 0};

[[noreturn]] void becomeHost(int commands, const char* output) {
  const int file = ::open(output, O_WRONLY | O_CREAT | O_APPEND, 0666);
  if (::dup2(file, STDOUT_FILENO) < 0 || ::dup2(file, STDERR_FILENO) < 0)
    ::_exit(126);
  if (commands == COMMANDS_IN_HOST)
    ::fcntl(commands, F_SETFD, 0);
  else
    ::dup2(commands, COMMANDS_IN_HOST);
  ::close_range(COMMANDS_IN_HOST + 1, ~0U, 0);
  const std::string number = std::to_string(COMMANDS_IN_HOST);
  ::execl(HOST_PROGRAM, HOST_PROGRAM, number.c_str(), nullptr);
  ::_exit(127);
}

} // namespace

HostProcess::HostProcess(const fs::path& output) {
  std::array<int, 2> ends{};
  if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()) != 0)
    throw std::runtime_error("cannot create a socket");
  process = ::fork();
  if (process == 0)
    becomeHost(ends[1], output.c_str());
  ::close(ends[1]);
  commands = ends[0];
  ::setsockopt(commands, SOL_SOCKET, SO_RCVTIMEO, &PATIENCE, sizeof PATIENCE);
}

HostProcess::~HostProcess() {
  if (process > 0)
    ::kill(process, SIGKILL);
  end();
}

std::string HostProcess::ask(const std::vector<std::string>& words) {
  std::string packet;
  for (const auto& word : words)
    packet += word + '\0';
  ::send(commands, packet.data(), packet.size(), MSG_NOSIGNAL);
  std::string answer(256 * 1024, '\0');
  const ssize_t size = ::recv(commands, answer.data(), answer.size(), 0);
  answer.resize(size > 0 ? static_cast<std::size_t>(size) : 0);
  return answer;
}

ProcessReport HostProcess::describe() {
  return fromText(ask({"describe"}));
}

bool HostProcess::hasLauncherMapped() const {
  const std::string maps = readFile("/proc/" + std::to_string(process) + "/maps");
  return maps.find("libThinClientLauncher.dylib") != std::string::npos;
}

int HostProcess::threads() const {
  const fs::directory_iterator tasks("/proc/" + std::to_string(process) + "/task");
  return static_cast<int>(std::distance(fs::begin(tasks), fs::end(tasks)));
}

int HostProcess::end() {
  ::close(commands);
  commands = -1;
  int status = -1;
  if (process > 0)
    ::waitpid(process, &status, 0);
  process = -1;
  return status;
}

} // namespace test
