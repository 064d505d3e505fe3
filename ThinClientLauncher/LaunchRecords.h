#pragma once

// The names of the record files. Those of a copy lie in its candidate folder, corrupt.dat in the
// launcher folder. The started application writes started.dat, the launcher the others.
constexpr const char* LAUNCH_DAT_FILE_NAME = "launch.dat";
constexpr const char* LAUNCHED_COUNT_FILE_NAME = "launchCount.dat";
constexpr const char* SAFE_START_FILE_NAME = "started.dat";
constexpr const char* CORRUPT_DAT_FILE_NAME = "corrupt.dat";
