#include "Messages.h"

#include <algorithm>
#include <initializer_list>

namespace LauncherInspect {

using Platform::ListProblem;
using Selection::Status;

// --- Causes ---

namespace {

struct Remedy {
  std::errc cause;
  const char* text;
};

struct VersionCause {
  ListProblem problem;
  const char* text;
  const char* remedy;
};

} // namespace

// For what the message names just before.
static const std::initializer_list<Remedy> REMEDIES = {
    {std::errc::too_many_symbolic_link_levels, "Remove this link: it leads back to itself."},
    {std::errc::filename_too_long, "Give this folder, or one above it, a shorter name."},
    {std::errc::permission_denied,
     "Make it accessible to this user, or inspect as the user who owns it."},
    {std::errc::not_a_directory, "Move this file away: a folder belongs here."},
    {std::errc::no_such_file_or_directory, "Start the host in a working folder that exists."},
    {std::errc::read_only_file_system, "Make this file system writable."},
    {std::errc::io_error, "Check the disk: it cannot be read here."}};

static const char* remedyOf(const std::optional<Failure>& failure) {
  for (const auto& [cause, text] : REMEDIES) {
    if (failure && failure->code == cause)
      return text;
  }
  return "Check this file system, and whether this user may use it.";
}

constexpr const char* INSTALL_AGAIN =
    "Install this copy again, or remove its bundle: {directory}/{bundle}";
constexpr const char* NAME_A_VERSION = "Install a build of this copy that names its version.";

static const std::initializer_list<VersionCause> VERSION_CAUSES = {
    {ListProblem::NoFile, "the bundle has no Contents/Info.plist", INSTALL_AGAIN},
    {ListProblem::NotRegular,
     "Info.plist is no regular file",
     "Remove {directory}/{bundle}/Contents/Info.plist, and install this copy again."},
    {ListProblem::Unreadable,
     "Info.plist cannot be read by this user",
     "Make {directory}/{bundle}/Contents/Info.plist readable for this user."},
    {ListProblem::Empty,
     "Info.plist is empty",
     "Check that the disk has space, and install this copy again."},
    {ListProblem::TooLarge,
     "Info.plist is larger than 256 KiB",
     "Check what the list holds, and install this copy again."},
    {ListProblem::Malformed, "Info.plist is no well-formed property list", INSTALL_AGAIN},
    {ListProblem::NoDictionary, "Info.plist holds no dictionary", INSTALL_AGAIN},
    {ListProblem::NoKey, "Info.plist has no CFBundleShortVersionString", NAME_A_VERSION},
    {ListProblem::NoText, "CFBundleShortVersionString in Info.plist is no text", NAME_A_VERSION},
    {ListProblem::None, "CFBundleShortVersionString in Info.plist is empty", NAME_A_VERSION}};

static const VersionCause& versionCause(const Candidate& candidate) {
  return *std::find_if(
      std::begin(VERSION_CAUSES), std::end(VERSION_CAUSES), [&candidate](const auto& cause) {
        return cause.problem == candidate.listProblem;
      });
}

const char* versionProblem(const Candidate& candidate) {
  return versionCause(candidate).text;
}

// --- The choice ---

// A client of one component excludes every longer version that begins with it.
static bool excludesLongerVersions(const Facts& facts) {
  using Base = ThinClientLauncherBase;
  const std::string& client = facts.clientVersion;
  return Base::splitVersion(client).size() == 1 &&
         std::any_of(facts.candidates.begin(), facts.candidates.end(), [&](const auto& candidate) {
           const std::string& version = candidate.decision.version;
           return Base::isGreaterVersion(version, client, 2) &&
                  !Base::isGreaterVersion(version, client, 1);
         });
}

Messages outcome(const Facts& facts, const Candidate& candidate) {
  return {
      {"failed",
       facts.failure.has_value(),
       "Nothing would start: the launcher would stop at an error. {failure}",
       remedyOf(facts.failure)},
      {"nothing-viable", !facts.chosen, "Nothing would start: no candidate is viable"},
      {"would-start", candidate.decision.version.empty(), "Would start a copy without a version"},
      {"would-start", true, "Would start {version}"}};
}

Messages notes(const Facts& facts, const Candidate& candidate) {
  const bool isNothingViable = !facts.failure && !facts.chosen;
  return {
      {"nothing-viable",
       isNothingViable,
       "{candidates} candidates: {bundleless} without an application bundle, {corrupt} corrupt. "
       "There is nothing to fall back to."},
      {"writes-to-working-directory",
       isNothingViable && facts.launcherDirectory.empty(),
       "The home has no Application Support folder, so that the launcher would write "
       "launchCount.dat and launch.dat into the working folder: {workingDirectory}",
       "Create Library/Application Support in the home before the next launch."},
      {"nothing-compatible",
       candidate.isChosen && facts.fellBack,
       "No copy is compatible with client {client}: the launcher falls back to all viable copies "
       "({eligible})."},
      {"odd-client-version",
       facts.clientVersionIsOdd && candidate.isChosen,
       "Client version {client} does not begin with two numbers: a comparison that gets that far "
       "keeps the copy."},
      {"short-client-version",
       excludesLongerVersions(facts),
       "Client version {client} has one component: {client}.0 and above are newer, since a missing "
       "component is lower than any.",
       "Pass the client's whole version."},
      {"other-owner",
       facts.homeOwner.has_value(),
       "The home belongs to another user ({homeOwner}), for whom the answer may differ, since "
       "permissions do.",
       "Inspect as that user to be sure."},
      {"disk-full",
       facts.diskIsFull,
       "The disk that holds the home is full: a launch could write neither its log nor its "
       "records.",
       "Free some space on it."}};
}

Messages client(const Facts& facts, const Candidate&) {
  return {
      {"none", facts.clientVersion.empty(), "none, so every copy is compatible"},
      {"any",
       facts.clientVersion == Selection::ANY_CLIENT_VERSION,
       "{clientVersion}, which stands for any client, so every copy is compatible"},
      {"given", true, "{clientVersion}"}};
}

Messages launcherDirectoryState(const Facts& facts, const Candidate&) {
  return {
      {"unknown",
       facts.launcherDirectoryFailure.has_value(),
       "unknown: {launcherDirectoryFailure}"},
      {"no-application-support",
       facts.launcherDirectory.empty(),
       "none, since there is no Application Support folder"},
      {"missing", !facts.launcherDirectoryExists, "{launcherDirectory} (missing)"},
      {"exists", true, "{launcherDirectory}"}};
}

// --- Each candidate ---

bool isNearlyCorrupt(const Candidate& candidate) {
  const auto& check = candidate.decision.corruptCheck;
  return check.applies && !check.startedSafely &&
         check.launchCount == Selection::CORRUPT_LAUNCH_COUNT_THRESHOLD - 1;
}

Messages warnings(const Facts& facts, const Candidate& candidate) {
  const bool isChosen = candidate.isChosen;
  const StartCheck& start = facts.startCheck;
  return {
      {"nearly-corrupt",
       isNearlyCorrupt(candidate),
       "{version} has used {launches} of its {threshold} launches without a safe start; after one "
       "more it counts as corrupt. It lies in {directory}",
       "Look into the system log for why it does not come up; it records a safe start itself, as "
       "started.dat in its folder."},
      {"no-readable-version",
       isChosen && candidate.decision.version.empty(),
       "The chosen copy has no readable version: {versionProblem}",
       versionCause(candidate).remedy},
      {"no-program",
       isChosen && !start.hasProgram,
       "The chosen copy would not come up: its program is missing, {program}",
       INSTALL_AGAIN},
      {"not-executable",
       isChosen && start.hasProgram && !start.isExecutable,
       "The chosen copy would not come up: this user cannot execute its program, {program}",
       "Make it an executable file (chmod a+x), or install this copy again."},
      {"no-main-library",
       isChosen && !start.hasMainLibrary,
       "The chosen copy would come up without its main library: {mainLibrary} is missing from "
       "{frameworks}",
       INSTALL_AGAIN},
      {"no-launcher-library",
       isChosen && !start.hasLauncherLibrary,
       "The chosen copy would not enter load mode: {launcherLibrary} is missing from {frameworks}",
       INSTALL_AGAIN},
      {"not-countable",
       isChosen && !facts.unwritableRecord.empty(),
       "Launches of the chosen copy are not counted: {unwritableRecord} cannot be written.",
       "Make it, and its folder, writable for this user."}};
}

// NOLINTNEXTLINE(readability-function-size): one entry per verdict
Messages verdict(const Facts& facts, const Candidate& candidate) {
  const auto& [dir, status, version, corruptCheck] = candidate.decision;
  return {
      {"not-examined",
       candidate.failure.has_value(),
       "cannot be examined, so the launcher would stop here: {candidateFailure}",
       remedyOf(candidate.failure)},
      {"would-start",
       candidate.isChosen && facts.choseWithoutVersion,
       "would start: no {kind} copy has a version above {lowest}, so the first one is taken"},
      {"would-start",
       candidate.isChosen && facts.eligible == 1,
       "would start: the only {kind} copy"},
      {"would-start",
       candidate.isChosen,
       "would start: the highest version of {eligible} {kind} copies"},
      {"no-bundle", status == Status::NoBundle, "no application bundle (no {bundle})"},
      {"corrupt",
       status == Status::Corrupt,
       "corrupt (launched {launches} times, never started safely)",
       "Look into the system log for why it did not come up. To let it be chosen again, remove "
       "{directory}/launchCount.dat"},
      {"no-readable-version",
       version.empty(),
       "no readable version: {versionProblem}",
       versionCause(candidate).remedy},
      {"newer-than-client",
       status == Status::Incompatible,
       "newer than the client ({versionStart} > {clientStart})"},
      {"same-folder", candidate.twin.has_value(), "the same folder as {twin}, listed again"},
      {"viable", !facts.chosen, "viable, but the launcher would stop before the choice"},
      {"same-version", candidate.order == Order::Equal, "same version, comes later ({version})"},
      {"not-above-lowest",
       facts.choseWithoutVersion,
       "viable, version not above {lowest} ({version})"},
      {"older",
       candidate.order == Order::Lower,
       "viable, older than the chosen copy ({version} < {chosen})"},
      {"not-comparable",
       true,
       "viable, not comparable with the chosen copy ({version}, {chosen})"}};
}

// --- The rules that a candidate was asked, up to the first that it failed ---

static bool isViable(const Candidate& candidate) {
  return candidate.decision.status != Status::NoBundle &&
         candidate.decision.status != Status::Corrupt;
}

Messages stopRule(const Facts&, const Candidate& candidate) {
  return {{"stopped", candidate.failure.has_value(), "stopped: {candidateFailure}"}};
}

Messages bundleRule(const Facts&, const Candidate& candidate) {
  const bool hasBundle = candidate.decision.status != Status::NoBundle;
  return {
      {"bundle-passed", hasBundle, "bundle: passed, the folder holds {bundle}"},
      {"bundle-failed", !hasBundle, "bundle: failed, the folder does not hold {bundle}"}};
}

Messages corruptRule(const Facts&, const Candidate& candidate) {
  const auto& [dir, status, version, check] = candidate.decision;
  const bool isExempt = status != Status::NoBundle && !check.applies;
  const bool isOutside = !candidate.records;
  return {
      {"corrupt-exempt",
       isExempt && isOutside,
       "corrupt: not asked, since the folder is not in the launcher folder"},
      {"corrupt-exempt",
       isExempt && !isOutside && version.empty(),
       "corrupt: not asked, since there is no readable version"},
      {"corrupt-exempt",
       isExempt && !isOutside && !version.empty(),
       "corrupt: not asked, since version {version} does not exceed {corruptBase}"},
      {"corrupt-failed",
       check.isCorrupt,
       "corrupt: failed, launch count {launches} is not below {threshold}, and there was no safe "
       "start"},
      {"corrupt-passed",
       check.applies && check.startedSafely,
       "corrupt: passed, there was a safe start (launch count {launches})"},
      {"corrupt-passed",
       check.applies && !check.isCorrupt && !check.startedSafely,
       "corrupt: passed, launch count {launches} is below {threshold}, and there was no safe "
       "start"}};
}

Messages clientRule(const Facts& facts, const Candidate& candidate) {
  const auto& [dir, status, version, corruptCheck] = candidate.decision;
  const bool isNone = facts.clientVersion.empty();
  const bool isAny = facts.clientVersion == Selection::ANY_CLIENT_VERSION;
  const bool isCompared = isViable(candidate) && !isNone && !isAny;
  const bool isFailed = isCompared && (status == Status::Incompatible || facts.fellBack);
  return {
      {"client-exempt",
       isViable(candidate) && isNone,
       "client: not asked, since the host names no version"},
      {"client-exempt",
       isViable(candidate) && isAny,
       "client: not asked, since client version {client} stands for any"},
      {"client-failed",
       isFailed && version.empty(),
       "client: failed, no readable version to compare with {client}"},
      {"client-failed",
       isFailed && !version.empty(),
       "client: failed, newer than the client ({versionStart} > {clientStart})"},
      {"client-passed",
       isCompared && !isFailed,
       "client: passed, {versionStart} does not exceed {clientStart}"},
      {"client-overruled",
       isFailed && facts.fellBack,
       "client: overruled, since every viable copy fails it"}};
}

Messages choiceRule(const Facts& facts, const Candidate& candidate) {
  const bool isAsked = candidate.decision.status == Status::Viable;
  return {
      {"choice-passed", candidate.isChosen, "choice: passed; {verdict}"},
      {"choice-failed",
       isAsked && !candidate.isChosen && facts.chosen,
       "choice: failed; {verdict}"},
      {"choice-prevented", isAsked && !facts.chosen, "choice: not reached; {verdict}"}};
}

// --- The clean-up ---

Messages cleanUp(const Facts& facts, const Candidate&) {
  return {
      {"nothing-started", !facts.chosen, "removes nothing, since nothing would start"},
      {"failed",
       facts.cleanUp.failure.has_value(),
       "the launcher would stop here, after the start: {cleanUpFailure}",
       remedyOf(facts.cleanUp.failure)},
      {"not-in-launcher-directory",
       !facts.cleanUp.happens,
       "removes nothing, since the chosen copy is not in the launcher folder"},
      {"happens", true, "keeps the started copy and the two others that were launched last"}};
}

Messages cleanUpNotes(const Facts& facts, const Candidate&) {
  return {
      {"tied",
       !facts.cleanUp.tied.empty(),
       "equal launch times: the launcher keeps {tiedKept} of these {tied}; which ones is not "
       "defined"}};
}

// --- The last launch ---

constexpr const char* MAKE_READABLE =
    "Make it a file that this user may read, or remove it: each launch writes a new one.";

Messages launchEnd(const Facts& facts, const Candidate&) {
  const LastLaunch& last = facts.lastLaunch;
  const bool isNothingChosen = last.chosen && last.chosen->directory.empty();
  return {
      {"no-log", !last.exists, "none: there is no log of a launch"},
      {"unreadable",
       !last.unreadableReason.empty(),
       "unknown: the log cannot be read ({logFailure})",
       MAKE_READABLE},
      {"no-launch",
       last.isEmpty,
       "unknown: the log is empty",
       "Check that the disk has space: a launcher whose lines cannot be written goes on without."},
      {"no-launch", !last.isCall, "unknown: the log holds no launch"},
      {"before-choice",
       !last.chosen,
       "before a copy was chosen: cut short, or still under way",
       "If it is over, an error stopped it: what it would stop at now stands at the top."},
      {"nothing-chosen",
       isNothingChosen && last.isRecorded,
       "no copy was viable, nothing was started; launchCount.dat and launch.dat are in the working "
       "folder of that host"},
      {"nothing-chosen", isNothingChosen, "no copy was viable, nothing was started"},
      {"recorded",
       last.launchCount.has_value(),
       "start requested and recorded as launch {launchCount}; the system log tells whether the "
       "application started"},
      {"recorded",
       last.isRecorded,
       "start requested and recorded; the system log tells whether the application started"},
      {"unrecorded",
       last.isUncleaned,
       "start requested, not recorded outside of the launcher folder; the system log tells "
       "whether the application started"},
      {"at-choice",
       true,
       "after the choice: cut short, still under way, or its record could not be written",
       "If it is over, check that launchCount.dat beside this copy can be written and that the "
       "disk has space."}};
}

Messages launchNotes(const Facts& facts, const Candidate&) {
  const auto& reasons = facts.lastLaunch.removalFailures;
  const auto refusal = std::make_error_code(std::errc::permission_denied).message();
  const bool isRefused = std::find(reasons.begin(), reasons.end(), refusal) != reasons.end();
  return {
      {"not-removed",
       isRefused,
       "Old folders could not be removed; the log does not name them.",
       "Make the folders in the launcher folder, and all they hold, writable for this user."},
      {"not-removed",
       !reasons.empty() && !isRefused,
       "Old folders could not be removed; the log does not name them.",
       "Nothing, if this is the first time: the next launch tries again. Otherwise check the "
       "disk."}};
}

Messages loadModeEnd(const Facts& facts, const Candidate&) {
  const LoadMode& load = facts.loadMode;
  const auto& requested = facts.lastLaunch.chosen;
  const bool isRequested = requested && !requested->directory.empty();
  return {
      {"no-log", !load.exists && !isRequested, "none: there is no log of an application"},
      {"no-log",
       !load.exists,
       "no application has entered load mode: there is no log of one",
       "See in the system log whether the start failed."},
      {"unreadable",
       !load.unreadableReason.empty(),
       "unknown: the log cannot be read ({loadLogFailure})",
       MAKE_READABLE},
      {"not-entered", !load.isEntered, "unknown: the log does not tell of load mode"},
      {"not-since-launch",
       isEarlier(load, facts.lastLaunch),
       "no application has entered load mode since the last launch; one did at {loadModeTime}",
       "See in the system log whether the start failed."},
      {"load-failed",
       load.failure.has_value(),
       "entered load mode at {loadModeTime}, but could not load its main library: {loadFailure}",
       "Install this copy again: its main library, or one that this needs, cannot be loaded."},
      {"entered",
       true,
       "entered load mode at {loadModeTime}; no failure to load the main library is logged"}};
}

std::vector<NamedTopic> allTopics() {
  return {
      {"outcome", outcome},
      {"notes", notes},
      {"client", client},
      {"launcherDirectoryState", launcherDirectoryState},
      {"warnings", warnings},
      {"candidates.verdict", verdict},
      {"explained.rules", stopRule},
      {"explained.rules", bundleRule},
      {"explained.rules", corruptRule},
      {"explained.rules", clientRule},
      {"explained.rules", choiceRule},
      {"cleanUp", cleanUp},
      {"cleanUp.notes", cleanUpNotes},
      {"lastLaunch.end", launchEnd},
      {"lastLaunch.notes", launchNotes},
      {"loadMode.end", loadModeEnd}};
}

} // namespace LauncherInspect
