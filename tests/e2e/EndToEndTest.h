#pragma once

#include "Eventually.h"
#include "FakeSystem.h"
#include "Fork.h"
#include "Home.h"
#include "HostState.h"
#include "SystemLog.h"
#include "Threads.h"

#include <gmock/gmock.h>

#include <optional>
#include <string>
#include <vector>

namespace test {

constexpr const char* LAUNCHER_NAME = "libThinClientLauncher.dylib";
constexpr const char* SUCCESS = "launch app succeed";

// The system log's line for an executable that cannot be run.
std::string failure(const std::filesystem::path& executable, const std::string& reason);

// The entries whose names begin with the prefix.
HostState part(const HostState& state, const std::string& prefix);

// Opens some of every kind that an exec would pass on, one of them as descriptor 700.
void openDescriptors();

// A machine with a home folder, an empty /Applications and a system log. At the end of each test
// every process that it started must have ended.
class EndToEnd : public testing::Test {
protected:
  EndToEnd();
  ~EndToEnd() override;

  void TearDown() override;

  // --- Copies of the plug-in, whose executable is the probe ---

  Copy makeCopy(const std::filesystem::path& dir, const std::string& version = "45.12.0.1") const;
  Copy makeCopy() const { return makeCopy(home.launcherDirectory() / "copy"); }

  // A copy whose application carries the launcher library and a main library.
  Copy makeApplication() const;

  // --- The host: a child process, which loads the library by path and finds the entry by name ---

  // Runs the body in a host that has loaded the launcher library, and waits for its threads.
  static void inHost(const Body& body);

  // The same in a host whose user permissions bind, with the home as working folder. It has loaded
  // the library before: that user may be unable to reach it.
  void inUnprivilegedHost(const Body& body) const;

  // One launch in a host: "returned 0", or which exception left the library.
  static std::string launch(std::vector<std::string> arguments = {"launchermode"});

  // One launch, which returns once the start waits in its first call of this function.
  static void launchUntil(FakeSystem::Function& function);

  static void loadLibrary(const std::filesystem::path& file = LAUNCHER_LIBRARY);
  static void closeLibrary();

  // Waits until all threads that a host started have ended.
  static void awaitThreads();

  // --- Outcome ---

  // Waits until the system log has the outcome of the only start so far and, in a host, until the
  // worker thread has ended.
  std::string outcome();

  // Waits until every started process has ended. Returns how many failed.
  static int awaitProcesses();

  // The same; returns what the probes reported.
  std::vector<HostState> reports() const;

  // The same for the only probe. The test fails when there is not exactly one.
  HostState report() const;

  // The lines of the launcher mode's log, without the time stamps.
  std::vector<std::string> launchLog() const { return readMessages(home.launchLog()); }

  ScopedHome home;
  ScopedEnvironment noUser{"USER", std::nullopt}; // the log would mask it
  ScopedEnvironment reportDirectory{"PROBE_REPORTS", (home.path() / "reports").string()};
  std::optional<SystemLog> systemLog{std::in_place};

private:
  const std::filesystem::path directoryBefore = std::filesystem::current_path();
};

} // namespace test
