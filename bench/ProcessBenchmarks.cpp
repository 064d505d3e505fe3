// Whole processes, one per sample: launches over homes of growing size, by the launcher and by the
// programs that it is compared with, and the reports of launcher-inspect. Random interleaving puts
// the samples of all programs side by side.

#include "BenchHome.h"
#include "Sandbox.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <map>
#include <stdexcept>
#include <sys/resource.h>

namespace {

const std::string CLIENT_VERSION = "45.12.0.1000";
constexpr int HOME_SIZES[] = {1, 5, 100, 1000, 10000};

const BenchHome& homeWith(int copies) {
  static std::map<int, BenchHome> homes;
  return homes.try_emplace(copies, copies).first->second;
}

double processorSecondsOfChildren() {
  rusage usage{};
  ::getrusage(RUSAGE_CHILDREN, &usage);
  const auto seconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
  };
  return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

// Runs a shell command. It may print the nanoseconds that count; otherwise all of the process
// counts, and of those it waited for.
double measure(const std::string& command) {
  const double before = processorSecondsOfChildren();
  FILE* const output = ::popen(command.c_str(), "r");
  if (output == nullptr)
    throw std::runtime_error("cannot run " + command);
  double nanoseconds = 0;
  const int fields = std::fscanf(output, "%lf", &nanoseconds);
  if (::pclose(output) != 0)
    throw std::runtime_error("failed: " + command);
  return fields == 1 ? nanoseconds / 1e9 : processorSecondsOfChildren() - before;
}

// The shell executes the command in its own process, so no second process is measured.
void addLaunch(
    const std::string& program, int copies, int repetitions, const std::string& command) {
  const auto run = [copies, command](benchmark::State& state) {
    const BenchHome& home = homeWith(copies);
    const std::string line = "cd '" + home.workFolder().string() + "' && HOME='" +
                             home.path().string() + "' exec " + command;
    for (auto _ : state)
      state.SetIterationTime(measure(line));
  };
  benchmark::RegisterBenchmark((program + "/" + std::to_string(copies)).c_str(), run)
      ->UseManualTime()
      ->Iterations(1)
      ->Repetitions(repetitions)
      ->Unit(benchmark::kMicrosecond);
}

} // namespace

// Launches look at /Applications. The homes stay on the machine's file system, which is measured.
// The results go below the working folder.
static void enterSandbox() {
  const auto temporaryFolder = std::filesystem::temp_directory_path();
  test::Sandbox::enter({temporaryFolder, std::filesystem::current_path()});
  ::setenv("TMPDIR", temporaryFolder.c_str(), 1);
}

int main(int argc, char** argv) {
  enterSandbox();
  for (const int copies : HOME_SIZES) {
    const int repetitions = copies <= 100 ? 41 : copies <= 1000 ? 15 : 7;
    const int scriptRepetitions = copies <= 100 ? 11 : copies <= 1000 ? 3 : 1;
    addLaunch(
        "launcher", copies, repetitions, BENCH_HOST " " LAUNCHER_LIBRARY " " + CLIENT_VERSION);
    addLaunch("baseline", copies, repetitions, BENCH_BASELINE " " + CLIENT_VERSION);
    const std::string inspect = LAUNCHER_INSPECT " --client-version " + CLIENT_VERSION;
    addLaunch("inspect-text", copies, repetitions, inspect + " >/dev/null");
    addLaunch("inspect-json", copies, repetitions, inspect + " --json >/dev/null");
    addLaunch("script", copies, scriptRepetitions, BENCH_SCRIPT);
  }
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
}
