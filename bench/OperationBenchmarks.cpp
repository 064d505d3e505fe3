// Single operations inside one process: what a start request holds its caller, in a small and in a
// large host, and what the parts of reading a copy cost.

#include "BenchHome.h"
#include "LauncherHelper.h"
#include "Logger.h"
#include "Platform.h"
#include "PlistOracle.h"
#include "ThinClientLauncherBase.h"
#include "linux/PropertyList.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
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

constexpr const char* VERSION_KEY = "CFBundleShortVersionString";

std::string listContent() {
  return test::readFile(bundle() / "Contents" / "Info.plist");
}

void startRequest(benchmark::State& state) {
  const std::vector<char> hostMemory(static_cast<std::size_t>(state.range(0)) << 20, 'x');
  sem_init(&startReported, 0, 0);
  double longest = 0;
  for (auto _ : state) {
    const auto start = std::chrono::steady_clock::now();
    Platform::startApplication(bundle(), "loadmode");
    const std::chrono::duration<double> held = std::chrono::steady_clock::now() - start;
    state.SetIterationTime(held.count());
    longest = std::max(longest, held.count());
    while (sem_wait(&startReported) != 0) {
    }
  }
  state.counters["longest_us"] = longest * 1e6;
}
BENCHMARK(startRequest)->Arg(10)->Arg(1024)->UseManualTime()->Iterations(50);

void readVersion(benchmark::State& state) {
  for (auto _ : state)
    benchmark::DoNotOptimize(Platform::bundleVersion(bundle()));
}
BENCHMARK(readVersion);

void readBinaryList(benchmark::State& state) {
  const test::ScopedDirectory folder;
  test::writeFile(folder.path() / "Info.plist", test::PlistOracle(listContent()).toBinary());
  for (auto _ : state)
    benchmark::DoNotOptimize(PropertyList::read(folder.path() / "Info.plist", VERSION_KEY).text);
}
BENCHMARK(readBinaryList);

void parseWithLibplist(benchmark::State& state) {
  const std::string content = listContent();
  for (auto _ : state)
    benchmark::DoNotOptimize(test::PlistOracle(content).text(VERSION_KEY));
}
BENCHMARK(parseWithLibplist);

void compareVersions(benchmark::State& state) {
  const std::string a = "45.12.0.900";
  const std::string b = "45.12.0.1000";
  for (auto _ : state)
    benchmark::DoNotOptimize(ThinClientLauncherBase::isGreaterVersion(a, b, 4));
}
BENCHMARK(compareVersions);

void logLine(benchmark::State& state) {
  const test::ScopedDirectory folder;
  Logger::open(folder.path() / "log.txt", true);
  for (auto _ : state)
    Logger::log("find a candidate with Version: 45.12.0.900");
  Logger::close();
}
BENCHMARK(logLine);

} // namespace

BENCHMARK_MAIN();
