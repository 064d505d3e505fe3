// Reads one thing of a folder and reports what that cost: the answer, the processor time in
// microseconds and the growth of the peak memory in kilobytes, one per line.
//
// Usage: hostile_probe version|launches|started FOLDER

#include "LauncherHelper.h"
#include "ThinClientLauncherBase.h"

#include <ctime>
#include <fstream>
#include <iostream>
#include <string>

static long peakKilobytes() {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.rfind("VmHWM:", 0) == 0)
      return std::stol(line.substr(6));
  }
  return -1;
}

static std::string answer(const std::string& question, const std::filesystem::path& dir) {
  const ThinClientLauncherBase launcher;
  if (question == "version")
    return LauncherHelper::getDirectoryVersion(dir);
  if (question == "launches")
    return std::to_string(launcher.getLaunchCount(dir));
  return launcher.hasStartedSafely(dir) ? "yes" : "no";
}

int main(int argc, char** argv) {
  if (argc != 3)
    return 2;
  const long peak = peakKilobytes();
  const std::clock_t start = std::clock();
  const std::string text = answer(argv[1], argv[2]);
  const std::clock_t spent = std::clock() - start;
  std::cout << text << '\n'
            << spent * 1'000'000L / CLOCKS_PER_SEC << '\n'
            << peakKilobytes() - peak << '\n';
  return 0;
}
