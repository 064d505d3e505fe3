#include "SleepStandIn.h"

#include <cerrno>
#include <ctime>
#include <sys/syscall.h>
#include <unistd.h>

namespace test {

std::vector<std::chrono::nanoseconds>& sleepRequests() {
  thread_local std::vector<std::chrono::nanoseconds> requests;
  return requests;
}

std::function<void()>& duringFixedPause() {
  static std::function<void()> action;
  return action;
}

// Whether the request is done with.
static bool standInFor(const timespec& duration) {
  const auto requested =
      std::chrono::seconds(duration.tv_sec) + std::chrono::nanoseconds(duration.tv_nsec);
  sleepRequests().push_back(requested);
  if (requested != FIXED_PAUSE)
    return false;
  if (duringFixedPause())
    duringFixedPause()();
  return true;
}

static int sleepReally(clockid_t clock, int flags, const timespec* duration, timespec* rest) {
  return ::syscall(SYS_clock_nanosleep, clock, flags, duration, rest) == 0 ? 0 : errno;
}

} // namespace test

// The two calls through which the standard libraries sleep.

extern "C" int nanosleep(const timespec* duration, timespec* rest) {
  if (test::standInFor(*duration))
    return 0;
  errno = test::sleepReally(CLOCK_MONOTONIC, 0, duration, rest);
  return errno == 0 ? 0 : -1;
}

extern "C" int
clock_nanosleep(clockid_t clock, int flags, const timespec* duration, timespec* rest) {
  const bool isRelative = (flags & TIMER_ABSTIME) == 0;
  if (isRelative && test::standInFor(*duration))
    return 0;
  return test::sleepReally(clock, flags, duration, rest);
}
