// Whole launches in random homes: the copy that must be chosen is, its launch is counted, the
// folders that must stay do, no more are removed than the rule says, and nothing outside the
// launcher folder and the log folder changes but the records of a linked copy.

#include "FuzzCheck.h"
#include "Home.h"
#include "RandomHome.h"
#include "ThinClientLauncherEntryPoint.h"

#include <glib.h>

#include <algorithm>
#include <map>
#include <semaphore.h>

namespace fs = std::filesystem;

static sem_t startReported;

// Stands in for GLib's: a random home has no program to run, and forking what a fuzzer has become
// takes longer than everything else.
extern "C" gboolean g_spawn_async(
    const gchar*,
    gchar**,
    gchar**,
    GSpawnFlags,
    GSpawnChildSetupFunc,
    gpointer,
    GPid*,
    GError** error) {
  g_set_error_literal(error, G_SPAWN_ERROR, G_SPAWN_ERROR_FAILED, "nothing is started here");
  return FALSE;
}

// Stands in for the C library's, to learn that the start is over.
extern "C" void syslog(int, const char*, ...) {
  sem_post(&startReported);
}

namespace {

std::vector<std::string> foldersIn(const fs::path& dir) {
  std::vector<std::string> names;
  if (!fs::exists(dir))
    return names;
  for (const auto& entry : fs::directory_iterator(dir)) {
    if (entry.is_directory())
      names.push_back(entry.path().filename());
  }
  return names;
}

// Everything below a folder but the records, links not followed.
std::map<std::string, std::string> contentOf(const fs::path& dir) {
  std::map<std::string, std::string> content;
  for (const auto& entry : fs::recursive_directory_iterator(dir)) {
    const std::string name = entry.path().filename();
    if (name == "launch.dat" || name == "launchCount.dat")
      continue;
    content[entry.path()] = entry.is_symlink()        ? "link"
                            : entry.is_regular_file() ? test::readFile(entry.path())
                                                      : "folder";
  }
  return content;
}

void launch(const std::string& clientVersion) {
  std::string mode = "launchermode";
  std::string client = clientVersion;
  std::string program = "host";
  char* arguments[] = {program.data(), mode.data(), client.data(), nullptr};
  FUZZ_CHECK(ThinClientLauncherEntryPoint(3, arguments) == 0);
  while (sem_wait(&startReported) != 0) {
  }
}

// Those that the clean-up may not remove: the chosen one, and every folder with fewer than two
// others that were launched at the same time or later.
void checkCleanUp(
    const RandomHome& home,
    const std::string& chosen,
    const std::vector<std::string>& before,
    const std::vector<std::string>& after) {
  const auto remains = [&](const std::string& name) {
    return std::find(after.begin(), after.end(), name) != after.end();
  };
  FUZZ_CHECK(remains(chosen));
  FUZZ_CHECK(after.size() == std::min<std::size_t>(before.size(), 3));
  for (const auto& copy : home.copies()) {
    const auto later =
        std::count_if(home.copies().begin(), home.copies().end(), [&](const RandomCopy& other) {
          return &other != &copy && other.name != chosen && other.launchTime >= copy.launchTime;
        });
    FUZZ_CHECK(copy.name == chosen || later >= 2 || remains(copy.name));
  }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const fs::path before = fs::current_path();
  const test::ScopedHome scope;
  sem_init(&startReported, 0, 0);
  Bytes bytes(data, size);
  const RandomHome home(bytes, scope.path());
  fs::current_path(home.workFolder());
  const auto outside = contentOf(scope.path() / "outside");
  const auto work = contentOf(home.workFolder());
  const auto folders = foldersIn(scope.launcherFolder());
  const auto chosen = home.chosenInLauncherFolder(folders);

  launch(home.clientVersion());
  fs::current_path(before);

  const auto remaining = foldersIn(scope.launcherFolder());
  FUZZ_CHECK(contentOf(scope.path() / "outside") == outside);
  FUZZ_CHECK(contentOf(scope.path() / "work") == work);
  if (chosen) {
    const fs::path record = scope.launcherFolder() / *chosen / "launchCount.dat";
    FUZZ_CHECK(test::readFile(record) == std::to_string(home.find(*chosen)->launches + 1));
    checkCleanUp(home, *chosen, folders, remaining);
  } else {
    FUZZ_CHECK(remaining == folders);
  }
  return 0;
}
