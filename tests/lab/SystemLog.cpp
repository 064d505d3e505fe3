#include "SystemLog.h"

#include "Eventually.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <stdexcept>
#include <string_view>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace test {

namespace {

constexpr std::string_view FILLER = "filler";

const sockaddr_un ADDRESS{AF_UNIX, "/dev/log"};
const auto* const LOG_ADDRESS = reinterpret_cast<const sockaddr*>(&ADDRESS);

// "<14>Nov 20 16:22:47 host: launch app succeed", or the same without the time.
SystemLog::Entry parse(const std::string& line) {
  const auto colon = line.find(": ");
  const auto name = line.find_last_of("> ", colon) + 1;
  return {std::atoi(line.c_str() + 1), line.substr(name, colon - name), line.substr(colon + 2)};
}

} // namespace

SystemLog::SystemLog() : listener(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
  if (listener < 0 || ::bind(listener, LOG_ADDRESS, sizeof ADDRESS) != 0 ||
      ::chmod(ADDRESS.sun_path, 0666) != 0)
    throw std::runtime_error("cannot listen at /dev/log");
}

SystemLog::~SystemLog() {
  ::close(listener);
  ::unlink(ADDRESS.sun_path);
}

bool SystemLog::receive() {
  std::array<char, 8192> buffer{};
  const ssize_t size = ::recv(listener, buffer.data(), buffer.size(), MSG_DONTWAIT);
  if (size < 0)
    return false;
  const std::string line(buffer.data(), static_cast<std::size_t>(size));
  if (line != FILLER)
    entries.push_back(parse(line));
  return true;
}

const std::vector<SystemLog::Entry>& SystemLog::await(std::size_t count) {
  eventually([&] {
    while (receive()) {
    }
    return entries.size() >= count;
  });
  return entries;
}

std::vector<std::string> SystemLog::awaitMessages(std::size_t count) {
  std::vector<std::string> messages;
  for (const auto& entry : await(count))
    messages.push_back(entry.message);
  return messages;
}

// A sender may be full before the log is: the log is when it takes nothing from a new one.
void SystemLog::stall() {
  for (std::size_t taken = 1; taken > 0;) {
    const int sender = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    taken = 0;
    while (::sendto(sender, FILLER.data(), FILLER.size(), 0, LOG_ADDRESS, sizeof ADDRESS) >= 0)
      ++taken;
    const int reason = errno;
    ::close(sender);
    if (reason != EAGAIN)
      throw std::runtime_error("cannot fill the system log");
  }
}

} // namespace test
