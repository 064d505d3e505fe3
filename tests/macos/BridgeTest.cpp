#include "BridgeTest.h"

#include "Logger.h"
#include "PlatformCalls.h"
#include "RecordingWorkspace.h"

#include <cstdlib>
#include <fcntl.h>
#include <spawn.h>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace test {

constexpr const char* HOME_VARIABLE = "MACOS_BRIDGE_TEST_HOME";

static fs::path home() {
  return std::getenv(HOME_VARIABLE);
}

// GNUstep takes the places of the user's folders from a file, which it reads before main. A launch
// without any candidate leaves records in the working folder.
static int runAgainInScopedHome(char** argv) {
  const ScopedFolder folder;
  const fs::path configuration = folder.path() / "GNUstep.conf";
  writeFile(
      configuration,
      "GNUSTEP_USER_DIR_LIBRARY=" + (folder.path() / "Library").string() +
          "\nGNUSTEP_USER_DEFAULTS_DIR=" + (folder.path() / "Defaults").string() + "\n");
  setenv("GNUSTEP_CONFIG_FILE", configuration.c_str(), 1);
  setenv(HOME_VARIABLE, folder.path().c_str(), 1);
  fs::current_path(folder.path());
  pid_t child = 0;
  int status = 0;
  if (posix_spawn(&child, "/proc/self/exe", nullptr, nullptr, argv, environ) != 0 ||
      waitpid(child, &status, 0) != child)
    return EXIT_FAILURE;
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

BridgeTest::BridgeTest() {
  fs::remove_all(library());
  fs::create_directories(applicationSupport());
  resetPlatformCalls();
  resetWorkspace();
  unsetenv("PROBE_MAIN");
  unsetenv("PROBE_LAUNCHER");
}

fs::path BridgeTest::library() {
  return home() / "Library";
}

fs::path BridgeTest::applicationSupport() {
  return library() / "ApplicationSupport";
}

fs::path BridgeTest::launcherFolder() {
  return applicationSupport() / "VantuOrlixVDILauncher";
}

void makeGnustepBundle(const fs::path& dir, const std::string& propertyList) {
  writeFile(dir / "OrlixVDIPlugin.app" / "Resources" / "Info.plist", propertyList);
}

void makeCopy(const fs::path& dir, const std::string& version) {
  makeGnustepBundle(dir, propertyList({{"CFBundleShortVersionString", version}}));
}

OpenLog::OpenLog(fs::path logFile) : file(std::move(logFile)) {
  Logger::open(file, true);
}

OpenLog::~OpenLog() {
  Logger::close();
}

std::vector<std::string> OpenLog::messages() const {
  return messagesIn(file);
}

std::vector<std::string> messagesIn(const fs::path& logFile) {
  std::vector<std::string> messages = readLines(logFile);
  for (std::string& line : messages)
    line.erase(0, std::string("2026-03-07 14:05:09.007 ").size());
  return messages;
}

CapturedSystemLog::CapturedSystemLog() : standardError(dup(STDERR_FILENO)) {
  const int file = open((folder.path() / "log").c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
  if (standardError < 0 || file < 0 || dup2(file, STDERR_FILENO) < 0)
    throw std::runtime_error("cannot capture the standard error stream");
  close(file);
}

CapturedSystemLog::~CapturedSystemLog() {
  dup2(standardError, STDERR_FILENO);
  close(standardError);
}

// A line reads like 2026-03-07 14:05:09.007 name[12:34] text.
std::vector<std::string> CapturedSystemLog::messages() const {
  std::vector<std::string> messages = readLines(folder.path() / "log");
  for (std::string& line : messages)
    line.erase(0, line.find("] ") + 2);
  return messages;
}

} // namespace test

// GNUstep never frees some objects of its own, nor the runtime its tables of classes.
extern "C" const char* __lsan_default_suppressions() {
  return "leak:libobjc\nleak:libgnustep-base";
}

int main(int argc, char** argv) {
  if (std::getenv(test::HOME_VARIABLE) == nullptr)
    return test::runAgainInScopedHome(argv);
  testing::InitGoogleMock(&argc, argv);
  return RUN_ALL_TESTS();
}
