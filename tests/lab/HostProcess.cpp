#include "HostProcess.h"

#include "Home.h"
#include "Process.h"
#include "Threads.h"

#include <array>
#include <csignal>
#include <stdexcept>
#include <sys/socket.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace test {

// Longer than any answer takes, so that a host that hangs fails its test instead of hanging it.
constexpr timeval PATIENCE{90, 0};

HostProcess::HostProcess(const fs::path& program, const fs::path& output) {
  std::array<int, 2> ends{};
  if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()) != 0)
    throw std::runtime_error("cannot create a socket");
  process = start({{program.string()}}, output, ends[1]);
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

HostState HostProcess::describe() {
  return fromText(ask({"describe"}));
}

bool HostProcess::hasLauncherMapped() const {
  const std::string maps = readFile("/proc/" + std::to_string(process) + "/maps");
  return maps.find("libThinClientLauncher.dylib") != std::string::npos;
}

int HostProcess::threads() const {
  return countThreads(std::to_string(process));
}

int HostProcess::end() {
  ::close(commands);
  commands = -1;
  const int status = process > 0 ? waitFor(process) : -1;
  process = -1;
  return status;
}

} // namespace test
