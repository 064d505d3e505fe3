#pragma once

#include "FakePlatform.h"
#include "Home.h"

#include <filesystem>
#include <gmock/gmock.h>
#include <string>
#include <vector>

namespace test {

// Every test of the bridge starts with an empty home folder, in which Application Support exists,
// and with no calls noted.
class BridgeTest : public testing::Test {
protected:
  BridgeTest();

  // The folders as GNUstep lays them out.
  static std::filesystem::path library();
  static std::filesystem::path applicationSupport();
  static std::filesystem::path launcherDirectory();

  // A folder of this test's own, with an executable beside an empty Frameworks folder: Foundation
  // remembers bundles by their path, the loader libraries.
  const std::filesystem::path& folder() const { return scratch.path(); }
  std::filesystem::path frameworks() const { return folder() / "App.app/Contents/Frameworks"; }

  // What the libraries of the tests recorded about their calls.
  std::vector<std::string> record() const { return readLines(folder() / "record"); }

  // The messages in the log of this mode.
  static std::vector<std::string> log(const std::string& mode) {
    return readMessages(library() / "Logs/VantuOrlixVDI" / ("vdi-launch-" + mode + "-log.txt"));
  }

  // Calls an entry function with these arguments.
  template <typename Function>
  static auto enter(Function function, std::vector<std::string> arguments) {
    std::vector<char*> argv;
    for (std::string& argument : arguments)
      argv.push_back(argument.data());
    argv.push_back(nullptr);
    return function(static_cast<int>(arguments.size()), argv.data());
  }

private:
  ScopedDirectory scratch;
  ScopedEnvironment user{"USER", std::nullopt}; // the log would mask it
};

} // namespace test
