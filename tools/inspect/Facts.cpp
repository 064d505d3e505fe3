#include "Facts.h"

#include "LauncherConstants.h"
#include "LauncherHelper.h"
#include "Platform.h"

#include <algorithm>
#include <system_error>
#include <utility>

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

// Whether every compared component is a number: only then does a version with one component more
// exceed it.
static bool isNumeric(const std::string& version) {
  const std::string compared = firstComponents(version, Selection::ALL_VERSION_COMPONENTS);
  return ThinClientLauncherBase::isGreaterVersion(
      compared + ".0", compared, Selection::ALL_VERSION_COMPONENTS + 1);
}

static Order orderOf(const std::string& version, const std::string& chosen) {
  if (version == chosen)
    return Order::Equal;
  if (isGreater(chosen, version))
    return Order::Lower;
  const bool isEqual = !isGreater(version, chosen) && isNumeric(version) && isNumeric(chosen);
  return isEqual ? Order::Equal : Order::Unordered;
}

// --- Candidates ---

template <typename Question>
static auto ifExaminable(Question question) -> std::optional<decltype(question())> {
  try {
    return question();
  } catch (const fs::filesystem_error&) {
    return std::nullopt;
  }
}

static std::optional<Records> readRecords(const Path& dir) {
  if (!launcher.isBelongLaunchDirectory(dir))
    return std::nullopt;
  return Records{
      ifExaminable([&] { return launcher.getLaunchCount(dir); }),
      ifExaminable([&] { return launcher.getLastLaunchTime(dir); }),
      ifExaminable([&] { return launcher.hasStartedSafely(dir); })};
}

static Selection::Candidates select(Facts& facts) {
  const auto viable = Selection::judgeViability(launcher, launcher.scanForPossibleDirectories());
  const auto compatible = Selection::judgeCompatibility(viable, facts.clientVersion);
  facts.fellBack = Selection::fallsBack(
      Selection::viableDirectories(viable), Selection::viableDirectories(compatible));
  auto candidates = facts.fellBack ? viable : compatible;
  facts.eligible = Selection::viableDirectories(candidates).size();
  const auto choice = Selection::chooseBest(candidates);
  facts.chosen = choice.index;
  facts.choseWithoutVersion = choice.index && choice.version == Selection::LOWEST_CANDIDATE_VERSION;
  return candidates;
}

static void findCandidates(Facts& facts) {
  const auto decisions = select(facts);
  const std::string best = facts.chosen ? decisions[*facts.chosen].version : "";
  for (const auto& decision : decisions) {
    const bool isChosen = facts.candidates.size() == facts.chosen;
    facts.candidates.push_back(
        {decision, readRecords(decision.dir), isChosen, orderOf(decision.version, best)});
  }
}

// --- Clean-up ---

// Folders of equal launch time are sorted in no defined order. Where the cut falls between some,
// they are taken out of the two lists.
static void separateTies(CleanUpPreview& cleanUp) {
  if (cleanUp.removed.empty() || cleanUp.kept.empty() ||
      cleanUp.removed.back().launchTime != cleanUp.kept.front().launchTime)
    return;
  const FileTime cut = cleanUp.kept.front().launchTime;
  for (auto* folders : {&cleanUp.removed, &cleanUp.kept}) {
    const auto firstTied = std::stable_partition(
        folders->begin(), folders->end(), [cut](const auto& f) { return f.launchTime != cut; });
    cleanUp.tiedKept = static_cast<std::size_t>(folders->end() - firstTied);
    cleanUp.tied.insert(cleanUp.tied.end(), firstTied, folders->end());
    folders->erase(firstTied, folders->end());
  }
}

static Failure failureOf(const fs::filesystem_error& error) {
  return {error.path1(), error.code().message()};
}

// A link to the started copy's folder shares its records, which are new by then. It has the same
// launch time now, so only then the file system is asked.
static void renewShared(CleanUpPreview::Folders& folders, const Path& launched) {
  const FileTime time = launcher.getLastLaunchTime(launched);
  std::error_code error;
  for (auto& folder : folders) {
    if (folder.launchTime == time && fs::equivalent(folder.dir, launched, error))
      folder.launchTime = FileTime::clock::now();
  }
}

static CleanUpPreview previewCleanUp(const Path& launched) {
  CleanUpPreview cleanUp;
  try {
    auto others = CleanUp::findOthers(launcher, launched);
    cleanUp.happens = others.has_value();
    if (!others)
      return cleanUp;
    renewShared(*others, launched);
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

static void previewLaunch(Facts& facts) {
  facts.workingDirectory = fs::current_path();
  facts.launcherDirectory = LauncherHelper::getLauncherDirectory();
  facts.launcherDirectoryExists = fs::exists(facts.launcherDirectory);
  findCandidates(facts);
  if (facts.chosen)
    facts.cleanUp = previewCleanUp(facts.candidates[*facts.chosen].decision.dir);
}

Facts findFacts(const std::string& clientVersion) {
  Facts facts;
  facts.clientVersion = clientVersion;
  facts.clientVersionIsOdd =
      !clientVersion.empty() &&
      !isNumeric(firstComponents(clientVersion, Selection::COMPATIBLE_VERSION_COMPONENTS));
  facts.home = Platform::libraryDirectory().parent_path();
  try {
    previewLaunch(facts);
  } catch (const fs::filesystem_error& error) {
    facts.failure = failureOf(error);
    facts.chosen.reset();
    facts.candidates.clear();
  }
  const Path logDirectory = LauncherHelper::getLogPath();
  if (!logDirectory.empty())
    facts.lastLaunch = readLaunchLog(logDirectory / VDI_LAUNCH_LOGE_LAUNCH_MODE);
  return facts;
}

std::optional<std::size_t> findCandidate(const Facts& facts, const Path& path) {
  Path wanted = path.lexically_normal();
  if (!wanted.has_filename()) // it ends with a slash
    wanted = wanted.parent_path();
  for (std::size_t i = 0; i < facts.candidates.size(); ++i) {
    if (facts.candidates[i].decision.dir == wanted)
      return i;
  }
  return std::nullopt;
}

} // namespace LauncherInspect
