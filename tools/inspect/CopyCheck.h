#pragma once

// What a copy's bundle lacks, and what is odd about its records. The launcher asks for none of
// this; it answers "why".

#include "Platform.h"
#include "System.h"

#include <filesystem>

namespace LauncherInspect {

// Why the copy in a folder has no version; None: its text is empty. Looks at the property list
// again and raises nothing of the file system.
Platform::ListProblem findVersionProblem(const std::filesystem::path& dir);

// What an application needs to come up. True where it cannot be told.
struct StartCheck {
  std::filesystem::path program;
  std::filesystem::path frameworks;
  bool hasProgram = true;
  bool isExecutable = true; // for this user
  bool isProgram = true;    // by its first bytes
  bool hasMainLibrary = true;
  bool hasLauncherLibrary = true;

  // What macOS asks for. A file is empty where nothing is wrong.
  std::string architecture;                // of the process
  std::filesystem::path foreignFile;       // the first without code for it
  std::filesystem::path unsignedFile;      // the first whose code needs a signature and has none
  std::string systemVersion, neededSystem; // the latter is empty where this system is new enough
  bool isQuarantined = false;
};

// Whether the copy in a folder comes up on a system. Raises nothing of the file system.
StartCheck checkStart(const std::filesystem::path& dir, const System& system);

// What the times of a copy's files tell of its records.
struct RecordCheck {
  bool haveForeignTimes = false;   // launch.dat was modified at another time than it holds
  bool areOlderThanBundle = false; // they are another build's
};

// Raises nothing of the file system.
RecordCheck checkRecords(const std::filesystem::path& dir);

} // namespace LauncherInspect
