#include "Selection.h"

#include "LauncherHelper.h"
#include "LogMessages.h"
#include "Logger.h"

#include <algorithm>

using Selection::CandidateList;
using Selection::Path;

static const ThinClientLauncherBase launcher; // its operations need no state

// --- Operations ---

static Selection::Candidates asViable(const CandidateList& directories) {
  Selection::Candidates candidates;
  for (const auto& dir : directories)
    candidates.push_back({dir, Selection::Status::Viable, {}, {}});
  return candidates;
}

CandidateList
ThinClientLauncherBase::filterInviableDirectories(const CandidateList& candidates) const {
  const auto judged = Selection::judgeViability(candidates);
  writeCorruptVersions(Selection::corruptVersions(judged));
  return Selection::viableDirectories(judged);
}

bool ThinClientLauncherBase::isDirectoryCorrupt(const Path& dir) const {
  return Selection::checkCorrupt(dir).isCorrupt;
}

bool ThinClientLauncherBase::isSupportCheckCorrupt(const Path& dir) const {
  const std::string version = LauncherHelper::getDirectoryVersion(dir);
  if (version.empty())
    return false;
  const bool supported = isGreaterVersion(
      version, Selection::CORRUPT_CHECK_BASE_VERSION, Selection::ALL_VERSION_COMPONENTS);
  Logger::log(
      std::string("VDI ") + (supported ? "supports" : "does not support") +
      " CheckCorrupt: " + LauncherHelper::toStdString(dir));
  return supported;
}

CandidateList ThinClientLauncherBase::filterIncompatibleDirectories(
    const CandidateList& candidates, const std::string& clientVersion) const {
  return Selection::viableDirectories(
      Selection::judgeCompatibility(asViable(candidates), clientVersion));
}

Path ThinClientLauncherBase::findBestCandidate(const CandidateList& candidates) const {
  auto compared = asViable(candidates);
  const auto best = Selection::chooseBest(compared).index;
  return best ? candidates[*best] : Path();
}

// --- Decisions ---

namespace Selection {

CorruptCheck checkCorrupt(const Path& dir) {
  CorruptCheck check;
  check.applies = launcher.isBelongLaunchDirectory(dir) && launcher.isSupportCheckCorrupt(dir);
  if (!check.applies)
    return check;
  check.launchCount = launcher.getLaunchCount(dir);
  check.startedSafely = launcher.hasStartedSafely(dir);
  check.isCorrupt = check.launchCount >= CORRUPT_LAUNCH_COUNT_THRESHOLD && !check.startedSafely;
  if (check.isCorrupt)
    Logger::log(
        "VDI Directory marked as corrupt - Launch count: " + std::to_string(check.launchCount) +
        ", Directory: " + LauncherHelper::toStdString(dir));
  return check;
}

static Candidate judge(const Path& dir) {
  if (!LauncherHelper::isVDIPluginDirectory(dir))
    return {dir, Status::NoBundle, {}, {}};
  const std::string name = LauncherHelper::toStdString(dir);
  const CorruptCheck check = checkCorrupt(dir);
  if (check.isCorrupt) {
    Logger::log("VDI Skipping corrupt directory: " + name);
    return {dir, Status::Corrupt, LauncherHelper::getDirectoryVersion(dir), check};
  }
  const std::string launchCount = std::to_string(launcher.getLaunchCount(dir));
  Logger::log("safe start Directory: " + name + ", Launch Count: " + launchCount);
  return {dir, Status::Viable, {}, check};
}

bool isViable(const Candidate& candidate) {
  return candidate.status == Status::Viable;
}

// If no copy is viable, setup-engine folders become viable.
static void admitSetupEngines(Candidates& candidates) {
  if (std::any_of(candidates.begin(), candidates.end(), isViable))
    return;
  for (auto& candidate : candidates) {
    if (LauncherHelper::isSetupEngineDirectory(candidate.dir))
      candidate.status = Status::Viable;
  }
}

Candidates judgeViability(const CandidateList& directories) {
  Candidates candidates;
  for (const auto& dir : directories)
    candidates.push_back(judge(dir));
  admitSetupEngines(candidates);
  return candidates;
}

std::vector<std::string> corruptVersions(const Candidates& candidates) {
  std::vector<std::string> versions;
  for (const auto& candidate : candidates) {
    if (candidate.corruptCheck.isCorrupt && !candidate.version.empty())
      versions.push_back(candidate.version);
  }
  return versions;
}

Candidates judgeCompatibility(Candidates candidates, const std::string& clientVersion) {
  if (clientVersion.empty() || clientVersion == ANY_CLIENT_VERSION)
    return candidates;
  for (auto& candidate : candidates) {
    if (!isViable(candidate))
      continue;
    candidate.version = LauncherHelper::getDirectoryVersion(candidate.dir);
    if (candidate.version.empty() ||
        ThinClientLauncherBase::isGreaterVersion(
            candidate.version, clientVersion, COMPATIBLE_VERSION_COMPONENTS))
      candidate.status = Status::Incompatible;
  }
  return candidates;
}

CandidateList viableDirectories(const Candidates& candidates) {
  CandidateList directories;
  for (const auto& candidate : candidates) {
    if (isViable(candidate))
      directories.push_back(candidate.dir);
  }
  return directories;
}

bool fallsBack(const CandidateList& viable, const CandidateList& compatible) {
  return compatible.empty() && !viable.empty();
}

static void logChoice(const Candidates& candidates, const Choice& choice) {
  const Path best = choice.index ? candidates[*choice.index].dir : Path();
  Logger::log(
      LogMessages::BEST_CANDIDATE + LauncherHelper::toStdString(best) +
      LogMessages::BEST_CANDIDATE_VERSION + choice.version + ")");
}

static void readVersion(Candidate& candidate) {
  candidate.version = LauncherHelper::getDirectoryVersion(candidate.dir);
  Logger::log("find a candidate with Version: " + candidate.version);
}

static bool exceeds(const Candidate& candidate, const std::string& bestVersion) {
  return !candidate.version.empty() && ThinClientLauncherBase::isGreaterVersion(
                                           candidate.version, bestVersion, ALL_VERSION_COMPONENTS);
}

Choice chooseBest(Candidates& candidates) {
  Choice choice;
  for (std::size_t i = 0; i < candidates.size(); ++i) {
    if (!isViable(candidates[i]))
      continue;
    if (!choice.index)
      choice.index = i; // the default, even without the bundle or a version
    if (!LauncherHelper::isVDIPluginDirectory(candidates[i].dir))
      continue;
    readVersion(candidates[i]);
    if (exceeds(candidates[i], choice.version))
      choice = {i, candidates[i].version};
  }
  logChoice(candidates, choice);
  return choice;
}

} // namespace Selection
