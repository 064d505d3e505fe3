#include "Process.h"

#include "Home.h"
#include "User.h"

#include <fcntl.h>
#include <glib.h>
#include <pty.h>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

namespace test {

namespace {

// In the child, between fork and exec.
void dropPrivileges(gpointer) {
  if (!becomeUnprivileged())
    ::_exit(126);
}

std::vector<char*> pointersTo(const std::vector<std::string>& words) {
  std::vector<char*> pointers;
  for (const auto& word : words)
    pointers.push_back(const_cast<char*>(word.c_str()));
  pointers.push_back(nullptr);
  return pointers;
}

gchar** environmentOf(const Command& command) {
  gchar** environment = g_get_environ();
  for (const auto& [name, value] : command.environment)
    environment = g_environ_setenv(environment, name.c_str(), value.c_str(), TRUE);
  return environment;
}

} // namespace

Result run(const Command& command) {
  g_auto(GStrv) environment = environmentOf(command);
  const std::string& folder = command.workingDirectory.native();
  g_autofree gchar* out = nullptr;
  g_autofree gchar* err = nullptr;
  g_autoptr(GError) error = nullptr;
  int status = 0;
  if (!g_spawn_sync(
          folder.empty() ? nullptr : folder.c_str(),
          pointersTo(command.words).data(),
          environment,
          G_SPAWN_SEARCH_PATH,
          command.unprivileged ? dropPrivileges : nullptr,
          nullptr,
          &out,
          &err,
          &status,
          &error))
    throw std::runtime_error(error->message);
  return {WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status), out, err};
}

std::vector<std::string> systemCalls(Command command) {
  const ScopedDirectory folder;
  const std::filesystem::path trace = folder.path() / "trace";
  command.words.insert(command.words.begin(), {"strace", "-f", "-y", "-qq", "-o", trace});
  command.environment["ASAN_OPTIONS"] = "detect_leaks=0"; // which cannot work under a tracer
  const Result result = run(command);
  const auto calls = readLines(trace);
  if (result.status != 0 || calls.empty())
    throw std::runtime_error("not traced to its end: " + result.err);
  return calls;
}

std::string runOnTerminal(const std::vector<std::string>& words, unsigned short columns) {
  const winsize size{24, columns, 0, 0};
  int terminal = -1, stream = -1;
  ::openpty(&terminal, &stream, nullptr, nullptr, &size);
  ::fcntl(terminal, F_SETFL, O_NONBLOCK);
  const pid_t child = ::fork();
  if (child == 0) {
    for (const int standard : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
      ::dup2(stream, standard);
    ::execv(words[0].c_str(), pointersTo(words).data());
    ::_exit(127);
  }
  std::string text;
  char buffer[4096];
  // What was written before the end is read after it, while the other side is still open.
  for (bool hasEnded = false; !hasEnded; ::usleep(1000)) {
    hasEnded = ::waitpid(child, nullptr, WNOHANG) == child;
    for (ssize_t got; (got = ::read(terminal, buffer, sizeof buffer)) > 0;)
      text.append(buffer, static_cast<std::size_t>(got));
  }
  ::close(stream);
  ::close(terminal);
  return text;
}

} // namespace test
