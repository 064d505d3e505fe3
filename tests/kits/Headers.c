/* The published C headers, in C. */

#include <ThinClientLauncherEntryPoint.h>
#include <ThinClientLauncherHost.h>
#include <ThinClientLauncherPlugin.h>

#if THIN_CLIENT_LAUNCHER_VERSION_MAJOR < 1
#error "The version must be a number."
#endif
