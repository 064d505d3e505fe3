#include "SubDirectories.h"

namespace fs = std::filesystem;

std::vector<fs::path> subDirectories(const fs::path& dir) {
  std::vector<fs::path> directories;
  if (!fs::exists(dir))
    return directories;
  for (const auto& entry : fs::directory_iterator(dir)) {
    if (entry.is_directory())
      directories.push_back(entry.path());
  }
  return directories;
}
