#include "Facts.h"

#include "LaunchRecords.h"
#include "LauncherConstants.h"
#include "LauncherHelper.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <iterator>
#include <map>
#include <pwd.h>
#include <set>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>
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

// Only then does a version with one component more exceed it.
bool isNumeric(const std::string& version, std::uint32_t count) {
  const std::string compared = firstComponents(version, count);
  return ThinClientLauncherBase::isGreaterVersion(compared + ".0", compared, count + 1);
}

static Order orderOf(const std::string& version, const std::string& chosen) {
  if (version == chosen)
    return Order::Equal;
  if (isGreater(chosen, version))
    return Order::Lower;
  if (isGreater(version, chosen))
    return Order::Higher;
  const bool isEqual = isNumeric(version) && isNumeric(chosen);
  return isEqual ? Order::Equal : Order::Unordered;
}

// --- Failures ---

// The link that leads back to itself, the folder without permission or the name that is too long:
// the file system names only the path that it was given.
static Path findCause(const Path& path, std::error_code code) {
  Path prefix;
  for (const auto& part : path) {
    const Path parent = prefix;
    prefix /= part;
    std::error_code found;
    static_cast<void>(fs::status(prefix, found));
    if (found == code)
      return code == std::errc::permission_denied ? parent : prefix;
  }
  return path;
}

template <typename Action>
static std::optional<Failure> failureOf(Action action) {
  try {
    action();
    return std::nullopt;
  } catch (const fs::filesystem_error& error) {
    return Failure{findCause(error.path1(), error.code()), error.code().message(), error.code()};
  }
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

// What the corrupt rule has read is not read again.
static std::optional<Records> readRecords(const Selection::Candidate& decision) {
  const Path& dir = decision.dir;
  const auto& check = decision.corruptCheck;
  if (!check.applies && !launcher.isBelongLaunchDirectory(dir))
    return std::nullopt;
  Records records{check.launchCount, std::nullopt, check.startedSafely};
  records.lastLaunch = ifExaminable([&] { return launcher.getLastLaunchTime(dir); });
  if (!check.applies) {
    records.launches = ifExaminable([&] { return launcher.getLaunchCount(dir); });
    records.startedSafely = ifExaminable([&] { return launcher.hasStartedSafely(dir); });
  }
  return records;
}

static CandidateFacts describe(const Selection::Candidate& decision) {
  CandidateFacts candidate;
  candidate.decision = decision;
  candidate.records = readRecords(decision);
  if (decision.status != Selection::Status::NoBundle && decision.version.empty())
    candidate.listProblem = findVersionProblem(decision.dir);
  return candidate;
}

// The same folder may be listed again through a link, or as the working folder.
static void findTwins(std::vector<CandidateFacts>& candidates) {
  std::map<std::pair<dev_t, ino_t>, std::size_t> first;
  for (std::size_t i = 0; i < candidates.size(); ++i) {
    struct stat status {};
    if (::stat(candidates[i].decision.dir.c_str(), &status) != 0)
      continue;
    const auto [known, isNew] = first.emplace(std::pair(status.st_dev, status.st_ino), i);
    if (!isNew)
      candidates[i].twin = known->second;
  }
}

static std::size_t countEligible(const std::vector<CandidateFacts>& candidates) {
  std::set<std::size_t> folders;
  for (std::size_t i = 0; i < candidates.size(); ++i) {
    if (Selection::isViable(candidates[i].decision))
      folders.insert(candidates[i].twin.value_or(i));
  }
  return folders.size();
}

static std::vector<CandidateFacts>
describeAll(const Selection::Candidates& judged, const std::optional<std::size_t>& chosen) {
  const std::string best = chosen ? judged[*chosen].version : "";
  std::vector<CandidateFacts> candidates;
  for (const auto& decision : judged) {
    candidates.push_back(describe(decision));
    candidates.back().order = orderOf(decision.version, best);
  }
  if (chosen)
    candidates[*chosen].isChosen = true;
  findTwins(candidates);
  return candidates;
}

namespace {

struct Selected {
  Selection::Candidates eligible; // and the others, in scan order
  bool fellBack;
  Selection::Choice choice;
};

} // namespace

static Selected select(const Selection::Candidates& viable, const std::string& clientVersion) {
  const auto compatible = Selection::judgeCompatibility(viable, clientVersion);
  const bool fellBack = Selection::fallsBack(
      Selection::viableDirectories(viable), Selection::viableDirectories(compatible));
  auto eligible = fellBack ? viable : compatible;
  const auto choice = Selection::chooseBest(eligible);
  return {eligible, fellBack, choice};
}

// As the launch decides, but for the list of corrupt versions, which it writes in between.
static Decisions decide(const std::string& clientVersion) {
  auto viable = Selection::judgeViability(launcher.scanForPossibleDirectories());
  const auto [eligible, fellBack, choice] = select(viable, clientVersion);
  Decisions decisions;
  decisions.fellBack = fellBack;
  decisions.chosen = choice.index;
  decisions.choseWithoutVersion =
      choice.index && choice.version == Selection::LOWEST_CANDIDATE_VERSION;
  decisions.candidates = describeAll(eligible, choice.index);
  decisions.eligible = countEligible(decisions.candidates);
  if (isNearlyCorrupt(decisions.chosenOne())) {
    viable[*choice.index].status = Selection::Status::Corrupt;
    decisions.next = select(viable, clientVersion).choice.index;
  }
  return decisions;
}

static const CandidateFacts&
findOne(const std::vector<CandidateFacts>& candidates, const std::optional<std::size_t>& index) {
  static const CandidateFacts none;
  return index ? candidates[*index] : none;
}

const CandidateFacts& Decisions::chosenOne() const {
  return findOne(candidates, chosen);
}

const CandidateFacts& Decisions::nextOne() const {
  return findOne(candidates, next);
}

bool isNearlyCorrupt(const CandidateFacts& candidate) {
  const auto& check = candidate.decision.corruptCheck;
  return check.applies && !check.startedSafely &&
         check.launchCount == Selection::CORRUPT_LAUNCH_COUNT_THRESHOLD - 1;
}

const CandidateFacts& Decisions::firstListed(const CandidateFacts& candidate) const {
  // NOLINTNEXTLINE(bugprone-return-const-ref-from-parameter): it is one of the candidates
  return candidate.twin ? candidates[*candidate.twin] : candidate;
}

// --- Candidates where the launcher would stop ---

// The scan's folders, as far as they can be listed.
static std::vector<Path> listFolders(const Places& places) {
  std::vector<Path> folders{LauncherHelper::getOriginalInstallationDirectory()};
  if (!places.workingDirectory.empty())
    folders.push_back(places.workingDirectory);
  std::error_code error;
  fs::directory_iterator entry(places.launcherDirectory, error);
  for (; !error && entry != fs::directory_iterator(); entry.increment(error)) {
    std::error_code unknown;
    const bool isDirectory = entry->is_directory(unknown);
    if (isDirectory || (unknown && unknown != std::errc::no_such_file_or_directory))
      folders.push_back(entry->path());
  }
  return folders;
}

static Selection::Candidate judgeAlone(const Path& dir, const std::string& clientVersion) {
  static_cast<void>(fs::is_directory(dir)); // raises what the scan would
  auto judged = Selection::judgeCompatibility(Selection::judgeViability({dir}), clientVersion);
  if (Selection::isViable(judged.front()))
    judged.front().version = LauncherHelper::getDirectoryVersion(dir);
  return judged.front();
}

// Without a launcher folder to compare with, no folder can be judged.
static Decisions examineEach(const Places& places, const std::string& clientVersion) {
  Decisions decisions;
  if (places.launcherDirectoryFailure && places.launcherDirectory.empty())
    return decisions;
  for (const auto& dir : listFolders(places)) {
    CandidateFacts candidate;
    candidate.decision.dir = dir;
    candidate.failure = failureOf([&] {
      candidate.records = readRecords(candidate.decision);
      candidate = describe(judgeAlone(dir, clientVersion));
    });
    decisions.candidates.push_back(candidate);
  }
  findTwins(decisions.candidates);
  return decisions;
}

// --- Clean-up ---

static bool isWritable(const Path& file) {
  std::error_code error;
  const fs::file_status status = fs::status(file, error);
  if (!fs::exists(status))
    return ::access(file.parent_path().c_str(), W_OK | X_OK) == 0;
  return ::access(file.c_str(), W_OK) == 0 && !fs::is_directory(status) && !fs::is_fifo(status) &&
         !fs::is_socket(status);
}

// Folders of equal launch time are sorted in no defined order. Where the cut falls between some,
// they are taken out of the two lists.
static void separateTies(CleanUpPreview& cleanUp) {
  if (cleanUp.removed.empty() || cleanUp.kept.empty() ||
      cleanUp.removed.back().launchTime != cleanUp.kept.front().launchTime)
    return;
  const FileTime cut = cleanUp.kept.front().launchTime;
  const auto isTied = [cut](const auto& folder) { return folder.launchTime == cut; };
  for (auto* folders : {&cleanUp.removed, &cleanUp.kept}) {
    std::copy_if(folders->begin(), folders->end(), std::back_inserter(cleanUp.tied), isTied);
    const auto end = std::remove_if(folders->begin(), folders->end(), isTied);
    cleanUp.tiedKept = static_cast<std::size_t>(folders->end() - end);
    folders->erase(end, folders->end());
  }
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

// Empty unless a folder itself would go, rather than another link to it.
static Path findTarget(const CleanUpPreview& cleanUp, const Path& launched) {
  std::error_code error;
  for (const auto* folders : {&cleanUp.removed, &cleanUp.tied}) {
    for (const auto& folder : *folders) {
      if (!fs::is_symlink(folder.dir, error) && fs::equivalent(folder.dir, launched, error))
        return folder.dir;
    }
  }
  return {};
}

static CleanUpPreview previewCleanUp(const Path& launched, bool isOwnHome) {
  CleanUpPreview cleanUp;
  cleanUp.failure = failureOf([&] {
    auto others = CleanUp::findOthers(launched);
    cleanUp.happens = others.has_value();
    if (!others)
      return;
    if (!isOwnHome || isWritable(launched / LAUNCH_DAT_FILE_NAME))
      renewShared(*others, launched);
    auto plan = CleanUp::makePlan(std::move(*others));
    cleanUp.removed = std::move(plan.removed);
    cleanUp.kept = std::move(plan.kept);
    separateTies(cleanUp);
    cleanUp.chosenTarget = findTarget(cleanUp, launched);
  });
  return cleanUp;
}

// --- What the launch would write ---

// Why no folder can be created in this one; 0: one can.
static int refusalOf(const Path& folder) {
  if (!fs::is_directory(folder))
    return ENOTDIR;
  return ::access(folder.c_str(), W_OK | X_OK) == 0 ? 0 : errno;
}

// The launcher creates the log folder first of all. A link that leads nowhere is in its way.
static std::optional<Failure> findLogFolderFailure(const Path& home, const Path& folder) {
  Path existing = folder;
  while (existing.has_relative_path() && !fs::exists(fs::symlink_status(existing)))
    existing = existing.parent_path();
  const int refusal = fs::exists(folder) || folder.empty() ? 0 : refusalOf(existing);
  if (refusal == 0)
    return std::nullopt;
  const std::error_code code(refusal, std::generic_category());
  if (!fs::exists(home))
    return Failure{home, code.message(), code, Failure::Step::CreatingHome};
  return Failure{existing, code.message(), code, Failure::Step::CreatingLogFolder};
}

// Not with std::filesystem::space: libc++ answers "unknown" for a space of zero.
static bool isFull(const Path& folder) {
  struct statvfs space {};
  return ::statvfs(folder.c_str(), &space) == 0 && space.f_bavail == 0;
}

// --- The whole ---

// Empty if the home is this user's own, or cannot be examined.
static std::string findOtherOwner(const Path& home) {
  struct stat status {};
  if (::stat(home.c_str(), &status) != 0 || status.st_uid == ::geteuid())
    return {};
  const passwd* const owner = ::getpwuid(status.st_uid);
  return owner != nullptr ? owner->pw_name : std::to_string(status.st_uid);
}

// On a Mac the system names the home; on Linux, HOME does where it is absolute.
static Path findIgnoredHome(const Path& home) {
  const char* const variable = std::getenv("HOME");
  if (variable == nullptr || *variable == '\0')
    return {};
  const Path named = (Path(variable) / "Library").parent_path(); // without a slash at the end
  std::error_code error;
  return named == home || fs::equivalent(named, home, error) ? Path() : named;
}

static Places findPlaces() {
  Places places;
  places.home = Platform::libraryDirectory().parent_path();
  places.ignoredHome = findIgnoredHome(places.home);
  places.homeOwner = findOtherOwner(places.home);
  places.diskIsFull = isFull(places.home);
  std::error_code error;
  places.workingDirectory = fs::current_path(error);
  places.launcherDirectoryFailure = failureOf([&places] {
    places.launcherDirectory = LauncherHelper::getLauncherDirectory();
    places.launcherDirectoryExists = fs::exists(places.launcherDirectory);
  });
  return places;
}

static Path findUnwritableRecord(const CandidateFacts& chosen, const Places& places) {
  const Path record = chosen.decision.dir / LAUNCHED_COUNT_FILE_NAME;
  const bool isNeeded = chosen.records && places.homeOwner.empty();
  return isNeeded && !isWritable(record) ? record : Path();
}

static Path findUnwritableLog(const Path& folder) {
  const Path log = folder / VDI_LAUNCH_LOGE_LAUNCH_MODE;
  return fs::exists(folder) && !isWritable(log) ? log : Path();
}

// A home of another user's is written by that user.
static void previewLog(Facts& facts) {
  const Path folder = LauncherHelper::getLogPath();
  if (!facts.places.homeOwner.empty() || folder.empty())
    return;
  facts.failure = findLogFolderFailure(facts.places.home, folder);
  facts.unwritableLog = findUnwritableLog(folder);
}

// What the launcher asks for, in its order.
static void previewLaunch(Facts& facts) {
  previewLog(facts);
  if (facts.failure)
    return;
  facts.decisions = decide(facts.clientVersion);
  if (!facts.decisions.chosen)
    return;
  const CandidateFacts& chosen = facts.decisions.chosenOne();
  facts.startCheck = checkStart(chosen.decision.dir, thisSystem());
  if (chosen.records)
    facts.recordCheck = checkRecords(chosen.decision.dir);
  facts.unwritableRecord = findUnwritableRecord(chosen, facts.places);
  facts.cleanUp = previewCleanUp(chosen.decision.dir, facts.places.homeOwner.empty());
}

Facts findFacts(const std::string& clientVersion) {
  Facts facts;
  facts.clientVersion = clientVersion;
  facts.places = findPlaces();
  if (const auto raised = failureOf([&facts] { previewLaunch(facts); }))
    facts.failure = raised;
  if (facts.failure)
    facts.decisions = examineEach(facts.places, clientVersion);
  const Path logDirectory = LauncherHelper::getLogPath();
  if (!logDirectory.empty()) {
    facts.lastLaunch = readLaunchLog(logDirectory / VDI_LAUNCH_LOGE_LAUNCH_MODE);
    facts.loadMode = readLoadLog(logDirectory / VDI_LAUNCH_LOGE_LOAD_MODE);
  }
  return facts;
}

std::optional<std::size_t> findCandidate(const Decisions& decisions, const Path& path) {
  Path wanted = path.lexically_normal();
  if (!wanted.has_filename()) // it ends with a slash
    wanted = wanted.parent_path();
  const auto& candidates = decisions.candidates;
  for (std::size_t i = 0; i < candidates.size(); ++i) {
    if (candidates[i].decision.dir == wanted)
      return i;
  }
  return std::nullopt;
}

} // namespace LauncherInspect
