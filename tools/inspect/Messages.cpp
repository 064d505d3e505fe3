#include "Messages.h"

namespace LauncherInspect {

using Selection::Status;

// --- Conditions ---

static bool always(const Subject&) {
  return true;
}

static bool isNothingChosen(const Subject& subject) {
  return !subject.facts.failure && !subject.facts.chosen;
}

static bool isWithoutVersion(const Subject& subject) {
  return subject.candidate.decision.version.empty();
}

template <Status status>
static bool is(const Subject& subject) {
  return subject.candidate.decision.status == status;
}

template <Order order>
static bool is(const Subject& subject) {
  return subject.candidate.order == order;
}

static bool isChosen(const Subject& subject) {
  return subject.candidate.isChosen;
}

static bool isOnlyEligible(const Subject& subject) {
  return isChosen(subject) && subject.facts.eligible == 1;
}

static bool isNoVersionAboveLowest(const Subject& subject) {
  return subject.facts.choseWithoutVersion;
}

static bool isChosenAsFirst(const Subject& subject) {
  return isChosen(subject) && isNoVersionAboveLowest(subject);
}

static bool isNearlyCorrupt(const Subject& subject) {
  const auto& check = subject.candidate.decision.corruptCheck;
  return check.applies && !check.startedSafely &&
         check.launchCount == Selection::CORRUPT_LAUNCH_COUNT_THRESHOLD - 1;
}

static const LastLaunch& last(const Subject& subject) {
  return subject.facts.lastLaunch;
}

// --- Messages on the choice ---

const Topic OUTCOME = {
    "outcome",
    {{"failed",
      [](const Subject& subject) { return subject.facts.failure.has_value(); },
      "Nothing would start: the launcher would stop at an error. {failure}. Make it accessible to "
      "this user, or inspect as the user who owns it."},
     {"nothing-viable", isNothingChosen, "Nothing would start: no candidate is viable"},
     {"would-start", isWithoutVersion, "Would start a copy without version"},
     {"would-start", always, "Would start {version}"}}};

const Topic NOTES = {
    "notes",
    {{"nothing-viable",
      isNothingChosen,
      "{candidates} candidates: {bundleless} without application bundle, {corrupt} corrupt. There "
      "is nothing to fall back to."},
     {"nothing-compatible",
      [](const Subject& subject) { return subject.facts.fellBack; },
      "No copy is compatible with client {client}: the launcher falls back to all viable copies "
      "({eligible})."},
     {"odd-client-version",
      [](const Subject& subject) { return isChosen(subject) && subject.facts.clientVersionIsOdd; },
      "Client version {client} does not begin with two numbers: a comparison that gets that far "
      "keeps the copy."}}};

const Topic CLIENT = {
    "client",
    {{"none",
      [](const Subject& subject) { return subject.facts.clientVersion.empty(); },
      "none, so every copy is compatible"},
     {"given", always, "{clientVersion}"}}};

const Topic LAUNCHER_DIRECTORY = {
    "launcherDirectoryState",
    {{"no-application-support",
      [](const Subject& subject) { return subject.facts.launcherDirectory.empty(); },
      "none, since there is no Application Support folder"},
     {"missing",
      [](const Subject& subject) { return !subject.facts.launcherDirectoryExists; },
      "{launcherDirectory} (missing)"},
     {"exists", always, "{launcherDirectory}"}}};

// --- Messages on each candidate ---

const Topic WARNINGS = {
    "warnings",
    {{"nearly-corrupt",
      isNearlyCorrupt,
      "{version} has used {launches} of its {threshold} launches without a safe start; after one "
      "more it counts as corrupt. It lies in {directory}"}}};

const Topic VERDICT = {
    "candidates.verdict",
    {{"would-start",
      isChosenAsFirst,
      "would start: no copy has a version above {lowest}, so the first one is taken"},
     {"would-start", isOnlyEligible, "would start: the only {kind} copy"},
     {"would-start", isChosen, "would start: the highest version of {eligible} {kind} copies"},
     {"no-bundle", is<Status::NoBundle>, "no application bundle (no {bundle})"},
     {"corrupt", is<Status::Corrupt>, "corrupt (launched {launches} times, never started safely)"},
     {"no-readable-version",
      isWithoutVersion,
      "no readable version (none in the bundle's Info.plist)"},
     {"newer-than-client",
      is<Status::Incompatible>,
      "newer than the client ({versionStart} > {clientStart})"},
     {"same-version", is<Order::Equal>, "same version, comes later ({version})"},
     {"not-above-lowest", isNoVersionAboveLowest, "viable, version not above {lowest} ({version})"},
     {"older", is<Order::Lower>, "viable, older than the chosen copy ({version} < {chosen})"},
     {"not-comparable",
      always,
      "viable, not comparable with the chosen copy ({version}, {chosen})"}}};

// --- Messages on the clean-up and the last launch ---

const Topic CLEAN_UP = {
    "cleanUp",
    {{"nothing-started",
      [](const Subject& subject) { return !subject.facts.chosen; },
      "removes nothing, since nothing would start"},
     {"failed",
      [](const Subject& subject) { return subject.facts.cleanUp.failure.has_value(); },
      "the launcher would stop here, after the start: {cleanUpFailure}"},
     {"not-in-launcher-directory",
      [](const Subject& subject) { return !subject.facts.cleanUp.happens; },
      "removes nothing, since the chosen copy is not in the launcher folder"},
     {"happens", always, "keeps the started copy and the two others that were launched last"}}};

const Topic CLEAN_UP_NOTES = {
    "cleanUp.notes",
    {{"tied",
      [](const Subject& subject) { return !subject.facts.cleanUp.tied.empty(); },
      "equal launch times: the launcher keeps {tiedKept} of these {tied}, and which is not "
      "defined"}}};

const Topic END = {
    "lastLaunch.end",
    {{"no-log",
      [](const Subject& subject) { return !last(subject).exists; },
      "none: there is no log of a launch"},
     {"unreadable",
      [](const Subject& subject) { return !last(subject).unreadableReason.empty(); },
      "unknown: the log cannot be read ({logFailure})"},
     {"no-launch",
      [](const Subject& subject) { return !last(subject).isLaunch; },
      "unknown: the log holds no launch"},
     {"before-choice",
      [](const Subject& subject) { return !last(subject).chosen; },
      "before a copy was chosen: cut short, or still under way"},
     {"nothing-chosen",
      [](const Subject& subject) { return last(subject).chosen->directory.empty(); },
      "no copy was viable, nothing was started"},
     {"recorded",
      [](const Subject& subject) { return last(subject).launchCount.has_value(); },
      "start requested and recorded as launch {launchCount}; the system log tells whether it came "
      "up"},
     {"recorded",
      [](const Subject& subject) { return last(subject).isRecorded; },
      "start requested and recorded; the system log tells whether it came up"},
     {"unrecorded",
      [](const Subject& subject) { return last(subject).isUncleaned; },
      "start requested, not recorded outside of the launcher folder; the system log tells whether "
      "it came up"},
     {"at-choice",
      always,
      "after the choice: cut short, still under way, or its record could not be written"}}};

std::vector<Topic> allTopics() {
  return {
      OUTCOME, NOTES, CLIENT, LAUNCHER_DIRECTORY, WARNINGS, VERDICT, CLEAN_UP, CLEAN_UP_NOTES, END};
}

} // namespace LauncherInspect
