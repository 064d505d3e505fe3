#pragma once

// What the bridge asks of the system's functions. The linker leads its calls here; they are noted
// and handed on to the real ones.

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace test {

// The calls of NSSearchPathForDirectoriesInDomains as "directory domain tilde", such as "14 1 YES".
std::vector<std::string> folderLookups();

// Lets the lookup name these folders instead of the user's own. One that is not UTF-8 stands for a
// platform string that has no UTF-8 form.
void nameFolders(const std::optional<std::vector<std::string>>& folders);

struct LibraryLoad {
  std::string path;
  int mode;
};

std::vector<LibraryLoad> libraryLoads();

// The folder that "@executable_path" stands for, which only a Mac's loader knows.
void setExecutableFolder(const std::filesystem::path& folder);

// What happens during the pause after a start, which takes no time of its own here.
void onPause(const std::function<void()>& action);

void resetPlatformCalls();

} // namespace test
