#pragma once

// What a copy's bundle lacks. The launcher asks for none of this; it answers "why".

#include "Platform.h"

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
  bool hasMainLibrary = true;
  bool hasLauncherLibrary = true;
};

// Raises nothing of the file system.
StartCheck checkStart(const std::filesystem::path& dir);

} // namespace LauncherInspect
