// How long a start request holds its caller, in a small and in a large host.

#include "BenchHome.h"
#include "Measure.h"
#include "Platform.h"

#include <benchmark/benchmark.h>

#include <vector>

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
    waitForStart();
    state.ResumeTiming();
  }
}
BENCHMARK(startRequest)->Arg(10)->Arg(1024)->UseRealTime()->Iterations(50);

} // namespace

BENCHMARK_MAIN();
