#include "Messages.h"

#include "LaunchRecords.h"
#include "LauncherConstants.h"
#include "System.h"

#include <algorithm>
#include <set>
#include <tuple>

namespace LauncherInspect {

using Platform::ListProblem;
using Selection::Status;

// --- Parts of sentences ---

static Text operator+(Text text, const Text& more) {
  text.parts.insert(text.parts.end(), more.parts.begin(), more.parts.end());
  return text;
}

// A literal plus a number would be another literal.
static Text operator""_t(const char* words, std::size_t) {
  return words;
}

static Version startOfVersion(const std::string& version) {
  return {version, Selection::COMPATIBLE_VERSION_COMPONENTS};
}

static Text newerThanClient(const Facts& facts, const CandidateFacts& candidate) {
  return "newer than the client ("_t + startOfVersion(candidate.decision.version) + " > " +
         startOfVersion(facts.clientVersion) + ")";
}

// --- Causes and remedies ---

namespace {

struct VersionProblem {
  ListProblem problem;
  const char* text;
  const char* remedy;
  const char* place = nullptr; // in the bundle: what the remedy ends with
};

} // namespace

// For what the message names just before.
static const std::initializer_list<std::pair<std::errc, const char*>> FAILURE_REMEDIES = {
    {std::errc::too_many_symbolic_link_levels, "Remove this link: it leads back to itself."},
    {std::errc::filename_too_long, "Give this folder, or one above it, a shorter name."},
    {std::errc::permission_denied,
     "Make it accessible to this user, or inspect as the user who owns it."},
    {std::errc::not_a_directory, "Move this file or link away: a folder belongs here."},
    {std::errc::no_such_file_or_directory, "Start the host in a working folder that exists."},
    {std::errc::read_only_file_system, "Make this file system writable."},
    {std::errc::io_error, "Check the disk: it cannot be read here."}};

static const char* failureRemedy(const std::optional<Failure>& failure) {
  for (const auto& [cause, text] : FAILURE_REMEDIES) {
    if (failure && failure->code == cause)
      return text;
  }
  return "Check this file system, and whether this user may use it.";
}

constexpr const char* INSTALL_AGAIN = "Install this copy again, or remove its bundle: ";
constexpr const char* REPLACE = "Remove this, and install the copy again: ";
constexpr const char* OPEN = "Make this readable for this user: ";
constexpr const char* CHECK_DISK = "Check that the disk has space, and install this copy again.";
constexpr const char* CHECK_LIST = "Check what the list holds, and install this copy again.";
constexpr const char* SAVE_AS_UTF8 = "Save the list in UTF-8.";
constexpr const char* NAME_A_VERSION = "Install a build of this copy that names its version.";
constexpr const char* SEE_WHY = "Look into the system log for why it did not come up.";
constexpr const char* LIST = "/Contents/Info.plist";

static const std::initializer_list<VersionProblem> VERSION_PROBLEMS = {
    {ListProblem::NoFile, "the bundle has no Contents/Info.plist", INSTALL_AGAIN, ""},
    {ListProblem::NotRegular, "Info.plist is no regular file", REPLACE, LIST},
    {ListProblem::Unreadable, "Info.plist cannot be read by this user", OPEN, LIST},
    {ListProblem::Empty, "Info.plist is empty", CHECK_DISK},
    {ListProblem::TooLarge, "Info.plist is larger than 256 KiB", CHECK_LIST},
    {ListProblem::UnknownEncoding,
     "Info.plist is XML in an encoding that is not read",
     SAVE_AS_UTF8},
    {ListProblem::Declarations, "Info.plist declares entities, which are not read", CHECK_LIST},
    {ListProblem::Malformed, "Info.plist is no well-formed property list", INSTALL_AGAIN, ""},
    {ListProblem::NoDictionary, "Info.plist holds no dictionary", INSTALL_AGAIN, ""},
    {ListProblem::NoKey, "Info.plist has no CFBundleShortVersionString", NAME_A_VERSION},
    {ListProblem::NoText, "CFBundleShortVersionString in Info.plist is no text", NAME_A_VERSION},
    {ListProblem::None, "CFBundleShortVersionString in Info.plist is empty", NAME_A_VERSION}};

static const VersionProblem& versionProblem(const CandidateFacts& candidate) {
  return *std::find_if(
      VERSION_PROBLEMS.begin(), VERSION_PROBLEMS.end(), [&candidate](const auto& row) {
        return row.problem == candidate.listProblem;
      });
}

static Text inFolder(const char* words, const CandidateFacts& candidate, const Path& place = {}) {
  return Text(words) + Inside{candidate.decision.dir, place};
}

static Text inBundle(const char* words, const CandidateFacts& candidate, const char* place = "") {
  return inFolder(words, candidate, std::string(VDI_MAIN_APP_NAME) + place);
}

static Text versionRemedy(const CandidateFacts& candidate) {
  const VersionProblem& row = versionProblem(candidate);
  return row.place == nullptr ? row.remedy : inBundle(row.remedy, candidate, row.place);
}

// --- Lists ---

const Message& firstOf(const Messages& messages) {
  const auto applies = [](const Message& message) { return message.applies; };
  return *std::find_if(messages.begin(), messages.end(), applies);
}

static Messages operator+(Messages messages, const Messages& more) {
  messages.insert(messages.end(), more.begin(), more.end());
  return messages;
}

// --- The choice ---

static bool isAt(const std::optional<Failure>& failure, Failure::Step step) {
  return failure && failure->step == step;
}

static const char* creationRemedy(const std::optional<Failure>& failure) {
  const bool isRefused = failure && failure->code == std::errc::permission_denied;
  return isRefused ? "Make this folder writable for this user." : failureRemedy(failure);
}

Messages outcome(const Facts& facts, const CandidateFacts& candidate) {
  const bool hasVersion = !candidate.decision.version.empty();
  return {
      {"failed",
       isAt(facts.failure, Failure::Step::CreatingHome),
       "Nothing would start: the home is missing, and the launcher cannot create it. "_t +
           facts.failure,
       "Create this home for the user, or name an existing one."},
      {"failed",
       isAt(facts.failure, Failure::Step::CreatingLogFolder),
       "Nothing would start: the launcher cannot create the folder of its log. "_t + facts.failure,
       creationRemedy(facts.failure)},
      {"failed",
       facts.failure.has_value(),
       "Nothing would start: the launcher would stop at an error. "_t + facts.failure,
       failureRemedy(facts.failure)},
      {"nothing-viable", !facts.decisions.chosen, "Nothing would start: no candidate is viable"},
      {"would-start",
       true,
       "Would start "_t +
           (hasVersion ? Version{candidate.decision.version} : Text("a copy without a version"))}};
}

// Each folder counts once.
static std::size_t countFolders(const Facts& facts, Status status) {
  const auto& all = facts.decisions.candidates;
  const auto isCounted = [status](const auto& candidate) {
    return !candidate.twin && candidate.decision.status == status;
  };
  return static_cast<std::size_t>(std::count_if(all.begin(), all.end(), isCounted));
}

static Messages nothingViable(const Facts& facts) {
  const bool applies = !facts.failure && !facts.decisions.chosen;
  const std::size_t bundleless = countFolders(facts, Status::NoBundle);
  const std::size_t corrupt = countFolders(facts, Status::Corrupt);
  return {
      {"nothing-viable",
       applies,
       Text(bundleless + corrupt) + " candidates: " + bundleless +
           " without an application bundle, " + corrupt +
           " corrupt. There is nothing to fall back to."},
      {"writes-to-working-directory",
       applies && facts.places.launcherDirectory.empty(),
       "The home has no Application Support folder. The launcher would write launchCount.dat and "
       "launch.dat into the working folder: "_t +
           facts.places.workingDirectory,
       "Create Library/Application Support in the home before the next launch."}};
}

static bool isAnyClient(const Facts& facts) {
  return facts.clientVersion == Selection::ANY_CLIENT_VERSION;
}

// A client of one component excludes every longer version that begins with it.
static bool excludesLongerVersions(const Facts& facts) {
  using Base = ThinClientLauncherBase;
  const std::string& client = facts.clientVersion;
  const auto& all = facts.decisions.candidates;
  return Base::splitVersion(client).size() == 1 &&
         std::any_of(all.begin(), all.end(), [&client](const auto& candidate) {
           const std::string& version = candidate.decision.version;
           return Base::isGreaterVersion(version, client, 2) &&
                  !Base::isGreaterVersion(version, client, 1);
         });
}

static bool beginsWithNumbers(const std::string& clientVersion) {
  return clientVersion.empty() ||
         isNumeric(clientVersion, Selection::COMPATIBLE_VERSION_COMPONENTS);
}

// The digits before another character are read all the same.
static bool hasMoreThanDigits(const std::string& clientVersion) {
  return firstComponents(clientVersion, Selection::COMPATIBLE_VERSION_COMPONENTS)
             .find_first_not_of("0123456789.") != std::string::npos;
}

static Messages clientNotes(const Facts& facts, const CandidateFacts& candidate) {
  const Version client{facts.clientVersion};
  return {
      {"nothing-compatible",
       candidate.isChosen && facts.decisions.fellBack,
       "No copy is compatible with client "_t + client +
           ": the launcher falls back to all viable copies (" + facts.decisions.eligible + ")."},
      {"odd-client-version",
       candidate.isChosen && !beginsWithNumbers(facts.clientVersion),
       "Client version "_t + client +
           " does not begin with two numbers. A component that is no number never makes a copy too "
           "new."},
      {"odd-client-version",
       beginsWithNumbers(facts.clientVersion) && hasMoreThanDigits(facts.clientVersion),
       "Of each component of client version "_t + client +
           " only the digits at its start are compared.",
       "Pass the client's version as numbers with dots between them."},
      {"short-client-version",
       excludesLongerVersions(facts),
       "Client version "_t + client + " has one component. Version " + client + ".0 is newer.",
       "Pass the client's whole version."}};
}

static Messages homeNotes(const Places& places) {
  return {
      {"other-home",
       !places.ignoredHome.empty(),
       "HOME does not name the home on this system: "_t + places.home + " is inspected, not " +
           places.ignoredHome,
       "Name the home with --home."},
      {"other-owner",
       !places.homeOwner.empty(),
       "The home belongs to another user ("_t + places.homeOwner +
           "). The answer may differ for that user, whose permissions differ.",
       "Inspect as that user to be sure."},
      {"disk-full",
       places.diskIsFull,
       "The disk that holds the home is full: a launch can write neither its log nor its records.",
       "Free some space on it."}};
}

static Messages logNotes(const Path& unwritableLog) {
  return {
      {"log-not-writable",
       !unwritableLog.empty(),
       "The launcher would leave no log: "_t + unwritableLog + " cannot be written.",
       "Make it, and its folder, writable for this user."}};
}

Messages notes(const Facts& facts, const CandidateFacts& candidate) {
  return nothingViable(facts) + clientNotes(facts, candidate) + homeNotes(facts.places) +
         logNotes(facts.unwritableLog);
}

Messages client(const Facts& facts, const CandidateFacts&) {
  const Text version = facts.clientVersion;
  return {
      {"none", facts.clientVersion.empty(), "none, so every copy is compatible"},
      {"any", isAnyClient(facts), version + " stands for any client, so every copy is compatible"},
      {"given", true, version}};
}

Messages launcherDirectoryState(const Facts& facts, const CandidateFacts&) {
  const auto& failure = facts.places.launcherDirectoryFailure;
  const Path& folder = facts.places.launcherDirectory;
  return {
      {"unknown", failure.has_value(), "unknown: "_t + failure},
      {"no-application-support", folder.empty(), "none: there is no Application Support folder"},
      {"missing", !facts.places.launcherDirectoryExists, Text(folder) + " (missing)"},
      {"exists", true, folder}};
}

// --- Each candidate ---

// Whether the logs of the last launch tell so.
static bool cameUp(const Facts& facts, const CandidateFacts& candidate) {
  const auto& [last, load] = std::tie(facts.lastLaunch, facts.loadMode);
  return load.isEntered && !load.failure && !isEarlier(load, last) && last.chosen &&
         isMaskedFormOf(last.chosen->directory, candidate.decision.dir.string());
}

static Text
remedyWithoutSafeStart(const Facts& facts, const CandidateFacts& candidate, const char* otherwise) {
  if (cameUp(facts, candidate))
    return "It came up at the last launch, but recorded no safe start: have the plug-in record "
           "it, and make the folder of the copy writable for this user.";
  return otherwise;
}

static Text afterChosen(const Decisions& decisions) {
  const CandidateFacts& next = decisions.nextOne();
  if (!decisions.next)
    return ". Then nothing would start";
  return ". Then "_t + Version{next.decision.version} + " would start, in " + next.decision.dir;
}

static Messages recordWarnings(const Facts& facts, const CandidateFacts& candidate) {
  return {
      {"nearly-corrupt",
       isNearlyCorrupt(candidate),
       Text(Version{candidate.decision.version}) + " was launched " +
           candidate.decision.corruptCheck.launchCount +
           " times without a safe start. One more such launch makes it corrupt. It lies in " +
           candidate.decision.dir + (candidate.isChosen ? afterChosen(facts.decisions) : Text()),
       remedyWithoutSafeStart(
           facts,
           candidate,
           "Look into the system log for why it does not come up. A copy that comes up writes "
           "started.dat into its folder.")},
      {"no-readable-version",
       candidate.isChosen && candidate.decision.version.empty(),
       "The chosen copy has no readable version: "_t + versionProblem(candidate).text,
       versionRemedy(candidate)}};
}

static Messages timeWarnings(const RecordCheck& records, const CandidateFacts& candidate) {
  return {
      {"older-records",
       candidate.isChosen && records.areOlderThanBundle,
       "The bundle of the chosen copy is newer than its records: the launches, and the safe start, "
       "of another build count for this one.",
       inFolder(
           "Install each build in a folder of its own. To start this one afresh, remove "
           "started.dat "
           "and launchCount.dat from ",
           candidate)},
      {"times-changed",
       candidate.isChosen && records.haveForeignTimes,
       "launch.dat of the chosen copy was modified at another time than it holds: the home was "
       "copied or restored without the times of its files, by which the clean-up goes.",
       "Copy a home with its times (cp -a)."}};
}

static Messages corruptWarning(const Facts& facts, const CandidateFacts& candidate) {
  return {
      {"newest-corrupt",
       candidate.decision.status == Status::Corrupt && candidate.order == Order::Higher,
       Text(Version{candidate.decision.version}) +
           " is newer than the chosen copy, but corrupt. "
           "It lies in " +
           candidate.decision.dir,
       remedyWithoutSafeStart(facts, candidate, SEE_WHY)}};
}

static Messages programWarnings(const StartCheck& start, const CandidateFacts& candidate) {
  const bool isChosen = candidate.isChosen;
  const Text installAgain = inBundle(INSTALL_AGAIN, candidate);
  return {
      {"no-program",
       isChosen && !start.hasProgram,
       "The chosen copy would not come up: its program is missing, "_t + start.program,
       installAgain},
      {"not-executable",
       isChosen && start.hasProgram && !start.isExecutable,
       "The chosen copy would not come up: this user cannot execute its program, "_t +
           start.program,
       "Make it an executable file (chmod a+x), or install this copy again."},
      {"not-a-program",
       isChosen && start.isExecutable && !start.isProgram,
       "The chosen copy would not come up: this is no program that can run here, "_t +
           start.program,
       installAgain}};
}

static Messages libraryWarnings(const StartCheck& start, const CandidateFacts& candidate) {
  const Text installAgain = inBundle(INSTALL_AGAIN, candidate);
  const Text missing = " is missing from "_t + start.frameworks;
  return {
      {"no-main-library",
       candidate.isChosen && !start.hasMainLibrary,
       "The chosen copy would come up without its main library: "_t + VDI_MAIN_LIBRARY_NAME +
           missing,
       installAgain},
      {"no-launcher-library",
       candidate.isChosen && !start.hasLauncherLibrary,
       "The chosen copy would not enter load mode: "_t + VDI_LAUNCHER_LIBRARY_NAME + missing,
       installAgain}};
}

static Messages systemWarnings(const StartCheck& start, const CandidateFacts& candidate) {
  const bool isChosen = candidate.isChosen;
  return {
      {"no-code-for-machine",
       isChosen && !start.foreignFile.empty(),
       "The chosen copy would not come up: there is no code for "_t + start.architecture + " in " +
           start.foreignFile,
       "Install a build of this copy that runs on this machine."},
      {"unsigned-code",
       isChosen && !start.unsignedFile.empty(),
       "The chosen copy would not come up: its code for "_t + start.architecture +
           " has no signature in " + start.unsignedFile,
       "Install a signed build. For one machine alone, codesign --sign - signs a file."},
      {"needs-newer-system",
       isChosen && !start.neededSystem.empty(),
       "The chosen copy would not come up: it needs macOS "_t + Version{start.neededSystem} +
           ", and this is " + start.systemVersion,
       "Update macOS, or install a build of this copy for this version."}};
}

static Messages quarantineWarning(const StartCheck& start, const CandidateFacts& candidate) {
  return {
      {"quarantined",
       candidate.isChosen && start.isQuarantined,
       "The chosen copy is quarantined: macOS may ask the user, refuse it, or run it from another "
       "folder, where it cannot record its safe start.",
       inBundle(
           "If you trust where it comes from, remove com.apple.quarantine (xattr -dr) from its "
           "bundle: ",
           candidate)}};
}

static Messages countWarning(const Path& record, const CandidateFacts& candidate) {
  return {
      {"not-countable",
       candidate.isChosen && !record.empty(),
       "Launches of the chosen copy are not counted: "_t + record + " cannot be written.",
       "Make it, and its folder, writable for this user."}};
}

// The rule takes each folder by itself.
static Messages removalWarning(const Path& target, const CandidateFacts& candidate) {
  return {
      {"removes-chosen",
       candidate.isChosen && !target.empty(),
       "The clean-up may remove the folder to which the chosen copy is a link: "_t + target,
       "Remove the link, or make launch.dat in the folder writable for this user."}};
}

Messages warnings(const Facts& facts, const CandidateFacts& candidate) {
  return recordWarnings(facts, candidate) + corruptWarning(facts, candidate) +
         timeWarnings(facts.recordCheck, candidate) + programWarnings(facts.startCheck, candidate) +
         libraryWarnings(facts.startCheck, candidate) +
         systemWarnings(facts.startCheck, candidate) +
         quarantineWarning(facts.startCheck, candidate) +
         countWarning(facts.unwritableRecord, candidate) +
         removalWarning(facts.cleanUp.chosenTarget, candidate);
}

static Text reasonOfChoice(const Facts& facts) {
  const Decisions& decisions = facts.decisions;
  const bool isUnasked = facts.clientVersion.empty() || isAnyClient(facts);
  const char* const kind = isUnasked || decisions.fellBack ? "viable" : "compatible";
  if (decisions.choseWithoutVersion)
    return "no "_t + kind + " copy has a version above " + Selection::LOWEST_CANDIDATE_VERSION +
           ", so the first one is taken";
  if (decisions.eligible == 1)
    return "the only "_t + kind + " copy";
  return "the highest version of "_t + decisions.eligible + " " + kind + " copies";
}

static Messages ruledVerdicts(const Facts& facts, const CandidateFacts& candidate) {
  const auto& [dir, status, version, corruptCheck] = candidate.decision;
  return {
      {"not-examined",
       candidate.failure.has_value(),
       "cannot be examined, so the launcher would stop here: "_t + candidate.failure,
       failureRemedy(candidate.failure)},
      {"would-start", candidate.isChosen, "would start: "_t + reasonOfChoice(facts)},
      {"no-bundle",
       status == Status::NoBundle,
       "no application bundle (no "_t + VDI_MAIN_APP_NAME + ")"},
      {"corrupt",
       status == Status::Corrupt,
       "corrupt (launched "_t + corruptCheck.launchCount + " times, never started safely)",
       remedyWithoutSafeStart(facts, candidate, SEE_WHY) +
           inFolder(" To let it be chosen again, remove ", candidate, LAUNCHED_COUNT_FILE_NAME)},
      {"no-readable-version",
       version.empty(),
       "no readable version: "_t + versionProblem(candidate).text,
       versionRemedy(candidate)},
      {"newer-than-client", status == Status::Incompatible, newerThanClient(facts, candidate)}};
}

static Messages comparedVerdicts(const Decisions& decisions, const CandidateFacts& candidate) {
  const Version version{candidate.decision.version};
  const Version chosen{decisions.chosenOne().decision.version};
  return {
      {"same-folder",
       candidate.twin.has_value(),
       "the same folder as "_t + decisions.firstListed(candidate).decision.dir + ", listed again"},
      {"viable", !decisions.chosen, "viable, but the launcher would stop before the choice"},
      {"same-version",
       candidate.order == Order::Equal,
       "same version, comes later ("_t + version + ")"},
      {"not-above-lowest",
       decisions.choseWithoutVersion,
       "viable, version not above "_t + Selection::LOWEST_CANDIDATE_VERSION + " (" + version + ")"},
      {"older",
       candidate.order == Order::Lower,
       "viable, older than the chosen copy ("_t + version + " < " + chosen + ")"},
      {"not-comparable",
       true,
       "viable, not comparable with the chosen copy ("_t + version + ", " + chosen + ")"}};
}

Messages verdict(const Facts& facts, const CandidateFacts& candidate) {
  return ruledVerdicts(facts, candidate) + comparedVerdicts(facts.decisions, candidate);
}

// --- The rules that a candidate was asked, up to the first that it failed ---

static Messages bundleRule(const CandidateFacts& candidate) {
  const bool isAsked = !candidate.failure;
  const bool hasBundle = candidate.decision.status != Status::NoBundle;
  return {
      {"stopped", !isAsked, "stopped: "_t + candidate.failure},
      {"bundle-passed", isAsked && hasBundle, "bundle: the folder holds "_t + VDI_MAIN_APP_NAME},
      {"bundle-failed",
       isAsked && !hasBundle,
       "no bundle: the folder does not hold "_t + VDI_MAIN_APP_NAME}};
}

static Text reasonNeverCorrupt(const CandidateFacts& candidate) {
  if (!candidate.records)
    return "the folder is not in the launcher folder";
  if (candidate.decision.version.empty())
    return "there is no readable version";
  return "version "_t + Version{candidate.decision.version} + " does not exceed " +
         Selection::CORRUPT_CHECK_BASE_VERSION;
}

static Messages corruptRule(const CandidateFacts& candidate) {
  const auto& check = candidate.decision.corruptCheck;
  const bool hasBundle = candidate.decision.status != Status::NoBundle;
  const Text launched = "launched "_t + check.launchCount + " times";
  const Text limit = ", the limit is "_t + Selection::CORRUPT_LAUNCH_COUNT_THRESHOLD;
  return {
      {"corrupt-exempt",
       !candidate.failure && hasBundle && !check.applies,
       "never corrupt: "_t + reasonNeverCorrupt(candidate)},
      {"corrupt-failed",
       check.isCorrupt,
       "corrupt: "_t + launched + " without a safe start" + limit},
      {"corrupt-passed",
       check.applies && check.startedSafely,
       "not corrupt: started safely ("_t + launched + ")"},
      {"corrupt-passed",
       check.applies && !check.isCorrupt && !check.startedSafely,
       "not corrupt: "_t + launched + limit}};
}

static Messages clientRule(const Facts& facts, const CandidateFacts& candidate) {
  const auto& [dir, status, version, corruptCheck] = candidate.decision;
  const Text client = Version{facts.clientVersion};
  const bool isNone = facts.clientVersion.empty();
  const bool isAsked =
      !candidate.failure && status != Status::NoBundle && status != Status::Corrupt;
  const bool isCompared = isAsked && !isNone && !isAnyClient(facts);
  const bool isFailed = isCompared && (status == Status::Incompatible || facts.decisions.fellBack);
  return {
      {"client-exempt",
       isAsked && !isCompared,
       "compatible: "_t + (isNone ? Text("the host names no version")
                                  : "client version "_t + client + " stands for any")},
      {"client-failed",
       isFailed,
       "not compatible: "_t + (version.empty() ? "no readable version to compare with "_t + client
                                               : newerThanClient(facts, candidate))},
      {"client-passed",
       isCompared && !isFailed,
       "compatible: "_t + startOfVersion(version) + " does not exceed " +
           startOfVersion(facts.clientVersion)},
      {"client-overruled",
       isFailed && facts.decisions.fellBack,
       "eligible all the same: no viable copy is compatible"}};
}

static Messages choiceRule(const Facts& facts, const CandidateFacts& candidate) {
  const bool isAsked = !candidate.failure && Selection::isViable(candidate.decision);
  const bool isChoice = facts.decisions.chosen.has_value();
  const Text reason = firstOf(verdict(facts, candidate)).text;
  return {
      {"choice-passed", candidate.isChosen, reason},
      {"choice-failed", isAsked && !candidate.isChosen && isChoice, "not chosen: "_t + reason},
      {"choice-prevented", isAsked && !isChoice, "not chosen: "_t + reason}};
}

Messages rules(const Facts& facts, const CandidateFacts& candidate) {
  return bundleRule(candidate) + corruptRule(candidate) + clientRule(facts, candidate) +
         choiceRule(facts, candidate);
}

// --- The clean-up ---

Messages cleanUp(const Facts& facts, const CandidateFacts&) {
  return {
      {"nothing-started", !facts.decisions.chosen, "removes nothing, since nothing would start"},
      {"failed",
       facts.cleanUp.failure.has_value(),
       "the launcher would stop here, after the start: "_t + facts.cleanUp.failure,
       failureRemedy(facts.cleanUp.failure)},
      {"not-in-launcher-directory",
       !facts.cleanUp.happens,
       "removes nothing, since the chosen copy is not in the launcher folder"},
      {"happens", true, "keeps the started copy and the two others that were launched last"}};
}

static bool isUnlaunched(const CandidateFacts& candidate) {
  return candidate.decision.status != Status::NoBundle && candidate.records &&
         candidate.records->lastLaunch == FileTime::min();
}

static bool isNoCopy(const CandidateFacts& candidate) {
  return candidate.decision.status == Status::NoBundle;
}

// The first of these folders that the clean-up removes, and how many there are.
template <typename Condition>
static std::pair<const CandidateFacts*, std::size_t>
removedOnes(const Facts& facts, Condition condition) {
  std::pair<const CandidateFacts*, std::size_t> found{nullptr, 0};
  std::set<Path> removed;
  for (const auto& folder : facts.cleanUp.removed)
    removed.insert(folder.dir);
  for (const auto& candidate : facts.decisions.candidates) {
    if (!condition(candidate) || removed.count(candidate.decision.dir) == 0)
      continue;
    if (found.second++ == 0)
      found.first = &candidate;
  }
  return found;
}

Messages cleanUpNotes(const Facts& facts, const CandidateFacts&) {
  static const CandidateFacts none;
  const auto [unlaunched, unlaunchedCount] = removedOnes(facts, isUnlaunched);
  const auto [noCopy, noCopyCount] = removedOnes(facts, isNoCopy);
  return {
      {"removes-unlaunched",
       unlaunchedCount > 0,
       "Removed copies that were never launched: "_t + unlaunchedCount + ", the first in " +
           (unlaunched != nullptr ? *unlaunched : none).decision.dir,
       "To keep a copy until a newer client launches it, create launch.dat in its folder: the "
       "time of that file counts as its launch."},
      {"removes-other-folder",
       noCopyCount > 0,
       "Removed folders that hold no copy: "_t + noCopyCount + ", the first is " +
           (noCopy != nullptr ? *noCopy : none).decision.dir,
       "Move what is no copy out of the launcher folder."},
      {"tied",
       !facts.cleanUp.tied.empty(),
       "equal launch times: the launcher keeps "_t + facts.cleanUp.tiedKept + " of these " +
           facts.cleanUp.tied.size() + "; which ones is not defined"}};
}

// --- The last launch ---

constexpr const char* MAKE_READABLE =
    "Make it a file that this user may read, or remove it: each launch writes a new one.";

static Messages earlyEnds(const LastLaunch& last) {
  return {
      {"no-log", !last.exists, "none: there is no log of a launch"},
      {"unreadable",
       !last.unreadableReason.empty(),
       "unknown: the log cannot be read ("_t + last.unreadableReason + ")",
       MAKE_READABLE},
      {"no-launch",
       last.isEmpty,
       "unknown: the log is empty",
       "Check that the disk has space. A launcher that cannot write its log goes on without."},
      {"no-launch", !last.isCall, "unknown: the log holds no launch"},
      {"before-choice",
       !last.chosen,
       "before a copy was chosen: cut short, or still under way",
       "If it is over, an error stopped it. The top of this report tells where the launcher would "
       "stop now."}};
}

static Messages endsAfterChoice(const LastLaunch& last) {
  constexpr const char* TELLS = "; the system log tells whether the application started";
  constexpr const char* FILES =
      "; launchCount.dat and launch.dat are in the working folder of that host";
  const bool isCounted = last.launchCount.has_value();
  return {
      {"nothing-chosen",
       last.chosen && last.chosen->directory.empty(),
       "no copy was viable, nothing was started"_t + (last.isRecorded ? FILES : "")},
      {"recorded",
       last.isRecorded,
       "start requested and recorded"_t +
           (isCounted ? " as launch "_t + *last.launchCount : Text()) + TELLS},
      {"unrecorded",
       last.isUncleaned,
       "start requested, not recorded outside of the launcher folder"_t + TELLS},
      {"at-choice",
       true,
       "after the choice: cut short, still under way, or its record could not be written",
       "If it is over, check that launchCount.dat beside this copy can be written and that the "
       "disk has space."}};
}

Messages launchEnd(const Facts& facts, const CandidateFacts&) {
  return earlyEnds(facts.lastLaunch) + endsAfterChoice(facts.lastLaunch);
}

static const char* removalRemedy(const std::vector<std::string>& reasons) {
  const auto has = [&reasons](std::errc code) {
    const std::string text = std::make_error_code(code).message();
    return std::find(reasons.begin(), reasons.end(), text) != reasons.end();
  };
  if (has(std::errc::permission_denied))
    return "Make the folders in the launcher folder, and all they hold, writable for this user.";
  if (has(std::errc::operation_not_permitted))
    return protectionRemedy();
  return "Nothing, if this is the first time: the next launch tries again. Otherwise check the "
         "disk.";
}

Messages launchNotes(const Facts& facts, const CandidateFacts&) {
  const auto& reasons = facts.lastLaunch.removalFailures;
  return {
      {"not-removed",
       !reasons.empty(),
       "Old folders could not be removed; the log does not name them.",
       removalRemedy(reasons)}};
}

// --- In the started application ---

static Messages endsBeforeLoading(const LoadMode& load, const LastLaunch& last) {
  constexpr const char* SEE_SYSTEM_LOG = "See in the system log whether the start failed.";
  const bool isRequested = last.chosen && !last.chosen->directory.empty();
  return {
      {"no-log", !load.exists && !isRequested, "none: there is no log of an application"},
      {"no-log",
       !load.exists,
       "no application has entered load mode: there is no log of one",
       SEE_SYSTEM_LOG},
      {"unreadable",
       !load.unreadableReason.empty(),
       "unknown: the log cannot be read ("_t + load.unreadableReason + ")",
       MAKE_READABLE},
      {"not-entered", !load.isEntered, "unknown: the log does not tell of load mode"},
      {"not-since-launch",
       isEarlier(load, last),
       "no application has entered load mode since the last launch; one did at "_t + load.time,
       SEE_SYSTEM_LOG}};
}

Messages loadModeEnd(const Facts& facts, const CandidateFacts&) {
  const LoadMode& load = facts.loadMode;
  const Text entered = "entered load mode at "_t + load.time;
  const Messages loading = {
      {"load-failed",
       load.failure.has_value(),
       entered +
           ", but could not load its main library: " + (load.failure ? Text(*load.failure) : ""),
       "Install this copy again: its main library, or one that this needs, cannot be loaded."},
      {"entered", true, entered + "; no failure to load the main library is logged"}};
  return endsBeforeLoading(load, facts.lastLaunch) + loading;
}

std::vector<std::pair<const char*, Topic*>> allTopics() {
  return {
      {"outcome", outcome},
      {"notes", notes},
      {"client", client},
      {"launcherDirectoryState", launcherDirectoryState},
      {"warnings", warnings},
      {"candidates.verdict", verdict},
      {"explained.rules", rules},
      {"cleanUp", cleanUp},
      {"cleanUp.notes", cleanUpNotes},
      {"lastLaunch.end", launchEnd},
      {"lastLaunch.notes", launchNotes},
      {"loadMode.end", loadModeEnd}};
}

} // namespace LauncherInspect
