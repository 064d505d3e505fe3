#include "HostState.h"

#include "Home.h"

#include <array>
#include <cerrno>
#include <clocale>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <locale>
#include <sched.h>
#include <sstream>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace test {

namespace {

std::string describeDescriptor(int descriptor) {
  constexpr std::array<const char*, 3> ACCESS{" read", " write", " read-write"};
  const int mode = ::fcntl(descriptor, F_GETFL) & O_ACCMODE;
  const bool closesOnExec = (::fcntl(descriptor, F_GETFD) & FD_CLOEXEC) != 0;
  return ACCESS.at(static_cast<std::size_t>(mode)) +
         std::string(closesOnExec ? " close-on-exec" : "");
}

void addDescriptors(HostState& state) {
  const std::string listing = "/proc/" + std::to_string(::getpid()) + "/fd";
  for (const auto& entry : fs::directory_iterator("/proc/self/fd")) {
    std::error_code gone;
    const std::string target = fs::read_symlink(entry.path(), gone).string();
    if (gone || target == listing)
      continue; // the descriptor of this very listing
    const std::string number = entry.path().filename().string();
    state["descriptor " + number] = target + describeDescriptor(std::stoi(number));
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
      {"limits", readFile("/proc/self/limits")},
      {"C locale", std::setlocale(LC_ALL, nullptr)},
      {"C++ locale", std::locale().name()}};
  addDescriptors(state);
  addStatus(state);
  addDispositions(state);
  addEnvironment(state);
  return state;
}

void addArguments(HostState& state, int argc, char** argv) {
  for (int i = 0; i < argc; ++i)
    state["argument " + std::to_string(i)] = argv[i];
}

std::string toText(const HostState& state) {
  std::string text;
  for (const auto& [name, value] : state)
    text += name + ": " + value + '\0';
  return text;
}

HostState fromText(const std::string& text) {
  HostState state;
  std::istringstream entries(text);
  for (std::string entry; std::getline(entries, entry, '\0');) {
    const auto colon = entry.find(": ");
    state[entry.substr(0, colon)] = entry.substr(colon + 2);
  }
  return state;
}

} // namespace test
