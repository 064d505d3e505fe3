#pragma once

#include "HostState.h"

#include <filesystem>
#include <string>
#include <sys/types.h>
#include <vector>

namespace test {

// A running host program (programs/Host.cpp), given one command at a time.
class HostProcess {
public:
  // Starts the program; what it prints goes to the given file.
  HostProcess(const std::filesystem::path& program, const std::filesystem::path& output);
  ~HostProcess();
  HostProcess(const HostProcess&) = delete;
  HostProcess& operator=(const HostProcess&) = delete;

  // Sends one command and waits for the answer; empty when the host ended without one.
  std::string ask(const std::vector<std::string>& words);

  HostState describe();

  // Whether the launcher library, or any of that file name, is mapped into the host.
  bool hasLauncherMapped() const;

  int threads() const;

  pid_t id() const { return process; }

  // Lets the host end of itself and returns its wait status.
  int end();

private:
  pid_t process = -1;
  int commands = -1;
};

} // namespace test
