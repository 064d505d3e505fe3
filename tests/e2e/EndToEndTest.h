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

// A machine with a home folder, an empty /Applications and a system log. At the end of each test
// every process that it started must have ended.
class EndToEnd : public testing::Test {
protected:
  EndToEnd();
  ~EndToEnd() override;

  void TearDown() override;

  // --- Copies of the plug-in ---

  std::filesystem::path copyFolder(const std::string& name) const;

  // A copy in the launcher folder, or elsewhere, whose executable is the probe. Returns its folder.
  std::filesystem::path makeCopy(const std::string& name, const std::string& version);
  std::filesystem::path makeCopyIn(const std::filesystem::path& dir, const std::string& version);

  // --- The host ---

  // The running host, which has loaded the launcher library; started when there is none.
  HostProcess& host();

  // Lets it end; returns its wait status.
  int endHost();

  // One launch in that host: "returned 0", or what it was left with.
  std::string launch(const std::vector<std::string>& arguments);

  // Runs another program to its end; returns its wait status.
  int run(const std::filesystem::path& program, const std::vector<std::string>& arguments);

  // --- What came of it ---

  // Waits until the outcome of the only start so far stands in the system log, and no thread of it
  // is left.
  std::string outcome();

  // Lets the host end, waits until every started process has ended and returns what the probes
  // among them reported.
  std::vector<HostState> reports();

  // The lines of a log file, without the time stamps.
  std::vector<std::string> launchLog() const;
  std::vector<std::string> loadLog() const;

  Sandbox::ScopedApplications applications;
  ScopedHome home;
  ScopedEnvironment noUser{"USER", std::nullopt}; // which would be masked in the log
  ScopedEnvironment reportFolder{"PROBE_REPORTS", (home.path() / "reports").string()};
  std::optional<SystemLog> systemLog{std::in_place};

private:
  // Where sanitizers write what they find, since started applications have no standard streams.
  std::filesystem::path findings() const { return home.path() / "findings"; }

  // What hosts and programs print.
  std::filesystem::path output() const { return home.path() / "output"; }

  ScopedEnvironment addressFindings;
  ScopedEnvironment undefinedFindings;
  std::filesystem::path folderBefore;
  std::optional<HostProcess> runningHost;
};

} // namespace test
