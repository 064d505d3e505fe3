// A host of the launcher library: loads it by path, finds the entry point by name and knows nothing
// else of it. It obeys the commands that arrive on the socket given as its one argument, one packet
// of words each, and answers each with one packet.

#include "Eventually.h"
#include "FakeSleep.h"
#include "HostState.h"

#include <array>
#include <atomic>
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
#include <grp.h>
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

using Words = std::vector<std::string>;
using EntryPoint = int (*)(int, char**);

static void* library = nullptr;

static std::string loadLibrary(const Words& words) {
  library = ::dlopen(words.at(1).c_str(), RTLD_NOW | RTLD_GLOBAL);
  return library != nullptr ? "loaded" : ::dlerror();
}

static std::string closeLibrary(const Words&) {
  return ::dlclose(library) == 0 ? "closed" : ::dlerror();
}

// The words after the command's name are the arguments after argv[0].
static std::string launch(const Words& words) {
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

static std::string launchAndClose(const Words& words) {
  const std::string answer = launch(words);
  return answer + ", " + closeLibrary({});
}

static std::string launchAndExit(const Words& words) {
  std::exit(launch(words) == "returned 0" ? 0 : 1);
}

static std::string describe(const Words&) {
  return test::toText(test::currentState());
}

static std::string pauses(const Words&) {
  return std::to_string(test::FakeSleep::count());
}

static std::string sleepReally(const Words&) {
  test::FakeSleep::sleepReally();
  return "so be it";
}

static volatile std::sig_atomic_t signalsHandled = 0;

static void countSignal(int) {
  signalsHandled = signalsHandled + 1;
}

static std::string countOfSignals(const Words&) {
  return std::to_string(signalsHandled);
}

static std::string dispose(int signal, void (*handler)(int), int flags) {
  struct sigaction action {};
  action.sa_handler = handler;
  action.sa_flags = flags;
  return ::sigaction(signal, &action, nullptr) == 0 ? "set" : "refused";
}

static std::string ignoreSignals(const Words&) {
  for (int signal = 1; signal < NSIG; ++signal)
    dispose(signal, SIG_IGN, 0);
  return "ignored";
}

static std::string handleSignals(const Words&) {
  for (int signal = 1; signal < NSIG; ++signal)
    dispose(signal, countSignal, SA_RESTART);
  return "handled";
}

static std::string blockSignals(const Words&) {
  sigset_t all;
  ::sigfillset(&all);
  return ::pthread_sigmask(SIG_BLOCK, &all, nullptr) == 0 ? "blocked" : "refused";
}

static std::string disposeOfChildren(const Words& words) {
  if (words.at(1) == "ignore")
    return dispose(SIGCHLD, SIG_IGN, 0);
  if (words.at(1) == "handle")
    return dispose(SIGCHLD, countSignal, SA_RESTART);
  return dispose(SIGCHLD, SIG_DFL, SA_NOCLDWAIT);
}

// Descriptors of every kind that an exec would hand on, one of them with a high number.
static std::string openDescriptors(const Words&) {
  std::array<int, 2> ends{};
  const bool opened = ::open("/proc/self/exe", O_RDONLY) >= 0 && ::pipe(ends.data()) == 0 &&
                      ::socketpair(AF_UNIX, SOCK_STREAM, 0, ends.data()) == 0 &&
                      ::dup2(ends[0], 700) >= 0;
  return opened ? "opened" : "refused";
}

static std::string closeStandardStreams(const Words&) {
  for (int stream = 0; stream < 3; ++stream)
    ::close(stream);
  return "closed";
}

// As root, an unprivileged user from now on, for whom permissions count.
static std::string becomeUnprivileged(const Words&) {
  constexpr uid_t NOBODY = 65534;
  if (::geteuid() != 0)
    return "unprivileged";
  // Such a process may not be looked at, not even by its own leak check, unless it says so.
  const bool dropped = ::setgroups(0, nullptr) == 0 && ::setgid(NOBODY) == 0 &&
                       ::setuid(NOBODY) == 0 && ::prctl(PR_SET_DUMPABLE, 1) == 0;
  return dropped ? "unprivileged" : "refused";
}

// How the host answers when the library asks for a process or a thread.
enum class Answer { YES, LATER, NO };

static std::atomic<Answer> answerToFork{Answer::YES};
static std::atomic<Answer> answerToThread{Answer::YES};

// Whether to go on; waits while the answer is LATER.
static bool isGranted(const std::atomic<Answer>& answer) {
  return test::eventually([&] { return answer != Answer::LATER; }) && answer == Answer::YES;
}

template <typename Function>
static Function* original(Function*, const char* name) {
  return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

// Exported, and so found before the C library's own.
extern "C" pid_t fork() {
  if (isGranted(answerToFork))
    return original(&fork, "fork")();
  errno = EAGAIN;
  return -1;
}

extern "C" int pthread_create(
    pthread_t* thread, const pthread_attr_t* attributes, void* (*body)(void*), void* argument) {
  if (!isGranted(answerToThread))
    return EAGAIN;
  return original(&pthread_create, "pthread_create")(thread, attributes, body, argument);
}

static std::string holdUpForks(const Words&) {
  answerToFork = Answer::LATER;
  return "held up";
}

static std::string releaseForks(const Words&) {
  answerToFork = Answer::YES;
  return "released";
}

static std::string refuseForks(const Words&) {
  answerToFork = Answer::NO;
  return "refused";
}

static std::string refuseThreads(const Words&) {
  answerToThread = Answer::NO;
  return "refused";
}

// The stack that threads get unless they ask for another.
static std::string useTinyStacks(const Words&) {
  pthread_attr_t attributes;
  ::pthread_attr_init(&attributes);
  ::pthread_attr_setstacksize(&attributes, static_cast<std::size_t>(PTHREAD_STACK_MIN));
  const bool set = ::pthread_setattr_default_np(&attributes) == 0;
  ::pthread_attr_destroy(&attributes);
  return set ? "tiny" : "refused";
}

class GroupedDigits : public std::numpunct<char> {
  char do_thousands_sep() const override { return ','; }
  std::string do_grouping() const override { return "\3"; }
};

static std::string useUnusualLocale(const Words&) {
  std::locale::global(std::locale(std::locale(), new GroupedDigits));
  return std::setlocale(LC_ALL, "C.UTF-8") != nullptr ? "set" : "refused";
}

static std::string openLog(const Words& words) {
  static const std::string name = words.at(1);
  ::openlog(name.c_str(), LOG_PID, LOG_LOCAL3);
  return "opened";
}

static std::string writeToLog(const Words& words) {
  ::syslog(LOG_NOTICE, "%s", words.at(1).c_str());
  return "written";
}

static std::string obey(const Words& words) {
  static const std::map<std::string, std::function<std::string(const Words&)>> commands = {
      {"load", loadLibrary},
      {"close", closeLibrary},
      {"launch", launch},
      {"launch-and-close", launchAndClose},
      {"launch-and-exit", launchAndExit},
      {"describe", describe},
      {"pauses", pauses},
      {"sleep-really", sleepReally},
      {"ignore-signals", ignoreSignals},
      {"handle-signals", handleSignals},
      {"block-signals", blockSignals},
      {"signals-handled", countOfSignals},
      {"children", disposeOfChildren},
      {"open-descriptors", openDescriptors},
      {"close-standard-streams", closeStandardStreams},
      {"become-unprivileged", becomeUnprivileged},
      {"hold-up-forks", holdUpForks},
      {"release-forks", releaseForks},
      {"refuse-forks", refuseForks},
      {"refuse-threads", refuseThreads},
      {"use-tiny-stacks", useTinyStacks},
      {"use-unusual-locale", useUnusualLocale},
      {"open-log", openLog},
      {"write-to-log", writeToLog}};
  const auto command = commands.find(words.at(0));
  return command == commands.end() ? "unknown command" : command->second(words);
}

static Words split(const std::string& packet) {
  Words words;
  std::istringstream stream(packet);
  for (std::string word; std::getline(stream, word, '\0');)
    words.push_back(word);
  return words;
}

int main(int, char** argv) {
  // With the first thread, a sanitizer may start one of its own for good.
  std::thread([] {}).join();
  const int commands = std::atoi(argv[1]);
  std::string packet(64 * 1024, '\0');
  for (;;) {
    const ssize_t size = ::recv(commands, packet.data(), packet.size(), 0);
    if (size < 0 && errno == EINTR)
      continue;
    if (size <= 0)
      return 0;
    const std::string answer = obey(split(packet.substr(0, static_cast<std::size_t>(size))));
    if (::send(commands, answer.data(), answer.size(), MSG_NOSIGNAL) < 0)
      return 1;
  }
}
