#include "Home.h"
#include "LauncherHelper.h"

#include <gtest/gtest.h>

#include <pwd.h>
#include <unistd.h>

namespace fs = std::filesystem;

// Where a Linux user's Library lies.

TEST(HomeDirectory, ComesFromEnvironment) {
  for (const char* folder : {"/home/alice", "/home/alice/", "/"}) {
    const test::ScopedEnvironment home("HOME", folder);
    EXPECT_EQ(LauncherHelper::getLogPath(), fs::path(folder) / "Library" / "Logs/VantuOrlixVDI");
  }
}

TEST(HomeDirectory, ComesFromPasswordFile) {
  const fs::path expected = ::getpwuid(::geteuid())->pw_dir;
  const std::optional<std::string> none[] = {std::nullopt, "", "relative", "./relative", "~"};
  for (const auto& value : none) {
    const test::ScopedEnvironment home("HOME", value);
    EXPECT_EQ(LauncherHelper::getLogPath(), expected / "Library" / "Logs/VantuOrlixVDI");
  }
}
