#include "Process.h"

#include "User.h"

#include <glib.h>
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

} // namespace test
