#include "Home.h"
#include "LauncherHelper.h"
#include "Process.h"

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

// The password file knows nothing of this user.
TEST(HomeDirectory, MayBeMissing) {
  const test::ScopedDirectory folder;
  const test::Result result = test::run(
      {{"unshare", "--user", "--map-user=4000000", APPLICATION_PROGRAM, "loadmode"},
       folder.path(),
       {{"HOME", ""}, {"LOADER_OPERATIONS", "entry"}}});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_TRUE(fs::is_empty(folder.path())) << "a log in the working folder";
}
