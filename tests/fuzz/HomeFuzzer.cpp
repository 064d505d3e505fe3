// Whole launches in random homes: the right copy is chosen and its launch counted, the folders that
// must stay do, no more are removed than the rule says, and nothing outside the launcher folder and
// the log folder changes, except the records of a linked copy.

#include "FuzzCheck.h"
#include "Home.h"
#include "RandomHome.h"
#include "SystemLog.h"
#include "ThinClientLauncherBase.h"
#include "ThinClientLauncherEntryPoint.h"

#include <glib.h>

#include <algorithm>
#include <functional>
#include <map>
#include <optional>

namespace fs = std::filesystem;

// A fake of GLib's, which starts nothing: a random home has no program to run, and forking what a
// fuzzer has become takes longer than everything else.
extern "C" gboolean g_spawn_async(
    const gchar*, gchar**, gchar**, GSpawnFlags, GSpawnChildSetupFunc, gpointer, GPid*, GError**) {
  return TRUE;
}

namespace {

// This comparison has a fuzz target and an oracle of its own.
bool exceeds(const std::string& a, const std::string& b, std::uint32_t count) {
  return ThinClientLauncherBase::isGreaterVersion(a, b, count);
}

// The bytes of an input as numbers; zeros when they are used up.
test::RandomNumber numbersOf(const std::uint8_t* data, std::size_t size) {
  return [data, size](std::size_t limit) mutable {
    if (size == 0)
      return std::size_t{0};
    --size;
    return *data++ % limit;
  };
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

// Returns when the start of the application has ended too.
void launch(const std::string& clientVersion) {
  test::SystemLog systemLog;
  std::string mode = "launchermode";
  std::string client = clientVersion;
  std::string program = "host";
  char* arguments[] = {program.data(), mode.data(), client.data(), nullptr};
  FUZZ_CHECK(ThinClientLauncherEntryPoint(3, arguments) == 0);
  FUZZ_CHECK(systemLog.await(1).size() == 1);
}

using Entries = std::vector<test::RandomEntry>;

const test::RandomEntry& find(const test::RandomHome& home, const std::string& name) {
  return *std::find_if(home.entries.begin(), home.entries.end(), [&](const auto& entry) {
    return entry.name == name;
  });
}

bool isViable(const test::RandomEntry& entry) {
  const bool isJudged =
      entry.isMember && !entry.version.empty() && exceeds(entry.version, "45.10.0.32950", 4);
  return entry.hasBundle && !(isJudged && entry.launches >= 3 && !entry.startedSafely);
}

bool isCompatible(const test::RandomEntry& entry, const std::string& clientVersion) {
  return clientVersion.empty() || clientVersion == "1.0.0.1" ||
         (!entry.version.empty() && !exceeds(entry.version, clientVersion, 2));
}

test::RandomEntry best(const Entries& candidates) {
  test::RandomEntry best = candidates.front();
  std::string bestVersion = "0.0.0.0";
  for (const auto& candidate : candidates) {
    if (!candidate.version.empty() && exceeds(candidate.version, bestVersion, 4)) {
      best = candidate;
      bestVersion = candidate.version;
    }
  }
  return best;
}

// The copy that has to be started; nothing if there is none. The folders are those in the launcher
// folder, as they are listed.
std::optional<test::RandomEntry>
chosenIn(const test::RandomHome& home, const std::vector<fs::path>& folders) {
  Entries viable{home.inWorkingDirectory}, compatible;
  for (const auto& folder : folders)
    viable.push_back(find(home, folder.filename()));
  viable.erase(std::remove_if(viable.begin(), viable.end(), std::not_fn(isViable)), viable.end());
  for (const auto& entry : viable) {
    if (isCompatible(entry, home.clientVersion))
      compatible.push_back(entry);
  }
  return viable.empty() ? std::nullopt
                        : std::optional(best(compatible.empty() ? viable : compatible));
}

// Those that the clean-up may not remove: the chosen one, and every folder with fewer than two
// others that were launched at the same time or later.
void checkCleanUp(
    const test::RandomHome& home,
    const std::string& chosen,
    const std::vector<fs::path>& before,
    const std::vector<fs::path>& after) {
  const auto remains = [&](const std::string& name) {
    return std::find(after.begin(), after.end(), home.launcherDirectory / name) != after.end();
  };
  FUZZ_CHECK(remains(chosen));
  FUZZ_CHECK(after.size() == std::min<std::size_t>(before.size(), 3));
  for (const auto& entry : home.entries) {
    const auto later =
        std::count_if(home.entries.begin(), home.entries.end(), [&](const auto& other) {
          return &other != &entry && other.name != chosen && other.launchTime >= entry.launchTime;
        });
    FUZZ_CHECK(entry.name == chosen || later >= 2 || remains(entry.name));
  }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const fs::path directoryBefore = fs::current_path();
  const test::ScopedHome scope;
  const test::RandomHome home(numbersOf(data, size), scope.path());
  fs::current_path(home.workingDirectory);
  const auto outside = contentOf(scope.path() / "outside");
  const auto work = contentOf(scope.path() / "work");
  const auto folders = test::directoriesIn(home.launcherDirectory);
  const auto chosen = chosenIn(home, folders);

  launch(home.clientVersion);
  fs::current_path(directoryBefore);

  const auto remaining = test::directoriesIn(home.launcherDirectory);
  FUZZ_CHECK(contentOf(scope.path() / "outside") == outside);
  FUZZ_CHECK(contentOf(scope.path() / "work") == work);
  if (chosen && chosen->isMember) {
    const fs::path record = home.launcherDirectory / chosen->name / "launchCount.dat";
    FUZZ_CHECK(test::readFile(record) == std::to_string(chosen->launches + 1));
    checkCleanUp(home, chosen->name, folders, remaining);
  } else {
    FUZZ_CHECK(remaining == folders);
  }
  return 0;
}
