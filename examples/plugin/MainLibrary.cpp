// The plug-in's main library. A real one would work here until the session ends, and record the
// safe start once it works; this one only records it.

#include <ThinClientLauncherPlugin.h>

extern "C" __attribute__((visibility("default"))) int VDIEntryPoint(int, void*) {
  return ThinClientLauncherPluginRecordSafeStart();
}
