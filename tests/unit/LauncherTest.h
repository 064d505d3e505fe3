#pragma once

#include "FileSystem.h"
#include "Logger.h"
#include "ThinClientLauncherBase.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

namespace test {

// "2026-03-07 14:05:09.007 "
constexpr std::size_t TIME_STAMP_LENGTH = 24;

// A home folder of its own, an open log in it and no login name to mask.
class LauncherTest : public testing::Test {
protected:
  LauncherTest() { Logger::open(logFile(), true); }
  ~LauncherTest() override { Logger::close(); }

  std::filesystem::path logFile() const { return home.path() / "test-log.txt"; }
  std::filesystem::path launcherFolder() const { return home.launcherFolder(); }

  // A sub-folder of the launcher folder that holds the bundle.
  std::filesystem::path makeCopy(const std::string& name, const std::string& version) const {
    makeBundle(launcherFolder() / name, version);
    return launcherFolder() / name;
  }

  static std::vector<std::string> messagesIn(const std::filesystem::path& log) {
    std::vector<std::string> messages;
    for (const auto& line : readLines(log)) {
      EXPECT_GE(line.size(), TIME_STAMP_LENGTH);
      messages.push_back(line.substr(std::min(line.size(), TIME_STAMP_LENGTH)));
    }
    return messages;
  }

  // What was logged so far, without the time stamps.
  std::vector<std::string> messages() const { return messagesIn(logFile()); }

  const ThinClientLauncherBase launcher{};
  ScopedHome home;
  ScopedEnvironment user{"USER", std::nullopt};
};

} // namespace test
