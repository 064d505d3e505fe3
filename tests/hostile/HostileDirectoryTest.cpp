// Folders that somebody else arranges, or rearranges while they are removed: nothing outside the
// launcher folder is ever lost.

#include "Home.h"
#include "ThinClientLauncherBase.h"

#include <gtest/gtest.h>

#include <csignal>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

constexpr int SWAPS = 10'000; // while a removal is under way; those in between do not count

class HostileDirectory : public testing::Test {
protected:
  HostileDirectory() {
    for (const auto& file : precious)
      test::writeFile(file, "precious");
  }
  ~HostileDirectory() override {
    for (const auto& file : precious)
      EXPECT_EQ(test::readFile(file), "precious") << file;
  }

  fs::path makeCopy(const std::string& name, int hoursAgo) const {
    return home.copy(name).launched(std::chrono::hours(hoursAgo));
  }

  const test::ScopedHome home;
  const fs::path outside = home.path() / "outside";
  const std::vector<fs::path> precious{
      outside / "file", outside / "folder" / "file", outside / "sub" / "inner" / "file"};
  const ThinClientLauncherBase launcher{};
};

TEST_F(HostileDirectory, LosesNoTargetOfLinks) {
  const fs::path launched = makeCopy("launched", 0);
  makeCopy("recent", 1);
  makeCopy("less recent", 2);
  fs::create_directory_symlink(outside, home.launcherDirectory() / "link");
  fs::create_directory_symlink(home.launcherDirectory(), makeCopy("old", 3) / "loop");
  fs::create_directory_symlink(outside, home.launcherDirectory() / "old" / "link");
  launcher.cleanUpLauncherDirectory(launched);
  EXPECT_FALSE(fs::exists(fs::symlink_status(home.launcherDirectory() / "link")));
  EXPECT_FALSE(fs::exists(home.launcherDirectory() / "old"));
  EXPECT_TRUE(fs::exists(home.launcherDirectory() / "less recent"));
}

// Another process that swaps two entries of a folder, again and again.
class Swapper {
public:
  Swapper(const fs::path& one, const fs::path& other)
      : count(static_cast<volatile int*>(::mmap(
            nullptr, sizeof(int), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0))),
        child(::fork()) {
    // Nothing but system calls in the child of what may be a threaded process.
    while (child == 0) {
      if (::renameat2(AT_FDCWD, one.c_str(), AT_FDCWD, other.c_str(), RENAME_EXCHANGE) == 0)
        *count = *count + 1;
    }
  }
  ~Swapper() {
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
    ::munmap(const_cast<int*>(count), sizeof(int));
  }
  Swapper(const Swapper&) = delete;
  Swapper& operator=(const Swapper&) = delete;

  // How many swaps happen meanwhile.
  template <typename Action>
  int during(Action action) const {
    const int before = *count;
    action();
    return *count - before;
  }

private:
  volatile int* count;
  pid_t child;
};

void fillDirectory(const fs::path& dir) {
  for (const char* name : {"file", "folder/file", "sub/inner/file"})
    test::writeFile(dir / name, "to be removed");
}

TEST_F(HostileDirectory, SurvivesSwappedSubFolder) {
  const fs::path copy = home.launcherDirectory() / "copy";
  const Swapper swapper(copy / "Contents", copy / "link");
  for (int swaps = 0; swaps < SWAPS;) {
    std::error_code ignored;
    fs::create_directories(copy, ignored);
    fs::create_directory_symlink(outside, copy / "link", ignored);
    // Filled elsewhere: in there the swapper may put the link under any name.
    fillDirectory(home.path() / "content");
    fs::rename(home.path() / "content", copy / "Contents", ignored);
    fs::remove_all(home.path() / "content", ignored);
    swaps += swapper.during([&] { ThinClientLauncherBase::removeDirectory(copy); });
  }
}

TEST_F(HostileDirectory, SurvivesSwappedCopy) {
  const fs::path launched = makeCopy("launched", 0);
  const Swapper swapper(home.launcherDirectory() / "copy", home.launcherDirectory() / "link");
  for (int swaps = 0; swaps < SWAPS;) {
    std::error_code ignored;
    fillDirectory(home.path() / "content");
    fs::rename(home.path() / "content", home.launcherDirectory() / "copy", ignored);
    fs::remove_all(home.path() / "content", ignored);
    fs::create_directory_symlink(outside, home.launcherDirectory() / "link", ignored);
    for (const char* name : {"kept 1", "kept 2"})
      makeCopy(name, 1);
    swaps += swapper.during([&] {
      // A folder that vanishes between two looks at it is an error that the host gets to see.
      try {
        launcher.cleanUpLauncherDirectory(launched);
      } catch (const fs::filesystem_error&) {
      }
    });
  }
  EXPECT_TRUE(fs::exists(launched));
}

} // namespace
