#include "ApplicationStart.h"

#include "PropertyList.h"

#include <glib.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
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

// Why the file cannot be run as a program; empty when it can. The start needs to know beforehand: a
// file of an unknown format would be handed to the shell.
std::string whyNotExecutable(const fs::path& file) {
  struct stat status {};
  if (::stat(file.c_str(), &status) != 0)
    return systemError(file, errno);
  if (!S_ISREG(status.st_mode) || ::access(file.c_str(), X_OK) != 0)
    return systemError(file, EACCES);
  const int descriptor = ::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (descriptor < 0)
    return systemError(file, errno);
  std::array<char, 4> start{};
  const ssize_t got = ::read(descriptor, start.data(), start.size());
  ::close(descriptor);
  const bool known = (got == 4 && std::memcmp(start.data(), "\177ELF", 4) == 0) ||
                     (got >= 2 && std::memcmp(start.data(), "#!", 2) == 0);
  return known ? std::string() : systemError(file, ENOEXEC);
}

// Runs in the new process before the program does: nothing here may allocate or lock.
void leaveHost(gpointer) {
  ::setsid();
  struct sigaction action {};
  action.sa_handler = SIG_DFL;
  for (int signal = 1; signal < NSIG; ++signal)
    ::sigaction(signal, &action, nullptr);
  sigset_t none;
  ::sigemptyset(&none);
  ::sigprocmask(SIG_SETMASK, &none, nullptr);
}

std::string spawn(const fs::path& executable, const std::string& argument) {
  std::string program = executable.string();
  std::string copy = argument.c_str();
  const bool isText = g_utf8_validate(copy.c_str(), -1, nullptr);
  std::array<char*, 3> argv{program.data(), isText ? copy.data() : nullptr, nullptr};
  // Without descriptors of its own kept closed on exec, a child that another thread of the host
  // starts at this moment would hold this call up.
  const auto flags = static_cast<GSpawnFlags>(
      G_SPAWN_STDOUT_TO_DEV_NULL | G_SPAWN_STDERR_TO_DEV_NULL | G_SPAWN_CLOEXEC_PIPES);
  GError* error = nullptr;
  if (g_spawn_async("/", argv.data(), nullptr, flags, leaveHost, nullptr, nullptr, &error))
    return {};
  const std::string reason = error->message;
  g_error_free(error);
  return reason;
}

} // namespace

std::string run(const fs::path& bundle, const std::string& argument) {
  const fs::path name = executableOf(bundle);
  if (name != name.filename() || name == ".." || name == ".")
    return "CFBundleExecutable is no file name: " + name.string();
  const fs::path executable = bundle / "Contents" / "MacOS" / name;
  const std::string reason = whyNotExecutable(executable);
  return reason.empty() ? spawn(executable, argument) : reason;
}

} // namespace ApplicationStart
