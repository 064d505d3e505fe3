#pragma once

// Stands in for the system log in the program of the tests.

#include <string>
#include <vector>

namespace test {

struct SystemLogEntry {
  int priority;
  std::string message;
};

// Takes the next entries out, waiting until there are so many. Fails the test after a minute.
std::vector<SystemLogEntry> takeSystemLog(std::size_t count);

} // namespace test
