#include "FakeSleep.h"

#include "Original.h"

#include <atomic>
#include <ctime>
#include <thread>
#include <utility>

namespace {

constexpr std::time_t PAUSE_SECONDS = 3;

std::atomic<std::size_t> pauses{0};
std::atomic<bool> reallySleep{false};
std::function<void()> pauseAction;

bool isFaked(const timespec* request) {
  if (request->tv_sec != PAUSE_SECONDS || request->tv_nsec != 0)
    return false;
  ++pauses;
  if (pauseAction)
    pauseAction();
  return !reallySleep;
}

} // namespace

namespace test::FakeSleep {

std::size_t count() {
  return pauses;
}

void setAction(std::function<void()> action) {
  pauseAction = std::move(action);
}

void sleepReally() {
  reallySleep = true;
}

} // namespace test::FakeSleep

#ifdef __linux__
// Standard libraries sleep with one function or the other.
extern "C" int nanosleep(const timespec* request, timespec* remaining) {
  return isFaked(request) ? 0 : test::original(&nanosleep, "nanosleep")(request, remaining);
}

extern "C" int
clock_nanosleep(clockid_t clock, int flags, const timespec* request, timespec* remaining) {
  return flags == 0 && isFaked(request) ? 0
                                        : test::original(&clock_nanosleep, "clock_nanosleep")(
                                              clock, flags, request, remaining);
}

#else
// The standard library's own function, which replaces that of the Mac's libc++ for the objects that
// the linker binds to it.
void std::this_thread::sleep_for(const chrono::nanoseconds& time) {
  const timespec request{time.count() / 1'000'000'000, time.count() % 1'000'000'000};
  if (!isFaked(&request))
    ::nanosleep(&request, nullptr);
}
#endif
