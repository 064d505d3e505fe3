#pragma once

#include <string>
#include <vector>

namespace test {

// A fake daemon of the system log, at the sandbox's own /dev/log: receives what processes write
// with syslog(3). Without it, nothing listens there.
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

  // Waits until this many entries have arrived in all. Returns all that have.
  const std::vector<Entry>& await(std::size_t count);

  // The same, but only the messages.
  std::vector<std::string> awaitMessages(std::size_t count);

  // Blocks every process that writes to the log, until the next await.
  void stall();

private:
  bool receive();

  int listener;
  std::vector<Entry> entries;
};

} // namespace test
