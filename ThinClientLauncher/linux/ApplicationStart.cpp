#include "ApplicationStart.h"

#include "Descriptor.h"
#include "PropertyList.h"

#include <glib.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <system_error>
#include <unistd.h>

namespace fs = std::filesystem;

namespace ApplicationStart {

namespace {

std::string systemError(const fs::path& file, int code) {
  return file.string() + ": " + std::generic_category().message(code);
}

// CFBundleExecutable, or the bundle's own name.
fs::path executableOf(const fs::path& bundle) {
  const std::string name =
      PropertyList::readText(bundle / "Contents/Info.plist", "CFBundleExecutable");
  return name.empty() ? bundle.stem() : fs::path(name);
}

// Brings the reason why a program does not run out of its process; closed when it does run.
struct FailurePipe {
  Descriptor readEnd;
  Descriptor writeEnd;
};

Descriptor aboveStandardStreams(int descriptor) {
  return Descriptor(::fcntl(descriptor, F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
}

// In a host without standard streams a pipe could become one, for other threads to write to and for
// the new process to lose.
FailurePipe openFailurePipe() {
  std::array<int, 2> ends{-1, -1};
  if (::pipe2(ends.data(), O_CLOEXEC) != 0)
    return {Descriptor(-1), Descriptor(-1)};
  const Descriptor readEnd(ends[0]);
  const Descriptor writeEnd(ends[1]);
  return {aboveStandardStreams(readEnd), aboveStandardStreams(writeEnd)};
}

// Waits for what the new process tells, and for as long as any process has the write end: one that
// another thread forked meanwhile and that runs no program of its own may hold this thread up.
// Returns 0 when nothing is told.
int awaitFailure(FailurePipe& pipe) {
  pipe.writeEnd.close();
  int code = 0;
  while (::read(pipe.readEnd, &code, sizeof code) < 0 && errno == EINTR) {
  }
  return code;
}

struct NewProcess {
  std::array<char*, 3> argv;
  int failure;
};

// GLib takes a stream for its own that the host had closed.
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

// The new process up to its program; nothing here may allocate or lock. GLib would run the program
// next, but hands what the system does not take for one to a shell, a half installed one included.
void becomeApplication(gpointer data) {
  const auto& process = *static_cast<const NewProcess*>(data);
  ::setsid();
  openMissingStreams();
  resetSignals();
  ::execv(process.argv[0], process.argv.data());
  const int code = errno;
  [[maybe_unused]] const ssize_t told = ::write(process.failure, &code, sizeof code);
  ::_exit(127);
}

std::string spawn(const fs::path& executable, const std::string& argument) {
  FailurePipe failure = openFailurePipe();
  if (failure.readEnd < 0 || failure.writeEnd < 0)
    return systemError(executable, errno);
  std::string program = executable.string();
  std::string text = argument.c_str();
  const bool isUtf8 = g_utf8_validate(text.c_str(), -1, nullptr);
  NewProcess process{{program.data(), isUtf8 ? text.data() : nullptr, nullptr}, failure.writeEnd};
  // Without descriptors of its own kept closed on exec, a child that another thread of the host
  // starts at this moment would hold this call up.
  const auto flags = static_cast<GSpawnFlags>(
      G_SPAWN_STDOUT_TO_DEV_NULL | G_SPAWN_STDERR_TO_DEV_NULL | G_SPAWN_CLOEXEC_PIPES);
  GError* error = nullptr;
  if (!g_spawn_async(
          "/", process.argv.data(), nullptr, flags, becomeApplication, &process, nullptr, &error)) {
    const std::string reason = error->message;
    g_error_free(error);
    return reason;
  }
  const int code = awaitFailure(failure);
  return code == 0 ? std::string() : systemError(executable, code);
}

} // namespace

std::string run(const fs::path& bundle, const std::string& argument) {
  const fs::path name = executableOf(bundle);
  if (name != name.filename() || name == ".." || name == ".")
    return "CFBundleExecutable is no file name: " + name.string();
  return spawn(bundle / "Contents" / "MacOS" / name, argument);
}

} // namespace ApplicationStart
