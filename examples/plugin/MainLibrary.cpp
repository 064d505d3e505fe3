// The plug-in's main library, which does its work through a library of its own. A real one would
// work here until the session ends, and record the safe start once it works; this one only records
// it.

#include "Session.h"

#include <ThinClientLauncherPlugin.h>

extern "C" __attribute__((visibility("default"))) int VDIEntryPoint(int, void*) {
  return isSessionReady() ? ThinClientLauncherPluginRecordSafeStart() : 1;
}
