#pragma once

// What the measured programs share: processor time, outcome of the start, and the report on
// standard output that the benchmarks read.

#include <semaphore.h>
#include <stdio.h>
#include <string.h>
#include <time.h>

extern sem_t startReported; // in StartReport.c

static inline long long processorNanoseconds(void) {
  struct timespec now;
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
  return now.tv_sec * 1000000000LL + now.tv_nsec;
}

// Takes the place of the fixed pause: as long as the start needs.
static inline void waitForStart(void) {
  while (sem_wait(&startReported) != 0) {
  }
}

static inline void reportCost(long long start) {
  printf("%lld\n", processorNanoseconds() - start);
}
