// The plug-in's main library. A real one would work here until the session ends; this one only
// records, beside its bundle, that the copy has started safely.

#include <dlfcn.h>
#include <filesystem>
#include <fstream>

// <copy>/OrlixVDIPlugin.app/Contents/Frameworks/<this library>
static std::filesystem::path copyFolder(const std::filesystem::path& library) {
  return library.parent_path().parent_path().parent_path().parent_path();
}

extern "C" __attribute__((visibility("default"))) int VDIEntryPoint(int, void*) {
  Dl_info self{};
  if (dladdr(reinterpret_cast<void*>(&VDIEntryPoint), &self) == 0)
    return 1;
  std::ofstream mark(copyFolder(std::filesystem::canonical(self.dli_fname)) / "started.dat");
  return mark ? 0 : 1;
}
