// A host of the launcher library: loads it by path, finds the entry point by name and knows nothing
// else of it. It carries out commands, each of which is a list of words and has one answer.
//
// Usage: launcher_host COMMAND [-- COMMAND]...    prints the answers at its end, one per line
//        launcher_host    takes commands from the socket that it inherits as descriptor 3, one per
//                         packet, and sends one packet per answer

#include "FakeSleep.h"
#include "FakeSystem.h"
#include "HostState.h"
#include "Process.h"
#include "User.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <clocale>
#include <csignal>
#include <cstdlib>
#include <dlfcn.h>
#include <exception>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <iostream>
#include <locale>
#include <map>
#include <pthread.h>
#include <sstream>
#include <string>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <syslog.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using Words = std::vector<std::string>; // of a command: its name and its arguments
using EntryPoint = int (*)(int, char**);

constexpr const char* DONE = "done";

std::string doneIf(bool succeeded) {
  return succeeded ? DONE : "failed";
}

// --- The launcher library ---

void* library = nullptr;

std::string loadLibrary(const Words& words) {
  library = ::dlopen(words.at(1).c_str(), RTLD_NOW | RTLD_GLOBAL);
  return library != nullptr ? DONE : ::dlerror();
}

std::string closeLibrary(const Words&) {
  return ::dlclose(library) == 0 ? DONE : ::dlerror();
}

// The command itself is the argument vector: nothing reads its first word.
std::string launch(const Words& words) {
  const auto entry = reinterpret_cast<EntryPoint>(::dlsym(library, "ThinClientLauncherEntryPoint"));
  if (entry == nullptr)
    return ::dlerror();
  Words arguments = words;
  std::vector<char*> argv;
  for (auto& argument : arguments)
    argv.push_back(argument.data());
  argv.push_back(nullptr);
  try {
    return "returned " + std::to_string(entry(static_cast<int>(arguments.size()), argv.data()));
  } catch (const std::filesystem::filesystem_error& failure) {
    return "filesystem_error " + failure.code().message();
  } catch (const std::exception& failure) {
    return std::string("another exception: ") + failure.what();
  }
}

std::string launchAndClose(const Words& words) {
  const std::string answer = launch(words);
  return answer + ", " + closeLibrary({});
}

std::string launchAndExit(const Words& words) {
  std::exit(launch(words) == "returned 0" ? 0 : 1);
}

// --- What tests can observe ---

std::string describe(const Words&) {
  return test::toText(test::currentState());
}

std::string takeJournal(const Words&) {
  return test::FakeSystem::takeJournal();
}

std::string countCalls(const Words& words) {
  return std::to_string(test::FakeSystem::count(words.at(1)));
}

volatile std::sig_atomic_t signalsHandled = 0;

void countSignal(int) {
  signalsHandled = signalsHandled + 1;
}

std::string countSignals(const Words&) {
  return std::to_string(signalsHandled);
}

// --- Pauses ---

bool stopsAroundStarts = false;

void stopIfAsked() {
  if (stopsAroundStarts)
    std::raise(SIGSTOP);
}

void finishStartInPause() {
  test::FakeSystem::addToJournal("pause");
  if (!test::FakeSystem::isStartHeld())
    return;
  stopIfAsked();
  test::FakeSystem::finishStart();
  stopIfAsked();
}

std::string sleepReally(const Words&) {
  test::FakeSleep::sleepReally();
  return DONE;
}

// A requested start waits for the pause, which then lasts until the outcome is known. "stopping":
// the host stops itself before and after the start, for a tracer.
std::string startInPauses(const Words& words) {
  stopsAroundStarts = words.size() > 1 && words[1] == "stopping";
  test::FakeSystem::holdStarts();
  return DONE;
}

std::string outcome(const Words&) {
  return test::FakeSystem::outcome();
}

std::string stop(const Words&) {
  return doneIf(std::raise(SIGSTOP) == 0);
}

// --- Signals ---

bool dispose(int signal, void (*handler)(int), int flags) {
  struct sigaction action {};
  action.sa_handler = handler;
  action.sa_flags = flags;
  return ::sigaction(signal, &action, nullptr) == 0;
}

std::string ignoreSignals(const Words&) {
  for (int signal = 1; signal < NSIG; ++signal)
    dispose(signal, SIG_IGN, 0);
  return DONE;
}

std::string handleSignals(const Words&) {
  for (int signal = 1; signal < NSIG; ++signal)
    dispose(signal, countSignal, SA_RESTART);
  return DONE;
}

std::string blockSignals(const Words&) {
  sigset_t all;
  ::sigfillset(&all);
  return doneIf(::pthread_sigmask(SIG_BLOCK, &all, nullptr) == 0);
}

std::string disposeOfChildren(const Words& words) {
  if (words.at(1) == "ignore")
    return doneIf(dispose(SIGCHLD, SIG_IGN, 0));
  if (words.at(1) == "handle")
    return doneIf(dispose(SIGCHLD, countSignal, SA_RESTART));
  return doneIf(dispose(SIGCHLD, SIG_DFL, SA_NOCLDWAIT));
}

// --- Descriptors ---

// Some of every kind that an exec would pass on, one of them with a high number.
std::string openDescriptors(const Words&) {
  std::array<int, 2> ends{};
  return doneIf(
      ::open("/proc/self/exe", O_RDONLY) >= 0 && ::pipe(ends.data()) == 0 &&
      ::socketpair(AF_UNIX, SOCK_STREAM, 0, ends.data()) == 0 && ::dup2(ends[0], 700) >= 0);
}

std::string closeStandardStreams(const Words&) {
  for (int stream = 0; stream < 3; ++stream)
    ::close(stream);
  return DONE;
}

// --- Users ---

// After a change of user, a process must allow its examination, even by its own leak check.
std::string allowExamination(bool changed) {
  return doneIf(changed && ::prctl(PR_SET_DUMPABLE, 1) == 0);
}

std::string becomeUnprivileged(const Words&) {
  return allowExamination(test::becomeUnprivileged());
}

// As in a program that belongs to "nobody" and has the set-user-ID bit.
std::string becomeSetUserId(const Words&) {
  return allowExamination(::seteuid(test::NOBODY) == 0);
}

std::string setPasswordEntry(const Words& words) {
  test::FakeSystem::setPasswordEntry(
      static_cast<unsigned>(std::stoul(words.at(1))), words.at(2), std::stoul(words.at(3)));
  return DONE;
}

// --- What the system grants ---

std::string setAnswer(const Words& words) {
  return doneIf(test::FakeSystem::setAnswer(words.at(1), words.at(2)));
}

// The C library takes the space for these from the stack of each thread.
thread_local std::array<volatile char, 64 * 1024> threadLocals;

// As the default: smaller than the thread-local variables.
std::string useTinyStacks(const Words&) {
  threadLocals[0] = 1;
  pthread_attr_t attributes;
  ::pthread_attr_init(&attributes);
  ::pthread_attr_setstacksize(&attributes, static_cast<std::size_t>(PTHREAD_STACK_MIN));
  const bool set = ::pthread_setattr_default_np(&attributes) == 0;
  ::pthread_attr_destroy(&attributes);
  return doneIf(set);
}

// --- Locales and the system log ---

class GroupedDigits : public std::numpunct<char> {
  char do_thousands_sep() const override { return ','; }
  std::string do_grouping() const override { return "\3"; }
};

std::string useUnusualLocale(const Words&) {
  std::locale::global(std::locale(std::locale(), new GroupedDigits));
  return doneIf(std::setlocale(LC_ALL, "C.UTF-8") != nullptr);
}

std::string openLog(const Words& words) {
  static const std::string name = words.at(1);
  ::openlog(name.c_str(), LOG_PID, LOG_LOCAL3);
  return DONE;
}

std::string writeToLog(const Words& words) {
  ::syslog(LOG_NOTICE, "%s", words.at(1).c_str());
  return DONE;
}

// --- Commands ---

std::string obey(const Words& words) {
  static const std::map<std::string, std::function<std::string(const Words&)>> commands = {
      {"load", loadLibrary},
      {"close", closeLibrary},
      {"launch", launch},
      {"launch-and-close", launchAndClose},
      {"launch-and-exit", launchAndExit},
      {"describe", describe},
      {"journal", takeJournal},
      {"calls", countCalls},
      {"signals-handled", countSignals},
      {"sleep-really", sleepReally},
      {"start-in-pauses", startInPauses},
      {"outcome", outcome},
      {"stop", stop},
      {"ignore-signals", ignoreSignals},
      {"handle-signals", handleSignals},
      {"block-signals", blockSignals},
      {"children", disposeOfChildren},
      {"open-descriptors", openDescriptors},
      {"close-standard-streams", closeStandardStreams},
      {"become-unprivileged", becomeUnprivileged},
      {"become-set-user-id", becomeSetUserId},
      {"password-entry", setPasswordEntry},
      {"answer", setAnswer},
      {"use-tiny-stacks", useTinyStacks},
      {"use-unusual-locale", useUnusualLocale},
      {"open-log", openLog},
      {"write-to-log", writeToLog}};
  const auto command = commands.find(words.at(0));
  return command == commands.end() ? "unknown command " + words[0] : command->second(words);
}

Words split(const std::string& packet) {
  Words words;
  std::istringstream stream(packet);
  for (std::string word; std::getline(stream, word, '\0');)
    words.push_back(word);
  return words;
}

int obeySocket() {
  std::string packet(64 * 1024, '\0');
  for (;;) {
    const ssize_t size = ::recv(test::INHERITED_DESCRIPTOR, packet.data(), packet.size(), 0);
    if (size < 0 && errno == EINTR)
      continue;
    if (size <= 0)
      return 0;
    const std::string answer = obey(split(packet.substr(0, static_cast<std::size_t>(size))));
    if (::send(test::INHERITED_DESCRIPTOR, answer.data(), answer.size(), MSG_NOSIGNAL) < 0)
      return 1;
  }
}

// Prints nothing in between: a tracer may let system calls of this thread fail.
void obeyArguments(const Words& arguments) {
  std::string answers;
  for (auto word = arguments.begin(); word != arguments.end();) {
    const auto end = std::find(word, arguments.end(), "--");
    answers += obey(Words(word, end)) + '\n';
    word = end == arguments.end() ? end : end + 1;
  }
  std::cout << answers << std::flush;
}

} // namespace

int main(int argc, char** argv) {
  // A sanitizer may start a thread of its own with the first one, and keep it.
  std::thread([] {}).join();
  test::FakeSystem::takeJournal();
  test::FakeSleep::setAction(finishStartInPause);
  if (argc < 2)
    return obeySocket();
  obeyArguments(Words(argv + 1, argv + argc));
}
