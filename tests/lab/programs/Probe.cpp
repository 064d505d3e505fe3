// The executable of test bundles: reports what it was started with, one file per process in the
// folder that PROBE_REPORTS names, and ends.

#include "Home.h"
#include "HostState.h"

#include <cstdlib>
#include <unistd.h>

int main(int argc, char** argv) {
  const char* const folder = std::getenv("PROBE_REPORTS");
  if (folder == nullptr)
    return 1;
  test::HostState report = test::currentState();
  test::addArguments(report, argc, argv);
  const auto file = std::filesystem::path(folder) / std::to_string(::getpid());
  test::writeFile(file.string() + ".part", test::toText(report));
  std::filesystem::rename(file.string() + ".part", file);
}
