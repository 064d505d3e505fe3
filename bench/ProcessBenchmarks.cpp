// Whole processes, one per sample: launches over homes of growing size, by the launcher and by the
// programs that it is compared with; the reports of launcher-inspect; and the loading of the
// library. Random interleaving puts the samples of all programs side by side.

#include "BenchHome.h"
#include "Sandbox.h"

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <map>
#include <memory>
#include <stdexcept>
#include <sys/resource.h>

namespace {

using Clock = std::chrono::steady_clock;

const std::string CLIENT_VERSION = "45.12.0.1000";
constexpr int HOME_SIZES[] = {1, 5, 100, 1000, 10000};

const BenchHome& homeWith(int copies) {
  static std::map<int, std::unique_ptr<BenchHome>> homes;
  auto& home = homes[copies];
  if (!home)
    home = std::make_unique<BenchHome>(copies);
  return *home;
}

// What a measured program prints.
struct Report {
  double wholeSeconds = 0;
  double processorSeconds = 0; // of the process and of those it waited for
  double ownNanoseconds = 0;
  double ownProcessorNanoseconds = 0;
  double peakKilobytes = 0;
};

double processorSecondsOfChildren() {
  rusage usage{};
  ::getrusage(RUSAGE_CHILDREN, &usage);
  const auto seconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
  };
  return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

// Runs a shell command that prints a report, or none.
Report measure(const std::string& command) {
  Report report;
  const double processorBefore = processorSecondsOfChildren();
  const auto start = Clock::now();
  FILE* const output = ::popen(command.c_str(), "r");
  if (output == nullptr)
    throw std::runtime_error("cannot run " + command);
  // Scripts and reports print nothing here: for them the whole process is measured.
  const int fields = std::fscanf(
      output,
      "%lf %lf %lf",
      &report.ownNanoseconds,
      &report.ownProcessorNanoseconds,
      &report.peakKilobytes);
  const int status = ::pclose(output);
  report.wholeSeconds = std::chrono::duration<double>(Clock::now() - start).count();
  report.processorSeconds = processorSecondsOfChildren() - processorBefore;
  if (status != 0 || (fields != 3 && fields != EOF))
    throw std::runtime_error("failed: " + command);
  return report;
}

void run(benchmark::State& state, const std::string& command) {
  Report report;
  for (auto _ : state) {
    report = measure(command);
    state.SetIterationTime(report.wholeSeconds);
  }
  state.counters["own_us"] = report.ownNanoseconds / 1000;
  state.counters["own_processor_us"] = report.ownProcessorNanoseconds / 1000;
  state.counters["processor_us"] = report.processorSeconds * 1e6;
  state.counters["peak_kb"] = report.peakKilobytes;
}

void addBenchmark(
    const std::string& name, int repetitions, const std::function<std::string()>& command) {
  benchmark::RegisterBenchmark(
      name.c_str(), [command](benchmark::State& state) { run(state, command()); })
      ->UseManualTime()
      ->Iterations(1)
      ->Repetitions(repetitions)
      ->Unit(benchmark::kMicrosecond);
}

// The shell executes the command in its own process, so no second process is measured.
void addLaunch(
    const std::string& program, int copies, int repetitions, const std::string& command) {
  addBenchmark(program + "/" + std::to_string(copies), repetitions, [copies, command] {
    const BenchHome& home = homeWith(copies);
    return "cd '" + home.workFolder().string() + "' && HOME='" + home.path().string() + "' exec " +
           command;
  });
}

} // namespace

// Launches look at /Applications. The homes stay on the machine's file system, which is measured.
static void enterSandbox() {
  const auto temporaryFolder = std::filesystem::temp_directory_path();
  test::Sandbox::enter();
  ::setenv("TMPDIR", temporaryFolder.c_str(), 1);
}

int main(int argc, char** argv) {
  enterSandbox();
  for (const int copies : HOME_SIZES) {
    const int repetitions = copies <= 100 ? 41 : copies <= 1000 ? 15 : 7;
    const int scriptRepetitions = copies <= 100 ? 11 : copies <= 1000 ? 3 : 1;
    addLaunch(
        "launcher", copies, repetitions, BENCH_HOST " " LAUNCHER_LIBRARY " " + CLIENT_VERSION);
    addLaunch("baseline", copies, repetitions, BENCH_BASELINE " rules " + CLIENT_VERSION);
    addLaunch("baseline-once", copies, repetitions, BENCH_BASELINE " once " + CLIENT_VERSION);
    const std::string inspect = LAUNCHER_INSPECT " --client-version " + CLIENT_VERSION;
    addLaunch("inspect-text", copies, repetitions, inspect + " >/dev/null");
    addLaunch("inspect-json", copies, repetitions, inspect + " --json >/dev/null");
    addLaunch("script", copies, scriptRepetitions, BENCH_SCRIPTS "/script.sh");
    addLaunch("frugal-script", copies, scriptRepetitions, BENCH_SCRIPTS "/frugal-script.sh");
  }
  addBenchmark("load/launcher", 41, [] { return "exec " BENCH_LOAD " " LAUNCHER_LIBRARY; });
  addBenchmark("load/empty", 41, [] { return "exec " BENCH_LOAD " " EMPTY_LIBRARY; });
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
}
