#pragma once

// The fixed names of the installation: folders, bundle, libraries, entry symbols and log files.
// None is an object with a destructor: a process may exit while a call runs on another thread.

// Layout on disk.
constexpr const char* ORIGINAL_INSTALLATION_DIR = "/Applications";
constexpr const char* LAUNCHER_FOLDER_NAME = "VantuOrlixVDILauncher";
constexpr const char* VDI_MAIN_APP_NAME = "OrlixVDIPlugin.app";
constexpr const char* VDI_LOGE_FOLDER_NAME = "Logs/VantuOrlixVDI";

// Libraries loaded at run time, and the entry symbol looked up in each.
constexpr const char* VDI_MAIN_LIBRARY_NAME = "libnexal_vdi_main.dylib";
constexpr const char* VDI_MAIN_LIBRARY_EntryPoint = "VDIEntryPoint";
constexpr const char* VDI_LAUNCHER_LIBRARY_NAME = "libThinClientLauncher.dylib";
constexpr const char* VDI_LAUNCHER_LIBRARY_EntryPoint = "ThinClientLauncherEntryPoint";

// One log file per mode.
constexpr const char* VDI_LAUNCH_LOGE_LOAD_MODE = "vdi-launch-loadmode-log.txt";
constexpr const char* VDI_LAUNCH_LOGE_LAUNCH_MODE = "vdi-launch-launchmode-log.txt";
