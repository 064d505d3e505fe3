#pragma once

#include "Eventually.h"
#include "Home.h"
#include "HostProcess.h"
#include "HostState.h"
#include "Sandbox.h"
#include "SystemLog.h"

#include <gmock/gmock.h>

#include <optional>
#include <string>
#include <vector>

namespace test {

constexpr const char* SUCCESS = "launch app succeed";

// The system log's line for an executable that cannot be run.
std::string failure(const std::filesystem::path& executable, const std::string& reason);

// The entries whose names begin with the prefix.
HostState part(const HostState& state, const std::string& prefix);

// A machine with a home folder, an empty /Applications and a system log. At the end of each test
// every process that it started must have ended.
class EndToEnd : public testing::Test {
protected:
  EndToEnd();
  ~EndToEnd() override;

  void TearDown() override;

  // --- Copies of the plug-in, whose executable is the probe ---

  Copy makeCopy(const std::filesystem::path& dir, const std::string& version = "45.12.0.1") const;
  Copy makeCopy() const { return makeCopy(home.launcherFolder() / "copy"); }

  // Gives every user access to the home.
  void shareHome() const;

  // --- The host ---

  // The running host, which has loaded the launcher library. The first call starts it.
  HostProcess& host();

  // Gives the host a command that must succeed.
  void tell(const std::vector<std::string>& words);

  // Lets the host end; returns its status.
  int endHost();

  // One launch in that host: "returned 0", or which exception left the library.
  std::string launch(const std::vector<std::string>& arguments = {"launchermode"});

  // --- Outcome ---

  // Waits until the system log has the outcome of the only start so far, and the starting thread
  // has ended.
  std::string outcome();

  // Lets the host end, waits until every started process has ended and returns what the probes
  // among them reported.
  std::vector<HostState> reports();

  // The same for the only probe. The test fails when there is not exactly one.
  HostState report();

  // The lines of the launcher mode's log, without the time stamps.
  std::vector<std::string> launchLog() const { return readMessages(home.launchLog()); }

  Sandbox::ScopedApplications applications;
  ScopedHome home;
  ScopedEnvironment noUser{"USER", std::nullopt}; // the log would mask it
  ScopedEnvironment reportFolder{"PROBE_REPORTS", (home.path() / "reports").string()};
  std::optional<SystemLog> systemLog{std::in_place};

private:
  // Where sanitizers write what they find, since started applications have no standard streams.
  std::filesystem::path findings() const { return home.path() / "findings"; }

  // What hosts print.
  std::filesystem::path output() const { return home.path() / "output"; }

  ScopedEnvironment addressFindings;
  ScopedEnvironment undefinedFindings;
  std::filesystem::path folderBefore;
  std::optional<HostProcess> runningHost;
};

} // namespace test
