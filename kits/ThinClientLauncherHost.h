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
// RETURNED does not tell whether the application came up: the launcher's logs and the system log
// do. After FILE_SYSTEM_ERROR or FAILED the application may have been started, and the next launch
// in this process leaves no log.
//
// If size is not 0, the text receives the reason, cut to size - 1 bytes, or the empty text for
// RETURNED. It can hold any bytes that a path can.
__attribute__((visibility("default"))) enum ThinClientLauncherHostStatus
ThinClientLauncherHostLaunch(
    const char* library, const char* clientVersion, char* text, size_t size);

#ifdef __cplusplus
}
#endif
