#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace test {

struct ChildProcess {
  std::vector<std::string> command; // the program by path, or by name to look for
  std::filesystem::path workingDirectory = "/";
  std::map<std::string, std::string> environment = {}; // added to the test's own
  bool unprivileged = false; // as the user "nobody", where the test runs as root
  std::string output = {};   // a file for the standard output; empty: it is captured
};

struct Result {
  int status = -1; // exit status; 128 and more: ended by a signal
  std::string out;
  std::string err;
};

// Runs the process to its end; without descriptors of the test but the standard ones.
Result run(const ChildProcess& process);

} // namespace test
