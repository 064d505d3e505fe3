#include <gmock/gmock.h>

#include <filesystem>
#include <vector>

#ifdef __linux__
#include "Sandbox.h"

// Runs the tests in a sandbox. They can be listed without one.
int main(int argc, char** argv) {
  std::vector<char*> arguments(argv, argv + argc + 1); // before GoogleTest removes its own
  testing::InitGoogleMock(&argc, argv);
  if (!testing::GTEST_FLAG(list_tests) && !test::Sandbox::isInside())
    return test::Sandbox::runInside(arguments.data());
  return RUN_ALL_TESTS();
}

#else

// Without a sandbox, the tests would look at an installed copy, and start it.
class NoInstalledCopy : public testing::Environment {
  void SetUp() override {
    if (std::filesystem::exists("/Applications/OrlixVDIPlugin.app"))
      GTEST_SKIP() << "/Applications/OrlixVDIPlugin.app is installed on this machine";
  }
};

int main(int argc, char** argv) {
  testing::InitGoogleMock(&argc, argv);
  testing::AddGlobalTestEnvironment(new NoInstalledCopy);
  return RUN_ALL_TESTS();
}

#endif
