// A plug-in's library.

#include <ThinClientLauncherPlugin.h>

extern "C" __attribute__((visibility("default"))) int recordSafeStart() {
  return ThinClientLauncherPluginRecordSafeStart();
}
