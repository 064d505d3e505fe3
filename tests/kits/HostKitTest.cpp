// The kit for hosts, with a fake launcher library.

#include "Fork.h"
#include "Home.h"
#include "Process.h"

#include <ThinClientLauncherHost.h>
#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <dlfcn.h>
#include <filesystem>
#include <new>
#include <pthread.h>
#include <string>
#include <thread>
#include <vector>

using namespace testing;

namespace {

using Launch = void (*)(int argc, char** argv);

std::array<char, 512> reason{};
std::vector<std::string> arguments;
int statusInside = -1;

int launch(const char* library = FAKE_LAUNCHER, const char* clientVersion = "45.12.0.1000") {
  reason.fill('x');
  return ThinClientLauncherHostLaunch(library, clientVersion, reason.data(), reason.size());
}

void noteArguments(int argc, char** argv) {
  arguments.assign(argv + 1, argv + argc);
  EXPECT_EQ(argv[argc], nullptr);
}

// Lets every launch do this.
void setLaunch(Launch action) {
  void* const library = ::dlopen(FAKE_LAUNCHER, RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(library, nullptr) << ::dlerror();
  *static_cast<Launch*>(::dlsym(library, "fakeLaunch")) = action;
}

class HostKit : public testing::Test {
protected:
  HostKit() { setLaunch(noteArguments); }
};

} // namespace

TEST_F(HostKit, PassesClientVersion) {
  EXPECT_EQ(launch(), THIN_CLIENT_LAUNCHER_HOST_RETURNED);
  EXPECT_THAT(arguments, testing::ElementsAre("launchermode", "45.12.0.1000"));
  EXPECT_THAT(reason.data(), testing::StrEq(""));
}

TEST_F(HostKit, PassesNoVersion) {
  EXPECT_EQ(launch(FAKE_LAUNCHER, nullptr), THIN_CLIENT_LAUNCHER_HOST_RETURNED);
  EXPECT_THAT(arguments, testing::ElementsAre("launchermode"));
}

TEST_F(HostKit, ReportsUnusableLibraries) {
  EXPECT_EQ(launch("/nowhere/library"), THIN_CLIENT_LAUNCHER_HOST_NOT_LOADED);
  EXPECT_THAT(reason.data(), HasSubstr("/nowhere/library"));
  for (const char* none : {static_cast<const char*>(nullptr), ""}) {
    EXPECT_EQ(launch(none), THIN_CLIENT_LAUNCHER_HOST_NOT_LOADED);
    EXPECT_THAT(reason.data(), testing::StrEq("no library is named"));
  }
  EXPECT_EQ(launch(ENTRYLESS_LIBRARY), THIN_CLIENT_LAUNCHER_HOST_NO_ENTRY_POINT);
  EXPECT_THAT(reason.data(), HasSubstr("ThinClientLauncherEntryPoint"));
}

TEST_F(HostKit, CatchesErrors) {
  setLaunch([](int, char**) {
    throw std::filesystem::filesystem_error(
        "cannot list", "/folder", std::make_error_code(std::errc::permission_denied));
  });
  EXPECT_EQ(launch(), THIN_CLIENT_LAUNCHER_HOST_FILE_SYSTEM_ERROR);
  EXPECT_THAT(reason.data(), AllOf(HasSubstr("cannot list"), HasSubstr("/folder")));
  setLaunch([](int, char**) { throw std::bad_alloc(); });
  EXPECT_EQ(launch(), THIN_CLIENT_LAUNCHER_HOST_FAILED);
  EXPECT_THAT(reason.data(), HasSubstr("bad_alloc"));
  setLaunch([](int, char**) { throw 1; });
  EXPECT_EQ(launch(), THIN_CLIENT_LAUNCHER_HOST_FAILED);
  EXPECT_THAT(reason.data(), HasSubstr("unknown type"));
}

TEST_F(HostKit, RefusesSecondCall) {
  setLaunch([](int, char**) {
    std::thread other([] { statusInside = launch(); });
    other.join();
  });
  EXPECT_EQ(launch(), THIN_CLIENT_LAUNCHER_HOST_RETURNED);
  EXPECT_EQ(statusInside, THIN_CLIENT_LAUNCHER_HOST_BUSY);
}

TEST_F(HostKit, AllowsNextCalls) {
  setLaunch([](int, char**) { throw 1; });
  launch();
  setLaunch(noteArguments);
  for (int calls = 0; calls < 2; ++calls)
    EXPECT_EQ(launch(), THIN_CLIENT_LAUNCHER_HOST_RETURNED);
}

// The call of that other process goes on there.
TEST_F(HostKit, AllowsCallInForkedProcess) {
  setLaunch([](int, char**) {
    test::inChildProcess([] {
      setLaunch(noteArguments);
      for (int calls = 0; calls < 2; ++calls)
        EXPECT_EQ(launch(), THIN_CLIENT_LAUNCHER_HOST_RETURNED);
    });
    statusInside = launch();
  });
  EXPECT_EQ(launch(), THIN_CLIENT_LAUNCHER_HOST_RETURNED);
  EXPECT_EQ(statusInside, THIN_CLIENT_LAUNCHER_HOST_BUSY);
}

TEST_F(HostKit, DefersCancellation) {
  setLaunch([](int, char**) {
    ::pthread_cancel(::pthread_self());
    ::pthread_testcancel();
    arguments.emplace_back("not cancelled");
  });
  arguments.clear();
  for (int type : {PTHREAD_CANCEL_DEFERRED, PTHREAD_CANCEL_ASYNCHRONOUS}) {
    const auto run = [](void* given) -> void* {
      ::pthread_setcanceltype(*static_cast<int*>(given), nullptr);
      launch();
      ::pthread_testcancel();
      return nullptr;
    };
    pthread_t thread{};
    ASSERT_EQ(::pthread_create(&thread, nullptr, run, &type), 0);
    void* result = nullptr;
    ::pthread_join(thread, &result);
    EXPECT_EQ(result, PTHREAD_CANCELED); // only after the call
  }
  EXPECT_THAT(arguments, testing::ElementsAre("not cancelled", "not cancelled"));
}

TEST_F(HostKit, CutsReason) {
  std::array<char, 5> text{'x', 'x', 'x', 'x', 'x'};
  ThinClientLauncherHostLaunch("/nowhere/library", "", text.data(), 4);
  EXPECT_THAT(std::string(text.data(), 5), testing::StrEq(std::string("/no\0x", 5)));
}

TEST_F(HostKit, NeedsNoText) {
  EXPECT_EQ(
      ThinClientLauncherHostLaunch("/nowhere/library", "", nullptr, 0),
      THIN_CLIENT_LAUNCHER_HOST_NOT_LOADED);
}

TEST_F(HostKit, ExportsItsInterface) {
  const test::Result result = test::run({{NM_PROGRAM, "-D", "--defined-only", "-j", HOST_KIT}});
  auto names = test::splitLines(result.out);
  names.erase(
      std::remove_if(
          names.begin(), names.end(), [](const auto& name) { return name.front() == '_'; }),
      names.end()); // the linker's own
  EXPECT_THAT(names, ElementsAre("ThinClientLauncherHostAwait", "ThinClientLauncherHostLaunch"));
}
