#pragma once

// The fixed names of the installation: folders, bundle, libraries, entry symbols and log files.

#include <string>

// Layout on disk.
const std::string ORIGINAL_INSTALLATION_DIR = "/Applications";
const std::string LAUNCHER_FOLDER_NAME = "VantuOrlixVDILauncher";
const std::string VDI_MAIN_APP_NAME = "OrlixVDIPlugin.app";
const std::string VDI_LOGE_FOLDER_NAME = "Logs/VantuOrlixVDI";

// Libraries loaded at run time, and the entry symbol looked up in each.
const std::string VDI_MAIN_LIBRARY_NAME = "libnexal_vdi_main.dylib";
const std::string VDI_MAIN_LIBRARY_EntryPoint = "VDIEntryPoint";
const std::string VDI_LAUNCHER_LIBRARY_NAME = "libThinClientLauncher.dylib";
const std::string VDI_LAUNCHER_LIBRARY_EntryPoint = "ThinClientLauncherEntryPoint";

// One log file per mode.
const std::string VDI_LAUNCH_LOGE_LOAD_MODE = "vdi-launch-loadmode-log.txt";
const std::string VDI_LAUNCH_LOGE_LAUNCH_MODE = "vdi-launch-launchmode-log.txt";
