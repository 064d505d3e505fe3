// The same launches by the library for Linux and by the machine code of the library for macOS.

#include "FakePlatform.h"
#include "Home.h"
#include "RandomHome.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <dlfcn.h>
#include <malloc.h>
#include <random>
#include <set>
#include <utility>

namespace fs = std::filesystem;
namespace fake = test::FakePlatform;

namespace {

using EntryPoint = int (*)(int, char**);

// Loaded so that neither library finds the other's functions.
class Library {
public:
  explicit Library(const char* file) : handle(dlopen(file, RTLD_NOW | RTLD_LOCAL)) {
    if (handle == nullptr)
      throw std::runtime_error(dlerror());
  }
  ~Library() { dlclose(handle); }
  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;

  int call(std::vector<std::string> arguments) const {
    std::vector<char*> argv;
    for (std::string& argument : arguments)
      argv.push_back(argument.data());
    const auto entry = reinterpret_cast<EntryPoint>(dlsym(handle, "ThinClientLauncherEntryPoint"));
    return entry(static_cast<int>(argv.size()), argv.data());
  }

private:
  void* handle;
};

// What a launch left, by path: the messages of a log, the content of a file, the target of a link.
using Outcome = std::set<std::pair<std::string, std::vector<std::string>>>;

std::vector<std::string> contentOf(const fs::directory_entry& entry) {
  const fs::path& path = entry.path();
  if (entry.is_symlink())
    return {"link", fs::read_symlink(path)};
  if (entry.is_directory())
    return {"folder"};
  if (path.extension() == ".txt")
    return test::readMessages(path);
  const std::string content = test::readFile(path);
  const bool isTime = path.filename() == "launch.dat" && content.size() >= 10 &&
                      content.find_first_not_of("0123456789") == std::string::npos;
  return {"file", isTime ? "the present time" : content};
}

// One home at a time, under a path that only it has: Foundation remembers bundles by their path.
class Comparison : public testing::Test {
protected:
  ~Comparison() override { fake::reset(); } // the code of its handlers is still mapped

  // Lays the home of this number out, launches there and removes it.
  Outcome launch(const Library& library, unsigned number) {
    const fs::path folder = scratch.path() / std::to_string(number);
    const test::ScopedEnvironment home("HOME", folder), macHome("CFFIXED_USER_HOME", folder);
    std::mt19937 random(number);
    const test::RandomHome content([&](std::size_t limit) { return random() % limit; }, folder);
    comparable = std::none_of(content.entries.begin(), content.entries.end(), hasOtherName);

    fs::current_path(content.workingDirectory);
    EXPECT_EQ(library.call({"host", "launchermode", content.clientVersion}), 0);
    fs::current_path("/");

    log = test::readFile(folder / "Library/Logs/VantuOrlixVDI/vdi-launch-launchmode-log.txt");
    Outcome outcome;
    for (const auto& entry : fs::recursive_directory_iterator(folder))
      outcome.emplace(entry.path(), contentOf(entry));
    fs::remove_all(folder);
    return outcome;
  }

  // Returns whether the home could be compared.
  bool compare(unsigned number) {
    const Outcome expected = launch(linux, number);
    if (!comparable)
      return false;
    fake::reset();
    EXPECT_THAT(launch(macos, number), testing::ContainerEq(expected));
    checkStart();
    return true;
  }

  // In use after some launches, and as many in load mode.
  std::size_t bytesAfterLaunches() {
    const test::ScopedEnvironment home("CFFIXED_USER_HOME", scratch.path());
    for (unsigned number = 1; number <= 20; ++number) {
      fake::reset();
      launch(macos, number);
      fake::answerStart(std::nullopt);
      macos.call({"app", "loadmode"});
    }
    return mallinfo2().uordblks;
  }

private:
  // Foundation expresses no name that is not UTF-8; a Mac's file systems have none.
  static bool hasOtherName(const test::RandomEntry& entry) { return entry.name == "\xFF\xFE"; }

  // The logged choice is started; without one, a bundle in the working folder is.
  void checkStart() const {
    const auto starts = fake::calls("openApplicationAtURL: file ");
    ASSERT_EQ(starts.size(), 1U);
    const std::string end = "/OrlixVDIPlugin.app \"loadmode\"";
    ASSERT_THAT(starts[0], testing::EndsWith(end));
    const std::string folder = starts[0].substr(0, starts[0].size() - end.size());
    EXPECT_THAT(
        log,
        testing::AnyOf(
            testing::HasSubstr("Best candidate: " + folder + " (version: "),
            testing::HasSubstr("Best candidate:  (version: ")));
  }

  const test::ScopedDirectory scratch;
  const test::ScopedEnvironment user{"USER", "directory"}; // masked in many messages
  const Library linux{LAUNCHER_LIBRARY};
  const Library macos{MACHINE_CODE};

  // The last home.
  bool comparable = false;
  std::string log;
};

TEST_F(Comparison, RandomHomes) {
#ifdef __aarch64__ // in an emulator
  constexpr unsigned HOMES = 300;
#else
  constexpr unsigned HOMES = 2000;
#endif
  unsigned compared = 0;
  for (unsigned number = 1; compared < HOMES && !HasFailure(); ++number) {
    SCOPED_TRACE(number);
    compared += compare(number) ? 1 : 0;
  }
  EXPECT_EQ(compared, HOMES);
}

// A cache may grow now and then, and an allocation take some bytes more. What a launch loses, it
// loses each time.
TEST_F(Comparison, LeavesNoMemory) {
  std::size_t before = bytesAfterLaunches(), after = bytesAfterLaunches();
  for (int round = 0; round < 4 && after > before; ++round)
    before = std::exchange(after, bytesAfterLaunches());
  EXPECT_LE(after, before);
}

// --- Loading and unloading ---

bool isMapped(const void* address) {
  Dl_info info;
  return dladdr(address, &info) != 0;
}

TEST(Unloading, LeavesNothing) {
  void* const handle = dlopen(MACHINE_CODE, RTLD_NOW | RTLD_LOCAL);
  const void* const entry = dlsym(handle, "ThinClientLauncherEntryPoint");
  ASSERT_TRUE(isMapped(entry));
  EXPECT_EQ(dlclose(handle), 0);
  EXPECT_FALSE(isMapped(entry));
}

} // namespace
