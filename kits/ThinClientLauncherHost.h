#pragma once

// For hosts in C, Python and other languages, which the launcher library's C++ exceptions would
// end. This header is valid C.

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

// New values may be added at the end.
enum ThinClientLauncherHostStatus {
  THIN_CLIENT_LAUNCHER_HOST_RETURNED = 0,          // the call ran to its end
  THIN_CLIENT_LAUNCHER_HOST_BUSY = 1,              // another call is running in this process
  THIN_CLIENT_LAUNCHER_HOST_NOT_LOADED = 2,        // the library cannot be loaded
  THIN_CLIENT_LAUNCHER_HOST_NO_ENTRY_POINT = 3,    // it is not the launcher library
  THIN_CLIENT_LAUNCHER_HOST_FILE_SYSTEM_ERROR = 4, // a folder cannot be examined, listed or created
  THIN_CLIENT_LAUNCHER_HOST_FAILED = 5             // another error, such as too little memory
};

// Loads the launcher library and requests one launch for a host of this client version. NULL stands
// for no version: then every copy is compatible.
//
// The library is a path, or a mere file name where the system's loader finds it; it is never
// unloaded. The call blocks its thread, usually for little more than three seconds. Meanwhile the
// thread cannot be cancelled, and further calls in this process return BUSY at once.
//
// RETURNED does not tell whether the application came up: ThinClientLauncherHostAwait does. After
// FILE_SYSTEM_ERROR or FAILED the application may have been started, and the next launch in this
// process leaves no log.
//
// If size is not 0, the text receives the reason, cut to size - 1 bytes, or the empty text for
// RETURNED. It can hold any bytes that a path can.
__attribute__((visibility("default"))) enum ThinClientLauncherHostStatus
ThinClientLauncherHostLaunch(
    const char* library, const char* clientVersion, char* text, size_t size);

// How far the last launch of this process has come. New values may be added at the end.
enum ThinClientLauncherHostProgress {
  THIN_CLIENT_LAUNCHER_HOST_UNKNOWN = 0,        // no launch, or none that could write its log
  THIN_CLIENT_LAUNCHER_HOST_NOT_REQUESTED = 1,  // it ended before its choice
  THIN_CLIENT_LAUNCHER_HOST_NOTHING_CHOSEN = 2, // there was no copy to start
  THIN_CLIENT_LAUNCHER_HOST_REQUESTED = 3,      // the start of the chosen copy
  THIN_CLIENT_LAUNCHER_HOST_ENTERED = 4,        // an application has entered load mode since
  THIN_CLIENT_LAUNCHER_HOST_STARTED_SAFELY = 5  // so it has, and the copy's safe start is recorded
};

// Tells how far the last launch through ThinClientLauncherHostLaunch has come, from the launcher's
// logs and the chosen folder. Waits at most so many milliseconds, and no longer than until nothing
// further is to come: a safe start is recorded only for copies in the launcher folder. With 0 it
// returns at once. Meanwhile the thread cannot be cancelled.
//
// The hosts of one user share the logs: if two launch at the same time, each may be told of the
// other's launch. Only the system log tells why a start failed.
//
// Where its size is not 0, folder receives the chosen folder and version its version, cut to
// size - 1 bytes, or the empty text up to NOTHING_CHOSEN.
__attribute__((visibility("default"))) enum ThinClientLauncherHostProgress
ThinClientLauncherHostAwait(
    unsigned int milliseconds, char* folder, size_t folderSize, char* version, size_t versionSize);

#ifdef __cplusplus
}
#endif
