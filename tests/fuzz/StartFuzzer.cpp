// The start of a copy whose property list names any program: what is executed lies in the copy's
// own folder of programs, or the start is reported as failed.

#include "FuzzCheck.h"
#include "Home.h"
#include "Platform.h"
#include "PropertyLists.h"
#include "SystemLog.h"

#include <glib.h>
#include <mutex>

namespace fs = std::filesystem;

// What the start's thread asked GLib to execute.
static std::mutex executedMutex;
static std::string executed;

static fs::path programsIn(const fs::path& copy) {
  return test::bundleIn(copy) / "Contents" / "MacOS";
}

// A fake of GLib's, which starts nothing.
extern "C" gboolean g_spawn_async(
    const gchar*,
    gchar** argv,
    gchar**,
    GSpawnFlags,
    GSpawnChildSetupFunc,
    gpointer,
    GPid*,
    GError**) {
  const std::lock_guard lock(executedMutex);
  executed = argv[0];
  return TRUE;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace test::Binary;
  static const test::ScopedDirectory directory;
  const std::string name(reinterpret_cast<const char*>(data), size);
  const test::Copy copy(directory.path() / "copy");
  test::Copy(copy).list(list({dictionary({1}, {2}), text("CFBundleExecutable"), text(name)}));

  const std::string message = withinLimit([&] {
    test::SystemLog systemLog;
    Platform::startApplication(test::bundleIn(copy), "loadmode");
    return systemLog.awaitMessages(1).at(0);
  });
  FUZZ_CHECK(message.rfind("Failed to run the app: ", 0) == 0);
  const std::lock_guard lock(executedMutex);
  if (executed.empty())
    FUZZ_CHECK(message.find("CFBundleExecutable is no file name") != std::string::npos);
  else
    FUZZ_CHECK(fs::path(executed).lexically_normal().parent_path() == programsIn(copy));
  executed.clear();
  return 0;
}
