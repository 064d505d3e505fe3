#include "HostState.h"

#include <array>
#include <cerrno>
#include <clocale>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <locale>
#include <sched.h>
#include <sstream>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace test {

namespace {

// The path that a socket is connected to; empty when it has none.
std::string socketPeer(int descriptor) {
  sockaddr_un peer{};
  socklen_t size = sizeof peer;
  if (::getpeername(descriptor, reinterpret_cast<sockaddr*>(&peer), &size) != 0 ||
      peer.sun_family != AF_UNIX || size <= sizeof(sa_family_t))
    return {};
  return peer.sun_path;
}

std::string describeDescriptor(int descriptor, const std::string& target) {
  constexpr std::array<const char*, 3> ACCESS{"read", "write", "read-write"};
  const int mode = ::fcntl(descriptor, F_GETFL) & O_ACCMODE;
  const std::string peer = socketPeer(descriptor);
  const bool closesOnExec = (::fcntl(descriptor, F_GETFD) & FD_CLOEXEC) != 0;
  return target + " " + ACCESS.at(static_cast<std::size_t>(mode)) +
         (closesOnExec ? " close-on-exec" : "") + (peer.empty() ? "" : " connected to " + peer);
}

void addDescriptors(HostState& state) {
  const std::string listing = "/proc/" + std::to_string(::getpid()) + "/fd";
  for (const auto& entry : fs::directory_iterator("/proc/self/fd")) {
    std::error_code gone;
    const std::string target = fs::read_symlink(entry.path(), gone).string();
    if (gone || target == listing)
      continue; // the descriptor of this very listing
    const std::string number = entry.path().filename().string();
    state["descriptor " + number] = describeDescriptor(std::stoi(number), target);
  }
}

// From the kernel's own table: it covers the signals that the C library keeps to itself.
void addStatus(HostState& state) {
  const std::map<std::string, std::string> wanted = {
      {"Umask", "umask"},
      {"Threads", "threads"},
      {"SigBlk", "signals blocked"},
      {"SigIgn", "signals ignored"},
      {"SigCgt", "signals handled"}};
  std::ifstream status("/proc/thread-self/status");
  for (std::string line; std::getline(status, line);) {
    const auto colon = line.find(':');
    const auto found = wanted.find(line.substr(0, colon));
    if (found != wanted.end())
      state[found->second] = line.substr(line.find_first_not_of(" \t", colon + 1));
  }
}

void addDispositions(HostState& state) {
  for (int signal = 1; signal < NSIG; ++signal) {
    struct sigaction action {};
    if (::sigaction(signal, nullptr, &action) != 0)
      continue;
    std::ostringstream text;
    text << reinterpret_cast<void*>(action.sa_handler) << " flags " << action.sa_flags << " mask";
    for (int masked = 1; masked < NSIG; ++masked) {
      if (sigismember(&action.sa_mask, masked) == 1)
        text << ' ' << masked;
    }
    state["disposition of signal " + std::to_string(signal)] = text.str();
  }
}

void addLimits(HostState& state) {
  for (int resource = 0; resource < RLIM_NLIMITS; ++resource) {
    rlimit limit{};
    ::getrlimit(static_cast<__rlimit_resource>(resource), &limit);
    state["limit " + std::to_string(resource)] =
        std::to_string(limit.rlim_cur) + " of " + std::to_string(limit.rlim_max);
  }
}

void addEnvironment(HostState& state) {
  for (char** variable = environ; *variable != nullptr; ++variable) {
    const std::string text = *variable;
    const auto equals = text.find('=');
    state["environment " + text.substr(0, equals)] = text.substr(equals + 1);
  }
}

bool hasChildren() {
  siginfo_t info{};
  return ::waitid(P_ALL, 0, &info, WEXITED | WNOHANG | WNOWAIT) == 0 || errno != ECHILD;
}

} // namespace

HostState currentState() {
  std::error_code none;
  HostState state = {
      {"executable", fs::read_symlink("/proc/self/exe", none).string()},
      {"folder", fs::current_path(none).string()},
      {"process", std::to_string(::getpid())},
      {"parent", std::to_string(::getppid())},
      {"session", std::to_string(::getsid(0))},
      {"process group", std::to_string(::getpgrp())},
      {"scheduling", std::to_string(::sched_getscheduler(0))},
      {"children", hasChildren() ? "some" : "none"},
      {"C locale", std::setlocale(LC_ALL, nullptr)},
      {"C++ locale", std::locale().name()}};
  addDescriptors(state);
  addStatus(state);
  addDispositions(state);
  addLimits(state);
  addEnvironment(state);
  return state;
}

void addArguments(HostState& state, int argc, char** argv) {
  for (int i = 0; i < argc; ++i)
    state["argument " + std::to_string(i)] = argv[i];
}

std::string toText(const HostState& state) {
  std::string text;
  for (const auto& [name, value] : state) {
    text += name + ": ";
    for (const char c : value)
      text += c == '\n' ? std::string("\\n") : std::string(1, c);
    text += '\n';
  }
  return text;
}

HostState fromText(const std::string& text) {
  HostState state;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    const auto colon = line.find(": ");
    state[line.substr(0, colon)] = line.substr(colon + 2);
  }
  return state;
}

} // namespace test
