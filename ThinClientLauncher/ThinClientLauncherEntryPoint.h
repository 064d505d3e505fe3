#pragma once

// The library's one C entry point, for a host or for the started application. Find it by name with
// dlsym, or link against the library. This header is valid C.

// The one place of the version: the build reads it from here.
#define THIN_CLIENT_LAUNCHER_VERSION_MAJOR 1
#define THIN_CLIENT_LAUNCHER_VERSION_MINOR 0
#define THIN_CLIENT_LAUNCHER_VERSION_PATCH 0

#ifdef __cplusplus
extern "C" {
#endif

// argv[1] "loadmode": loads the main library from the Frameworks folder of the running executable,
// calls its VDIEntryPoint and returns when that returns.
//
// Anything else: launcher mode. Chooses an installed copy, asks the system to start it, waits
// 3000 milliseconds, updates the copy's records and removes old copies. With argc of 3 or more and
// argv[1] "launchermode", argv[2] is the host's client version; without one, or with "1.0.0.1",
// which stands for any client, every copy is compatible.
//
// Returns 0, always: what happened is in the log file. Blocks the calling thread; must not be
// called by two threads at once. A folder that cannot be examined, listed or created raises
// std::filesystem::filesystem_error, which leaves the function; a host in C ends with it.
//
// On disk: empties and writes the mode's log file; in launcher mode also rewrites the record files
// of the chosen copy and the list of corrupt versions, and removes folders, all of it inside the
// user's launcher folder. One exception: if the home has no Application Support folder and there is
// nothing to start, launchCount.dat and launch.dat are written into the host's working folder.
__attribute__((visibility("default"))) int ThinClientLauncherEntryPoint(int argc, char** argv);

#ifdef __cplusplus
}
#endif
