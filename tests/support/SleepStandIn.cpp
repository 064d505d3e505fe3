#include "SleepStandIn.h"

#include <atomic>
#include <ctime>
#include <dlfcn.h>
#include <utility>

namespace {

constexpr std::time_t PAUSE_SECONDS = 3;

std::atomic<std::size_t> pauses{0};
std::atomic<bool> sleepReally{false};
std::function<void()> action;

bool standsInFor(const timespec* request) {
  if (request->tv_sec != PAUSE_SECONDS || request->tv_nsec != 0)
    return false;
  ++pauses;
  if (action)
    action();
  return !sleepReally;
}

template <typename Function>
Function* original(Function*, const char* name) {
  return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

} // namespace

std::size_t test::pausesAskedFor() {
  return pauses;
}

void test::atEveryPause(std::function<void()> wanted) {
  action = std::move(wanted);
}

void test::sleepPausesReally() {
  sleepReally = true;
}

// The C library's own names; which of the two a standard library sleeps with is its affair.

extern "C" int nanosleep(const timespec* request, timespec* remaining) {
  return standsInFor(request) ? 0 : original(&nanosleep, "nanosleep")(request, remaining);
}

extern "C" int
clock_nanosleep(clockid_t clock, int flags, const timespec* request, timespec* remaining) {
  return flags == 0 && standsInFor(request)
             ? 0
             : original(&clock_nanosleep, "clock_nanosleep")(clock, flags, request, remaining);
}
