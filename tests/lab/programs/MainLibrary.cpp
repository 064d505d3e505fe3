// The main library of the plug-in application: records its calls. With PROBE_REPORTS set, also
// reports the state of its process and how it was entered, and marks the safe start of its copy.

#include "Home.h"
#include "HostState.h"
#include "Record.h"

#include <dlfcn.h>
#include <unistd.h>

namespace fs = std::filesystem;

static fs::path ownPath() {
  Dl_info self{};
  ::dladdr(reinterpret_cast<void*>(&ownPath), &self);
  return fs::canonical(self.dli_fname);
}

static bool isOpen(const fs::path& file) {
  for (const auto& [name, value] : test::currentState()) {
    if (name.rfind("descriptor ", 0) == 0 && value.rfind(file.string() + " ", 0) == 0)
      return true;
  }
  return false;
}

static void markSafeStart() {
  const fs::path bundle = ownPath().parent_path().parent_path().parent_path();
  test::writeFile(bundle.parent_path() / "started.dat", "");
}

static void report(const fs::path& folder, int number, const void* pointer) {
  test::HostState state = test::currentState();
  state["entry number"] = std::to_string(number);
  state["entry pointer"] = pointer == nullptr ? "null" : "set";
  state["main library"] = ownPath().string();
  test::writeFile(folder / std::to_string(::getpid()), test::toText(state));
}

EXPORTED int VDIEntryPoint(int number, void* pointer) {
  static int calls = 0;
  record() << "call " << ++calls << ": " << number << (pointer == nullptr ? " null" : " not null")
           << '\n';
  if (const char* log = std::getenv("LIBRARY_LOG"))
    record() << (isOpen(log) ? "log open\n" : "log closed\n");
  if (const char* folder = std::getenv("PROBE_REPORTS")) {
    report(folder, number, pointer);
    markSafeStart();
  }
  throwIfAsked();
  return number;
}
