#include <gmock/gmock.h>

#ifdef __linux__
#include "Sandbox.h"

#include <iostream>

// The tests run in a sandbox. They can be listed without one.
int main(int argc, char** argv) try {
  testing::InitGoogleMock(&argc, argv);
  if (!testing::GTEST_FLAG(list_tests))
    test::Sandbox::enter();
  return RUN_ALL_TESTS();
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
  return RUN_ALL_TESTS();
}

#endif
