#include <gmock/gmock.h>

#include <cstdlib>
#include <iostream>

// A filter that matches no test is an error. A shard may be empty.
static int runTests() {
  const int status = RUN_ALL_TESTS();
  if (testing::GTEST_FLAG(list_tests) || std::getenv("GTEST_TOTAL_SHARDS") != nullptr ||
      testing::UnitTest::GetInstance()->test_to_run_count() > 0)
    return status;
  std::cerr << "No test matches the filter " << testing::GTEST_FLAG(filter) << '\n';
  return 1;
}

#ifdef __linux__
#include "Sandbox.h"

// The tests run in a sandbox. They can be listed without one.
int main(int argc, char** argv) try {
  testing::InitGoogleMock(&argc, argv);
  if (!testing::GTEST_FLAG(list_tests))
    test::Sandbox::enter();
  return runTests();
} catch (const std::exception& failure) {
  std::cerr << failure.what() << '\n';
  return 1;
}

#else
#include <filesystem>
#include <objc/runtime.h>

// Without a sandbox, the tests would look at an installed copy and start applications.
class Machine : public testing::Environment {
  void SetUp() override {
    if (std::filesystem::exists("/Applications/OrlixVDIPlugin.app"))
      GTEST_SKIP() << "/Applications/OrlixVDIPlugin.app is installed on this machine";
    const Class workspace = objc_getMetaClass("NSWorkspace");
    const SEL shared = sel_registerName("sharedWorkspace");
    const IMP none = reinterpret_cast<IMP>(+[](id, SEL) -> id { return nullptr; });
    ASSERT_NE(class_replaceMethod(workspace, shared, none, "@@:"), nullptr)
        << "nothing keeps the tests from starting applications";
  }
};

int main(int argc, char** argv) {
  testing::InitGoogleMock(&argc, argv);
  testing::AddGlobalTestEnvironment(new Machine);
  return runTests();
}

#endif
