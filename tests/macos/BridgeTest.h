#pragma once

#include "Home.h"

#include <filesystem>
#include <gmock/gmock.h>
#include <string>
#include <vector>

namespace test {

// Every test of the bridge starts with an empty home folder, in which Application Support exists,
// and with nothing recorded.
class BridgeTest : public testing::Test {
protected:
  BridgeTest();

  // The folders as GNUstep lays them out.
  static std::filesystem::path library();
  static std::filesystem::path applicationSupport();
  static std::filesystem::path launcherFolder();

  // A folder of this test's own: Foundation remembers bundles by their path.
  std::filesystem::path folder() const { return scratch.path(); }

private:
  ScopedFolder scratch;
};

// Lays out OrlixVDIPlugin.app in dir with this property list, where GNUstep looks for it.
void makeGnustepBundle(const std::filesystem::path& dir, const std::string& propertyList);

// The same with just a version.
void makeCopy(const std::filesystem::path& dir, const std::string& version);

// Opens the launcher's log for the length of the scope.
class OpenLog {
public:
  explicit OpenLog(std::filesystem::path file);
  ~OpenLog();
  OpenLog(const OpenLog&) = delete;
  OpenLog& operator=(const OpenLog&) = delete;

  std::vector<std::string> messages() const;

private:
  std::filesystem::path file;
};

// The messages of a log file, without their time stamps.
std::vector<std::string> messagesIn(const std::filesystem::path& logFile);

// Catches what NSLog writes during the scope.
class CapturedSystemLog {
public:
  CapturedSystemLog();
  ~CapturedSystemLog();
  CapturedSystemLog(const CapturedSystemLog&) = delete;
  CapturedSystemLog& operator=(const CapturedSystemLog&) = delete;

  // Without time, process and thread.
  std::vector<std::string> messages() const;

private:
  ScopedFolder folder;
  int standardError;
};

} // namespace test
