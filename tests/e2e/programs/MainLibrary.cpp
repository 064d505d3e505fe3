// The main library of the plug-in application: reports how it was entered, beside what the probe
// reports, and records the safe start in the folder of its copy.

#include "Home.h"
#include "HostState.h"

#include <cstdlib>
#include <dlfcn.h>
#include <unistd.h>

namespace fs = std::filesystem;

extern "C" int VDIEntryPoint(int number, void* pointer);

static fs::path ownPath() {
  Dl_info self{};
  ::dladdr(reinterpret_cast<void*>(&VDIEntryPoint), &self);
  return fs::canonical(self.dli_fname);
}

int VDIEntryPoint(int number, void* pointer) {
  test::HostState report = test::currentState();
  report["entry number"] = std::to_string(number);
  report["entry pointer"] = pointer == nullptr ? "null" : "set";
  report["main library"] = ownPath().string();
  test::writeFile(
      fs::path(std::getenv("PROBE_REPORTS")) / std::to_string(::getpid()), test::toText(report));

  const fs::path bundle = ownPath().parent_path().parent_path().parent_path();
  test::writeFile(bundle.parent_path() / "started.dat", "");
  return number;
}
