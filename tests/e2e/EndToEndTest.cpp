#include "EndToEndTest.h"

#include "Sandbox.h"

#include <array>
#include <cerrno>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace test {

std::string failure(const fs::path& executable, const std::string& reason) {
  return "Failed to run the app: " + executable.string() + ": " + reason;
}

HostState part(const HostState& state, const std::string& prefix) {
  HostState found;
  for (const auto& [name, value] : state) {
    if (name.compare(0, prefix.size(), prefix) == 0)
      found.emplace(name, value);
  }
  return found;
}

void openDescriptors() {
  std::array<int, 2> ends{};
  EXPECT_GE(::open("/proc/self/exe", O_RDONLY), 0);
  EXPECT_EQ(::pipe(ends.data()), 0);
  EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM, 0, ends.data()), 0);
  EXPECT_EQ(::dup2(ends[0], 700), 700);
}

EndToEnd::EndToEnd() {
  Sandbox::emptyApplications();
  // The started applications have no parent: they become children of this process, which can wait
  // for them.
  ::prctl(PR_SET_CHILD_SUBREAPER, 1);
  for (const char* folder : {"work", "reports"})
    fs::create_directory(home.path() / folder);
  fs::current_path(home.path() / "work");
}

EndToEnd::~EndToEnd() {
  fs::current_path(directoryBefore);
}

void EndToEnd::TearDown() {
  awaitProcesses();
}

Copy EndToEnd::makeCopy(const fs::path& dir, const std::string& version) const {
  return Copy(dir, version).executable(PROBE_PROGRAM);
}

Copy EndToEnd::makeApplication() const {
  const Copy copy = makeCopy().executable(APPLICATION_PROGRAM);
  const fs::path frameworks = frameworksIn(copy);
  fs::create_directories(frameworks);
  fs::copy_file(LAUNCHER_LIBRARY, frameworks / LAUNCHER_NAME);
  fs::copy_file(MAIN_LIBRARY, frameworks / "libnexal_vdi_main.dylib");
  return copy;
}

static void* library = nullptr;

void EndToEnd::loadLibrary(const fs::path& file) {
  library = ::dlopen(file.c_str(), RTLD_NOW | RTLD_GLOBAL);
  ASSERT_NE(library, nullptr) << ::dlerror();
}

void EndToEnd::closeLibrary() {
  EXPECT_EQ(::dlclose(library), 0) << ::dlerror();
}

void EndToEnd::awaitThreads() {
  EXPECT_TRUE(eventually([] { return countThreads() == 1; })) << "a start does not end";
}

void EndToEnd::inHost(const Body& body) {
  inChildProcess([&] {
    noteThreadsAtRest();
    FakeSystem::thread.calls = 0;
    loadLibrary();
    body();
    awaitThreads();
  });
}

void EndToEnd::inUnprivilegedHost(const Body& body) const {
  inHost([&] {
    asUnprivilegedUser(home.path(), [&] {
      noteThreadsAtRest();
      body();
      awaitThreads();
    });
  });
}

std::string EndToEnd::launch(std::vector<std::string> arguments) {
  using EntryPoint = int (*)(int, char**);
  const auto entry = reinterpret_cast<EntryPoint>(::dlsym(library, "ThinClientLauncherEntryPoint"));
  std::string program = "host";
  std::vector<char*> argv{program.data()};
  for (auto& argument : arguments)
    argv.push_back(argument.data());
  const auto argc = static_cast<int>(argv.size());
  argv.push_back(nullptr);
  try {
    return "returned " + std::to_string(entry(argc, argv.data()));
  } catch (const fs::filesystem_error& failure) {
    return "filesystem_error " + failure.code().message();
  }
}

void EndToEnd::launchUntil(FakeSystem::Function& function) {
  function.calls = 0;
  function.answer = FakeSystem::Answer::LATER;
  EXPECT_EQ(launch(), "returned 0");
  ASSERT_TRUE(eventually([&] { return function.calls == 1; }));
}

std::string EndToEnd::outcome() {
  const auto messages = systemLog->awaitMessages(1);
  awaitThreads();
  return messages.size() == 1 ? messages[0] : std::to_string(messages.size()) + " messages";
}

int EndToEnd::awaitProcesses() {
  int failures = 0;
  EXPECT_TRUE(eventually([&] {
    int status = 0;
    pid_t ended = 0;
    while ((ended = ::waitpid(-1, &status, WNOHANG)) > 0)
      failures += status != 0;
    return ended < 0 && errno == ECHILD;
  })) << "a process is left";
  return failures;
}

std::vector<HostState> EndToEnd::reports() const {
  awaitProcesses();
  std::vector<HostState> all;
  for (const auto& entry : fs::directory_iterator(home.path() / "reports"))
    all.push_back(fromText(readFile(entry.path())));
  return all;
}

HostState EndToEnd::report() const {
  const auto all = reports();
  EXPECT_EQ(all.size(), 1U);
  return all.size() == 1 ? all[0] : HostState();
}

} // namespace test
