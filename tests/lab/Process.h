#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <sys/types.h>
#include <vector>

// Runs programs. They get none of this process's descriptors but those named here.

namespace test {

struct Command {
  std::vector<std::string> words;              // the program, by path or by name, and its arguments
  std::filesystem::path workingDirectory = {}; // empty: this process's own
  std::map<std::string, std::string> environment = {}; // added to this process's own
  bool unprivileged = false; // as the user "nobody", if this process is root's
};

struct Result {
  int status = -1; // exit status, or 128 plus the signal that ended it
  std::string out;
  std::string err;
};

// Runs a program to its end and captures what it prints.
Result run(const Command& command);

constexpr int INHERITED_DESCRIPTOR = 3;

// Starts a program. Its input is /dev/zero, and what it prints is appended to a file. It gets the
// given descriptor, if any, as INHERITED_DESCRIPTOR.
pid_t start(const Command& command, const std::filesystem::path& output, int inherited = -1);

// Waits until a started program has ended; returns its status.
int waitFor(pid_t process);

} // namespace test
