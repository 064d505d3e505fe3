#pragma once

// What the measured programs share: clock, outcome of the start, and the report on standard output
// that the benchmarks read.

#include <semaphore.h>
#include <stdio.h>
#include <string.h>
#include <time.h>

struct Moment {
  long long wall;
  long long processor;
};

static sem_t startReported;
static long long pausedNanoseconds;

static long long nanosecondsOf(clockid_t clock) {
  struct timespec now;
  clock_gettime(clock, &now);
  return now.tv_sec * 1000000000LL + now.tv_nsec;
}

static struct Moment now(void) {
  const struct Moment moment = {
      nanosecondsOf(CLOCK_MONOTONIC), nanosecondsOf(CLOCK_PROCESS_CPUTIME_ID)};
  return moment;
}

// Takes the place of the fixed pause: as long as the start needs, and not counted as cost.
static void waitForStart(void) {
  const long long before = nanosecondsOf(CLOCK_MONOTONIC);
  while (sem_wait(&startReported) != 0) {
  }
  pausedNanoseconds += nanosecondsOf(CLOCK_MONOTONIC) - before;
}

static long peakMemoryKilobytes(void) {
  char line[256];
  long peak = 0;
  FILE* status = fopen("/proc/self/status", "r");
  while (status != NULL && fgets(line, sizeof line, status) != NULL) {
    if (strncmp(line, "VmHWM:", 6) == 0)
      sscanf(line + 6, "%ld", &peak);
  }
  if (status != NULL)
    fclose(status);
  return peak;
}

// Nanoseconds on the clock without the pause, nanoseconds of processor time, peak memory.
static void reportCost(struct Moment start) {
  const struct Moment end = now();
  printf(
      "%lld %lld %ld\n",
      end.wall - start.wall - pausedNanoseconds,
      end.processor - start.processor,
      peakMemoryKilobytes());
}
