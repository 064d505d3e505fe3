#pragma once

#include <string>
#include <vector>

namespace test {

// The daemon of the system log, in the private /dev: what processes write with syslog(3) arrives
// here. Without one of these, nobody listens.
class SystemLog {
public:
  struct Entry {
    int priority;     // facility and level, as syslog(3) takes them
    std::string name; // of the program
    std::string message;
  };

  SystemLog();
  ~SystemLog();
  SystemLog(const SystemLog&) = delete;
  SystemLog& operator=(const SystemLog&) = delete;

  // Waits until this many entries arrived, in all, and returns all that did.
  const std::vector<Entry>& await(std::size_t count);

  // The same, the messages alone.
  std::vector<std::string> awaitMessages(std::size_t count);

  // Until drained by the next await, every process that writes to the log is held up.
  void stall();

private:
  bool receive();

  int listener;
  std::vector<Entry> entries;
};

} // namespace test
