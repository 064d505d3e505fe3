#include "Scan.h"

#include "LauncherHelper.h"
#include "ThinClientLauncherBase.h"

namespace fs = std::filesystem;

using CandidateList = ThinClientLauncherBase::CandidateList;

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

static void append(CandidateList& list, const CandidateList& more) {
  list.insert(list.end(), more.begin(), more.end());
}

CandidateList ThinClientLauncherBase::scanForPossibleDirectories() const {
  CandidateList candidates;
  candidates.push_back(LauncherHelper::getOriginalInstallationDirectory());
  candidates.push_back(fs::current_path());
  append(candidates, subDirectories(LauncherHelper::getLauncherDirectory()));
  append(candidates, subDirectories(LauncherHelper::getCurrentPackageDirectory()));
  return candidates;
}

bool ThinClientLauncherBase::isBelongLaunchDirectory(const Path& dir) const {
  return dir.parent_path() == LauncherHelper::getLauncherDirectory();
}
