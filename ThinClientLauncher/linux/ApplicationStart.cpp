// Platform::startApplication for Linux. The caller creates a worker thread; the worker lets GLib
// fork; the child prepares itself and executes the program; the worker waits for the outcome and
// reports it to the system log. The last step is defined first.

#include "../Platform.h"

#include "Descriptor.h"

#include <glib.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <dlfcn.h>
#include <exception>
#include <fcntl.h>
#include <link.h>
#include <memory>
#include <pthread.h>
#include <sched.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <syslog.h>
#include <system_error>
#include <unistd.h>

namespace fs = std::filesystem;

namespace Platform {

namespace {

struct Start {
  fs::path bundle;
  std::string argument;
};

// --- The child process, from fork to exec ---

struct ChildProcess {
  std::array<char*, 3> argv;
  int pipe; // takes READY, then the error code if exec fails
};

constexpr int READY = 0;

void tell(int pipe, int number) {
  [[maybe_unused]] const ssize_t written = ::write(pipe, &number, sizeof number);
}

// If the host had closed a standard stream, GLib's own /dev/null gets that descriptor number, and
// GLib closes it again.
void openMissingStreams() {
  int descriptor = ::open("/dev/null", O_RDWR);
  while (descriptor >= 0 && descriptor <= STDERR_FILENO)
    descriptor = ::open("/dev/null", O_RDWR);
  ::close(descriptor);
}

void resetSignals() {
  struct sigaction action {};
  action.sa_handler = SIG_DFL;
  for (int signal = 1; signal < NSIG; ++signal)
    ::sigaction(signal, &action, nullptr);
  sigset_t none;
  ::sigemptyset(&none);
  ::sigprocmask(SIG_SETMASK, &none, nullptr);
}

// Runs between fork and exec: nothing here may allocate or lock. It executes the program itself,
// because GLib would pass a file that the system cannot execute, such as a half-installed one, to a
// shell.
void executeProgram(gpointer data) {
  const auto& child = *static_cast<const ChildProcess*>(data);
  ::setsid();
  openMissingStreams();
  resetSignals();
  tell(child.pipe, READY);
  ::execv(child.argv[0], child.argv.data());
  tell(child.pipe, errno);
  ::_exit(127);
}

// --- The worker thread ---

std::string systemError(const fs::path& file, int code) {
  return file.string() + ": " + std::generic_category().message(code);
}

// The child tells how far it comes; a successful exec closes the pipe.
struct Pipe {
  Descriptor readEnd;
  Descriptor writeEnd;
};

Descriptor duplicateAboveStreams(int descriptor) {
  return Descriptor(::fcntl(descriptor, F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
}

// If descriptors 0 to 2 are closed, pipe2 may return one of them: other threads could write to it,
// and the child would overwrite it.
Pipe openPipe() {
  std::array<int, 2> ends{-1, -1};
  if (::pipe2(ends.data(), O_CLOEXEC) != 0)
    return {Descriptor(-1), Descriptor(-1)};
  const Descriptor readEnd(ends[0]);
  const Descriptor writeEnd(ends[1]);
  return {duplicateAboveStreams(readEnd), duplicateAboveStreams(writeEnd)};
}

// Whether there was a number, rather than the end of the pipe. Raises an error when it cannot be
// read.
bool receive(int pipe, int& number) {
  ssize_t size = 0;
  do {
    size = ::read(pipe, &number, sizeof number);
  } while (size < 0 && errno == EINTR);
  if (size < 0)
    throw std::system_error(errno, std::generic_category(), "the outcome of the start is unknown");
  return size > 0;
}

// The reason why the child did not execute its program; empty if it did. After a successful exec it
// waits until no process has the write end open, so a child that another thread forks meanwhile
// delays it until that child executes a program or ends.
std::string awaitExec(Pipe& pipe, const fs::path& executable) {
  pipe.writeEnd.close();
  int number = READY;
  if (!receive(pipe.readEnd, number))
    return executable.string() + ": the new process ended before it executed the program";
  if (number == READY && !receive(pipe.readEnd, number))
    return "";
  return systemError(executable, number);
}

std::string spawn(const fs::path& executable, const std::string& argument) {
  Pipe pipe = openPipe();
  if (pipe.readEnd < 0 || pipe.writeEnd < 0)
    return systemError(executable, errno);
  std::string program = executable.string();
  std::string text = argument.c_str();
  const bool isUtf8 = g_utf8_validate(text.c_str(), -1, nullptr);
  ChildProcess child{{program.data(), isUtf8 ? text.data() : nullptr, nullptr}, pipe.writeEnd};
  // CLOEXEC_PIPES: otherwise a child that another thread of the host starts at this moment inherits
  // GLib's pipes, and this call waits for that child.
  const auto flags = static_cast<GSpawnFlags>(
      G_SPAWN_STDOUT_TO_DEV_NULL | G_SPAWN_STDERR_TO_DEV_NULL | G_SPAWN_CLOEXEC_PIPES);
  GError* error = nullptr;
  if (!g_spawn_async(
          "/", child.argv.data(), nullptr, flags, executeProgram, &child, nullptr, &error)) {
    const std::string reason = error->message;
    g_error_free(error);
    return reason;
  }
  return awaitExec(pipe, executable);
}

// Starts the bundle's executable and waits until it runs or has failed to. The process has a
// session of its own, the root folder as its working folder, /dev/null as its standard streams,
// default signals and the caller's environment; it inherits no descriptor.
//
// Returns the reason for a failure; empty on success.
std::string run(const Start& start) {
  const fs::path executable = start.bundle / "Contents" / "MacOS" / executableName(start.bundle);
  return spawn(executable, start.argument);
}

void report(const char* failure) {
  if (*failure == '\0')
    ::syslog(LOG_USER | LOG_INFO, "launch app succeed");
  else
    ::syslog(LOG_USER | LOG_ERR, "Failed to run the app: %s", failure);
}

// May run while the process destroys its static objects, and uses none of this library's. An
// exception that left the thread would end the host.
void runAndReport(const Start& start) noexcept {
  try {
    report(run(start).c_str());
  } catch (const std::exception& failure) {
    report(failure.what());
  }
}

// Otherwise the application would inherit the scheduling of a caller that works in real time. Where
// the system does not allow the change, it does.
void resetScheduling() {
  const sched_param parameters{};
  ::sched_setscheduler(0, SCHED_OTHER, &parameters);
}

void* workerMain(void* start) {
  resetScheduling();
  runAndReport(*std::unique_ptr<Start>(static_cast<Start*>(start)));
  return nullptr;
}

// --- The caller's thread ---

// The worker may still run when the host closes the library, so the code must stay mapped.
void keepLibraryMapped() {
  Dl_info self{};
  if (::dladdr(reinterpret_cast<void*>(&keepLibraryMapped), &self) != 0)
    ::dlopen(self.dli_fname, RTLD_LAZY | RTLD_NOLOAD | RTLD_NODELETE);
}

// Threads created while an object of this class exists handle no signal meant for the host.
class SignalsBlocked {
public:
  SignalsBlocked() {
    sigset_t all;
    ::sigfillset(&all);
    for (const int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT})
      ::sigdelset(&all, fault); // the host's crash handler must also see a crash of this thread
    ::pthread_sigmask(SIG_SETMASK, &all, &before);
  }
  ~SignalsBlocked() { ::pthread_sigmask(SIG_SETMASK, &before, nullptr); }
  SignalsBlocked(const SignalsBlocked&) = delete;
  SignalsBlocked& operator=(const SignalsBlocked&) = delete;

private:
  sigset_t before;
};

// The thread-local variables of the program and its libraries take up part of each stack.
std::size_t threadLocalSize() {
  std::size_t size = 0;
  const auto add = [](dl_phdr_info* image, std::size_t, void* sum) {
    for (auto* header = image->dlpi_phdr; header != image->dlpi_phdr + image->dlpi_phnum; ++header)
      *static_cast<std::size_t*>(sum) += header->p_type == PT_TLS ? header->p_memsz : 0;
    return 0;
  };
  ::dl_iterate_phdr(add, &size);
  return size;
}

// Enough for a start. The default size may be too small, if the host sets it, or too large, if
// RLIMIT_STACK is.
constexpr std::size_t STACK_SIZE = 1024 * 1024;

// Returns the reason for a failure, as an error code.
int createWorker(Start* start) {
  pthread_attr_t attributes;
  ::pthread_attr_init(&attributes);
  ::pthread_attr_setstacksize(&attributes, STACK_SIZE + threadLocalSize());
  ::pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
  pthread_t worker{};
  const int failure = ::pthread_create(&worker, &attributes, workerMain, start);
  ::pthread_attr_destroy(&attributes);
  return failure;
}

// Writing to the system log may block, so the caller's thread sends what syslog would: a report
// that the log cannot take at once is lost.
void reportWithoutWaiting(const std::string& failure) {
  const sockaddr_un log{AF_UNIX, _PATH_LOG};
  const std::string line = "<" + std::to_string(LOG_USER | LOG_ERR) + ">" +
                           program_invocation_short_name + ": Failed to run the app: " + failure;
  const Descriptor sender(::socket(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
  if (sender < 0)
    return;
  ::sendto(
      sender, line.data(), line.size(), 0, reinterpret_cast<const sockaddr*>(&log), sizeof log);
}

// The application has another working folder, so a relative path must be resolved here.
fs::path absolutePath(const fs::path& path) {
  std::error_code error;
  const fs::path absolute = fs::absolute(path, error);
  return error ? path : absolute;
}

} // namespace

void startApplication(const fs::path& bundle, const std::string& argument) {
  keepLibraryMapped();
  auto start = std::make_unique<Start>(Start{absolutePath(bundle), argument});
  const SignalsBlocked signalsBlocked;
  const int failure = createWorker(start.get());
  if (failure == 0)
    static_cast<void>(start.release()); // the worker owns it
  else
    reportWithoutWaiting("no thread can be created: " + std::generic_category().message(failure));
}

} // namespace Platform
