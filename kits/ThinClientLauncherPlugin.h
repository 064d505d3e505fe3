#pragma once

// For the plug-in: its application's executable, and its main library. This header is valid C; the
// static library behind it needs the C++ standard library.

#ifdef __cplusplus
extern "C" {
#endif

// The work of the application's executable: loads the launcher library, calls its entry point with
// these arguments and returns when that returns. If the first argument is "loadmode", it loads the
// copy in the bundle's own Frameworks folder; otherwise the one in the launcher folder, if there is
// one there.
//
// If the library cannot be loaded, or has no entry point, it returns at once and reports nothing.
// Lets C++ exceptions of the main library, and std::filesystem::filesystem_error, pass through: an
// executable in C ends with them.
void ThinClientLauncherPluginRun(int argc, char** argv);

enum ThinClientLauncherPluginStatus {
  THIN_CLIENT_LAUNCHER_PLUGIN_RECORDED = 0,
  THIN_CLIENT_LAUNCHER_PLUGIN_NO_COPY =
      1, // not in the launcher folder, so there is nothing to record
  THIN_CLIENT_LAUNCHER_PLUGIN_FAILED = 2 // a folder cannot be examined, or the file not written
};

// Records that this copy has started safely: creates started.dat beside its bundle. A copy that has
// been launched three times without it is not chosen again. Call it once the plug-in works, in each
// process.
//
// The copy is the one in whose bundle the executable or library lies that this is linked into, or
// from whose bundle this process was started; only folders in the launcher folder, and links to
// folders there, are copies. May be called repeatedly and by several threads.
enum ThinClientLauncherPluginStatus ThinClientLauncherPluginRecordSafeStart(void);

#ifdef __cplusplus
}
#endif
