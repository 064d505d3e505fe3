#include "SystemLogStandIn.h"

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <cstdarg>
#include <cstdio>
#include <mutex>

namespace test {

namespace {

struct SystemLog {
  std::mutex mutex;
  std::condition_variable changed;
  std::vector<SystemLogEntry> entries;
};

// Never destroyed: a thread may log while the process ends.
SystemLog& systemLog() {
  static SystemLog& log = *new SystemLog;
  return log;
}

void record(int priority, const char* format, std::va_list arguments) {
  char message[4096];
  std::vsnprintf(message, sizeof message, format, arguments);
  const std::lock_guard<std::mutex> lock(systemLog().mutex);
  systemLog().entries.push_back({priority, message});
  systemLog().changed.notify_all();
}

} // namespace

std::vector<SystemLogEntry> takeSystemLog(std::size_t count) {
  SystemLog& log = systemLog();
  std::unique_lock<std::mutex> lock(log.mutex);
  EXPECT_TRUE(log.changed.wait_for(
      lock, std::chrono::minutes(1), [&] { return log.entries.size() >= count; }))
      << "only " << log.entries.size() << " entries in the system log";
  return std::exchange(log.entries, {});
}

} // namespace test

extern "C" void syslog(int priority, const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  test::record(priority, format, arguments);
  va_end(arguments);
}

// What syslog becomes where the compiler is told to fortify.
extern "C" void __syslog_chk(int priority, int, const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  test::record(priority, format, arguments);
  va_end(arguments);
}
