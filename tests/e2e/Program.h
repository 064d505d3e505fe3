#pragma once

#include <filesystem>
#include <string>
#include <sys/types.h>
#include <vector>

namespace test {

constexpr int INHERITED_DESCRIPTOR = 3;

// Starts a program with this process's environment and working folder. Its input is /dev/zero, its
// output is appended to a file; of this process's descriptors it gets the given one, if any, as
// INHERITED_DESCRIPTOR.
pid_t startProgram(
    const std::filesystem::path& program,
    std::vector<std::string> arguments,
    const std::filesystem::path& output,
    int inherited = -1);

// Waits for it to end; returns its wait status.
int waitForProgram(pid_t process);

} // namespace test
