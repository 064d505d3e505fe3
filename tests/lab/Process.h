#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <vector>

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

// Runs a program to its end and captures what it prints. It gets no other descriptor of this
// process.
Result run(const Command& command);

// The lines in which strace tells the system calls that a program and its children make:
// "PID call(arguments) = result", with the path of each descriptor. Throws unless it ends
// with 0.
std::vector<std::string> systemCalls(Command command);

// What a program writes to a terminal of so many columns.
std::string runOnTerminal(const std::vector<std::string>& words, unsigned short columns);

} // namespace test
