#pragma once

#include "GroupedDigits.h"
#include "Home.h"
#include "LauncherHelper.h"
#include "Logger.h"
#include "ThinClientLauncherBase.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <string>
#include <sys/stat.h>
#include <vector>

// At the start of a test for which a Mac lacks something.
#ifdef __linux__
#define NEEDS_LINUX(reason)
#else
#define NEEDS_LINUX(reason) GTEST_SKIP() << "it needs Linux: " << (reason)
#endif

namespace test {

// A home folder of its own, an open log in it and no login name to mask. The host's locale groups
// digits: versions, records and log lines keep their form.
class LauncherTest : public testing::Test {
protected:
  LauncherTest() { Logger::open(logFile(), true); }
  ~LauncherTest() override {
    Logger::close();
    std::locale::global(localeBefore);
  }

  // On a Mac, Foundation names the home folder. No test goes on in the user's own.
  void SetUp() override { ASSERT_EQ(LauncherHelper::getLogPath(), home.logDirectory()); }

  std::filesystem::path logFile() const { return home.path() / "test-log.txt"; }
  std::filesystem::path launcherDirectory() const { return home.launcherDirectory(); }

  // What was logged so far, without the time stamps.
  std::vector<std::string> messages() const { return readMessages(logFile()); }

  void emptyLog() const {
    Logger::close();
    Logger::open(logFile(), true);
  }

  // Whatever lies at a place counts as being there, but for a link to nothing.
  template <typename Condition>
  void expectAnyEntryCounts(const std::filesystem::path& place, Condition counts) const {
    const auto target = home.path() / "target";
    EXPECT_FALSE(counts()) << "nothing";
    writeFile(place, "");
    EXPECT_TRUE(counts()) << "file";
    std::filesystem::remove(place);
    std::filesystem::create_directory(place);
    EXPECT_TRUE(counts()) << "folder";
    std::filesystem::remove(place);
    ASSERT_EQ(::mkfifo(place.c_str(), 0666), 0);
    EXPECT_TRUE(counts()) << "pipe";
    std::filesystem::remove(place);
    std::filesystem::create_symlink(target, place);
    EXPECT_FALSE(counts()) << "dangling link";
    writeFile(target, "");
    EXPECT_TRUE(counts()) << "link";
  }

  const ThinClientLauncherBase launcher{};
  ScopedHome home;
  ScopedEnvironment user{"USER", std::nullopt};

private:
  const std::locale localeBefore =
      std::locale::global(std::locale(std::locale(), new GroupedDigits));
};

} // namespace test
