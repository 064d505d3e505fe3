#include "Inspection.h"

#include "LauncherConstants.h"
#include "LauncherHelper.h"
#include "Platform.h"
#include "Selection.h"

#include <algorithm>
#include <system_error>

namespace fs = std::filesystem;

namespace LauncherInspect {

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
  return ThinClientLauncherBase::isGreaterVersion(a, b, Selection::ALL_VERSION_COMPONENTS);
}

// Whether every compared component is a number: only then is one component more seen to exceed it.
static bool isNumeric(const std::string& version) {
  const std::string compared = firstComponents(version, Selection::ALL_VERSION_COMPONENTS);
  return ThinClientLauncherBase::isGreaterVersion(
      compared + ".0", compared, Selection::ALL_VERSION_COMPONENTS + 1);
}

static bool isSameVersion(const std::string& a, const std::string& b) {
  if (a == b)
    return true;
  return !isGreater(a, b) && !isGreater(b, a) && isNumeric(a) && isNumeric(b);
}

// --- Candidates ---

static Verdict verdictOnLoser(const Selection::Candidate& candidate, const std::string& best) {
  switch (candidate.status) {
  case Selection::Status::NoBundle:
    return Verdict::NoBundle;
  case Selection::Status::Corrupt:
    return Verdict::Corrupt;
  case Selection::Status::Incompatible:
    return candidate.version.empty() ? Verdict::NoReadableVersion : Verdict::NewerThanClient;
  case Selection::Status::Viable:
    break;
  }
  if (candidate.version.empty())
    return Verdict::NoReadableVersion;
  if (isSameVersion(best, candidate.version))
    return Verdict::SameVersion;
  if (!isGreater(best, Selection::LOWEST_CANDIDATE_VERSION))
    return Verdict::NotAboveLowest;
  return isGreater(best, candidate.version) ? Verdict::Older : Verdict::NotComparable;
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

static bool isNearlyCorrupt(const Selection::CorruptCheck& check) {
  return check.applies && !check.startedSafely &&
         check.launchCount == Selection::CORRUPT_LAUNCH_COUNT_THRESHOLD - 1;
}

static Candidate examine(const Selection::Candidate& judged, const std::string& best) {
  Candidate candidate;
  candidate.directory = judged.dir;
  candidate.version = judged.version;
  if (launcher.isBelongLaunchDirectory(judged.dir))
    candidate.records = readRecords(judged.dir);
  candidate.verdict = verdictOnLoser(judged, best);
  candidate.nearlyCorrupt = isNearlyCorrupt(judged.corruptCheck);
  return candidate;
}

// --- Clean-up ---

// A link to the started copy's folder shares its records, which are new by then.
static bool sharesRecords(const Path& dir, const Path& launched) {
  std::error_code error;
  return fs::equivalent(dir, launched, error);
}

// Takes the folders whose launch time lies on both sides of the cut out of the two lists.
static void separateTies(CleanUpPreview& cleanUp) {
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

static CleanUpPreview previewCleanUp(const Path& launched) {
  CleanUpPreview cleanUp;
  try {
    auto others = CleanUp::findOthers(launcher, launched);
    cleanUp.happens = others.has_value();
    if (!others)
      return cleanUp;
    for (auto& folder : *others) {
      if (sharesRecords(folder.dir, launched))
        folder.launchTime = FileTime::clock::now();
    }
    auto plan = CleanUp::makePlan(std::move(*others));
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
  const auto viable = Selection::judgeViability(launcher, launcher.scanForPossibleDirectories());
  const auto compatible = Selection::judgeCompatibility(viable, inspection.clientVersion);
  inspection.fellBackToViable = Selection::fallsBack(
      Selection::viableDirectories(viable), Selection::viableDirectories(compatible));
  auto candidates = inspection.fellBackToViable ? viable : compatible;
  const auto choice = Selection::chooseBest(candidates);
  const std::string best = choice.index ? candidates[*choice.index].version : "";
  for (const auto& candidate : candidates)
    inspection.candidates.push_back(examine(candidate, best));
  inspection.contenders = Selection::viableDirectories(candidates).size();
  inspection.chosen = choice.index;
  if (!choice.index)
    return;
  inspection.candidates[*choice.index].verdict = Verdict::WouldStart;
  inspection.choseWithoutVersion = !isGreater(best, Selection::LOWEST_CANDIDATE_VERSION);
  inspection.cleanUp = previewCleanUp(candidates[*choice.index].dir);
}

Inspection inspect(const std::string& clientVersion) {
  Inspection inspection;
  inspection.clientVersion = clientVersion;
  inspection.clientVersionIsOdd =
      !clientVersion.empty() &&
      !isNumeric(firstComponents(clientVersion, Selection::COMPATIBLE_VERSION_COMPONENTS));
  inspection.home = Platform::libraryDirectory().parent_path();
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
