// How long a start request holds its caller, in a small and in a large host.

#include "BenchHome.h"
#include "Platform.h"

#include <benchmark/benchmark.h>

#include <semaphore.h>
#include <vector>

static sem_t startReported;

// Fakes of the C library's functions, which tell when the start is over. A hardened library calls
// the second.
extern "C" void syslog(int, const char*, ...) {
  sem_post(&startReported);
}

extern "C" void __syslog_chk(int, int, const char*, ...) {
  sem_post(&startReported);
}

namespace {

const std::filesystem::path& bundle() {
  static const BenchHome home(1);
  static const auto path = home.workFolder() / "OrlixVDIPlugin.app";
  return path;
}

void startRequest(benchmark::State& state) {
  const std::vector<char> hostMemory(static_cast<std::size_t>(state.range(0)) << 20, 'x');
  sem_init(&startReported, 0, 0);
  for (auto _ : state) {
    Platform::startApplication(bundle(), "loadmode");
    state.PauseTiming();
    while (sem_wait(&startReported) != 0) {
    }
    state.ResumeTiming();
  }
}
BENCHMARK(startRequest)->Arg(10)->Arg(1024)->UseRealTime()->Iterations(50);

} // namespace

BENCHMARK_MAIN();
