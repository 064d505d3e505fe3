#include "Process.h"

#include "User.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <glib.h>
#include <memory>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

namespace test {

namespace {

int statusOf(int waitStatus) {
  return WIFEXITED(waitStatus) ? WEXITSTATUS(waitStatus) : 128 + WTERMSIG(waitStatus);
}

void throwOnError(GError* error) {
  if (error == nullptr)
    return;
  const std::string message = error->message;
  g_error_free(error);
  throw std::runtime_error(message);
}

// These run in the child, between fork and exec.

// Without a function to run, GLib uses posix_spawn, which leaves an internal signal ignored.
void doNothing(gpointer) {}

void dropPrivileges(gpointer) {
  if (!becomeUnprivileged())
    ::_exit(126);
}

// A command in the form that GLib takes.
struct Spawn {
  explicit Spawn(const Command& command)
      : folder(command.workingDirectory.string()), environment(g_get_environ(), g_strfreev),
        setup(command.unprivileged ? dropPrivileges : doNothing) {
    for (const auto& word : command.words)
      argv.push_back(const_cast<char*>(word.c_str()));
    argv.push_back(nullptr);
    for (const auto& [name, value] : command.environment)
      environment.reset(g_environ_setenv(environment.release(), name.c_str(), value.c_str(), TRUE));
  }

  const char* workingDirectory() const { return folder.empty() ? nullptr : folder.c_str(); }

  std::string folder;
  std::vector<char*> argv;
  std::unique_ptr<char*, decltype(&g_strfreev)> environment;
  GSpawnChildSetupFunc setup;
};

std::string taken(gchar* text) {
  const std::string copy = text == nullptr ? "" : text;
  g_free(text);
  return copy;
}

} // namespace

Result run(const Command& command) {
  Spawn spawn(command);
  gchar* out = nullptr;
  gchar* err = nullptr;
  int status = 0;
  GError* error = nullptr;
  g_spawn_sync(
      spawn.workingDirectory(),
      spawn.argv.data(),
      spawn.environment.get(),
      G_SPAWN_SEARCH_PATH,
      spawn.setup,
      nullptr,
      &out,
      &err,
      &status,
      &error);
  throwOnError(error);
  return {statusOf(status), taken(out), taken(err)};
}

pid_t start(const Command& command, const std::filesystem::path& output, int inherited) {
  Spawn spawn(command);
  const int input = ::open("/dev/zero", O_RDONLY | O_CLOEXEC);
  const int printed = ::open(output.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
  const int target = INHERITED_DESCRIPTOR;
  pid_t process = -1;
  GError* error = nullptr;
  g_spawn_async_with_pipes_and_fds(
      spawn.workingDirectory(),
      spawn.argv.data(),
      spawn.environment.get(),
      GSpawnFlags(G_SPAWN_SEARCH_PATH | G_SPAWN_DO_NOT_REAP_CHILD),
      spawn.setup,
      nullptr,
      input,
      printed,
      printed,
      &inherited,
      &target,
      inherited < 0 ? 0 : 1,
      &process,
      nullptr,
      nullptr,
      nullptr,
      &error);
  ::close(input);
  ::close(printed);
  throwOnError(error);
  return process;
}

int waitFor(pid_t process) {
  int status = 0;
  while (::waitpid(process, &status, 0) < 0) {
    if (errno != EINTR)
      throw std::runtime_error("no such child process");
  }
  return statusOf(status);
}

} // namespace test
