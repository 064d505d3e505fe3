#include "Inspection.h"

#include "LauncherConstants.h"
#include "LauncherHelper.h"

#include <algorithm>
#include <system_error>

namespace fs = std::filesystem;

namespace LauncherInspect {

using CandidateList = ThinClientLauncherBase::CandidateList;

static const ThinClientLauncherBase launcher;

// --- Versions ---

std::string firstComponents(const std::string& version, std::size_t count) {
  const auto components = ThinClientLauncherBase::splitVersion(version);
  std::string text = components.front();
  for (std::size_t i = 1; i < std::min(count, components.size()); ++i)
    text += "." + components[i];
  return text;
}

static bool isGreater(const std::string& a, const std::string& b) {
  return ThinClientLauncherBase::isGreaterVersion(a, b, ALL_VERSION_COMPONENTS);
}

// Whether every compared component is a number: only then is one component more seen to exceed it.
static bool isNumeric(const std::string& version) {
  const std::string compared = firstComponents(version, ALL_VERSION_COMPONENTS);
  return ThinClientLauncherBase::isGreaterVersion(
      compared + ".0", compared, ALL_VERSION_COMPONENTS + 1);
}

static bool isSameVersion(const std::string& a, const std::string& b) {
  if (a == b)
    return true;
  return !isGreater(a, b) && !isGreater(b, a) && isNumeric(a) && isNumeric(b);
}

// --- Candidates ---

namespace {

// The lists of one selection, each made from the one before.
struct Selection {
  CandidateList scanned;
  CandidateList viable;
  CandidateList contenders;
  bool fellBackToViable = false;
  Path best;
  std::string bestVersion;
};

} // namespace

static bool contains(const CandidateList& list, const Path& dir) {
  return std::find(list.begin(), list.end(), dir) != list.end();
}

static Selection select(const std::string& clientVersion) {
  Selection selection;
  selection.scanned = launcher.scanForPossibleDirectories();
  selection.viable = launcher.judgeViability(selection.scanned).viable;
  selection.contenders = launcher.selectCompatible(selection.viable, clientVersion);
  selection.fellBackToViable =
      !selection.viable.empty() &&
      launcher.filterIncompatibleDirectories(selection.viable, clientVersion).empty();
  selection.best = launcher.findBestCandidate(selection.contenders);
  if (!selection.contenders.empty())
    selection.bestVersion = LauncherHelper::getDirectoryVersion(selection.best);
  return selection;
}

static Verdict verdictOnLoser(const Candidate& candidate, const Selection& selection) {
  if (!LauncherHelper::isVDIPluginDirectory(candidate.directory))
    return Verdict::NoBundle;
  if (!contains(selection.viable, candidate.directory))
    return Verdict::Corrupt;
  if (candidate.version.empty())
    return Verdict::NoReadableVersion;
  if (!contains(selection.contenders, candidate.directory))
    return Verdict::NewerThanClient;
  if (isSameVersion(selection.bestVersion, candidate.version))
    return Verdict::SameVersion;
  if (!isGreater(selection.bestVersion, LOWEST_CANDIDATE_VERSION))
    return Verdict::NotAboveLowest;
  return isGreater(selection.bestVersion, candidate.version) ? Verdict::Older
                                                             : Verdict::NotComparable;
}

template <typename Question>
static auto ifExaminable(Question question) -> std::optional<decltype(question())> {
  try {
    return question();
  } catch (const fs::filesystem_error&) {
    return std::nullopt;
  }
}

static Records readRecords(const Path& dir) {
  return {
      ifExaminable([&] { return launcher.getLaunchCount(dir); }),
      ifExaminable([&] { return launcher.getLastLaunchTime(dir); }),
      ifExaminable([&] { return launcher.hasStartedSafely(dir); })};
}

static bool isNearlyCorrupt(const Candidate& candidate) {
  return candidate.records && candidate.records->launches == CORRUPT_LAUNCH_COUNT_THRESHOLD - 1 &&
         candidate.records->startedSafely == false &&
         launcher.isSupportCheckCorrupt(candidate.directory);
}

static Candidate examine(const Path& dir, const Selection& selection) {
  Candidate candidate;
  candidate.directory = dir;
  candidate.version = LauncherHelper::getDirectoryVersion(dir);
  if (launcher.isBelongLaunchDirectory(dir))
    candidate.records = readRecords(dir);
  candidate.verdict = verdictOnLoser(candidate, selection);
  candidate.nearlyCorrupt = isNearlyCorrupt(candidate);
  return candidate;
}

// --- Clean-up ---

// A link to the started copy's folder shares its records, which are new by then.
static bool sharesRecords(const Path& dir, const Path& launched) {
  std::error_code error;
  return fs::equivalent(dir, launched, error);
}

// Takes the folders whose launch time lies on both sides of the cut out of the two lists.
static void separateTies(CleanUp& cleanUp) {
  if (cleanUp.removed.empty() || cleanUp.kept.empty() ||
      cleanUp.removed.back().launchTime != cleanUp.kept.front().launchTime)
    return;
  const FileTime cut = cleanUp.kept.front().launchTime;
  const auto isTied = [cut](const auto& folder) { return folder.launchTime == cut; };
  const auto firstTied = std::find_if(cleanUp.removed.begin(), cleanUp.removed.end(), isTied);
  const auto lastTied = std::find_if_not(cleanUp.kept.begin(), cleanUp.kept.end(), isTied);
  cleanUp.undefined.assign(firstTied, cleanUp.removed.end());
  cleanUp.undefined.insert(cleanUp.undefined.end(), cleanUp.kept.begin(), lastTied);
  cleanUp.undefinedKept = static_cast<std::size_t>(lastTied - cleanUp.kept.begin());
  cleanUp.removed.erase(firstTied, cleanUp.removed.end());
  cleanUp.kept.erase(cleanUp.kept.begin(), lastTied);
}

static Failure failureOf(const fs::filesystem_error& error) {
  return {error.path1(), error.code().message()};
}

static CleanUp previewCleanUp(const Path& launched) {
  CleanUp cleanUp;
  try {
    cleanUp.happens = launcher.isBelongLaunchDirectory(launched);
    auto folders = launcher.foldersToCleanUp(launched);
    for (auto& folder : folders) {
      if (sharesRecords(folder.dir, launched))
        folder.launchTime = FileTime::clock::now();
    }
    auto plan = ThinClientLauncherBase::planCleanUp(std::move(folders));
    cleanUp.removed = std::move(plan.removed);
    cleanUp.kept = std::move(plan.kept);
    separateTies(cleanUp);
  } catch (const fs::filesystem_error& error) {
    cleanUp.failure = failureOf(error);
  }
  return cleanUp;
}

// --- The whole ---

static void previewLaunch(Inspection& inspection) {
  inspection.workingDirectory = fs::current_path();
  inspection.launcherFolder = LauncherHelper::getLauncherDirectory();
  inspection.launcherFolderMissing = !fs::exists(inspection.launcherFolder);
  const Selection selection = select(inspection.clientVersion);
  for (const auto& dir : selection.scanned)
    inspection.candidates.push_back(examine(dir, selection));
  inspection.fellBackToViable = selection.fellBackToViable;
  inspection.contenders = selection.contenders.size();
  if (selection.contenders.empty())
    return;
  const auto chosen = std::find(selection.scanned.begin(), selection.scanned.end(), selection.best);
  inspection.chosen = static_cast<std::size_t>(chosen - selection.scanned.begin());
  inspection.candidates[*inspection.chosen].verdict = Verdict::WouldStart;
  inspection.choseWithoutVersion = !isGreater(selection.bestVersion, LOWEST_CANDIDATE_VERSION);
  inspection.cleanUp = previewCleanUp(selection.best);
}

Inspection inspect(const std::string& clientVersion) {
  Inspection inspection;
  inspection.clientVersion = clientVersion;
  inspection.clientVersionIsOdd =
      !clientVersion.empty() &&
      !isNumeric(firstComponents(clientVersion, COMPATIBLE_VERSION_COMPONENTS));
  inspection.home = LauncherHelper::Platform::libraryDirectory().parent_path();
  try {
    previewLaunch(inspection);
  } catch (const fs::filesystem_error& error) {
    inspection.failure = failureOf(error);
    inspection.candidates.clear();
  }
  const Path logFolder = LauncherHelper::getLogPath();
  if (!logFolder.empty())
    inspection.lastLaunch = readLaunchLog(logFolder / VDI_LAUNCH_LOGE_LAUNCH_MODE);
  return inspection;
}

} // namespace LauncherInspect
