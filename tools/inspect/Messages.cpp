#include "Messages.h"

namespace LauncherInspect {

using Selection::Status;

// --- The choice ---

Messages outcome(const Facts& facts, const Candidate& candidate) {
  return {
      {"failed",
       facts.failure.has_value(),
       "Nothing would start: the launcher would stop at an error. {failure}. Make it accessible "
       "to this user, or inspect as the user who owns it."},
      {"nothing-viable", !facts.chosen, "Nothing would start: no candidate is viable"},
      {"would-start", candidate.decision.version.empty(), "Would start a copy without a version"},
      {"would-start", true, "Would start {version}"}};
}

Messages notes(const Facts& facts, const Candidate& candidate) {
  return {
      {"nothing-viable",
       !facts.failure && !facts.chosen,
       "{candidates} candidates: {bundleless} without an application bundle, {corrupt} corrupt. "
       "There is nothing to fall back to."},
      {"nothing-compatible",
       candidate.isChosen && facts.fellBack,
       "No copy is compatible with client {client}: the launcher falls back to all viable copies "
       "({eligible})."},
      {"odd-client-version",
       facts.clientVersionIsOdd && candidate.isChosen,
       "Client version {client} does not begin with two numbers: a comparison that gets that far "
       "keeps the copy."}};
}

Messages client(const Facts& facts, const Candidate&) {
  return {
      {"none", facts.clientVersion.empty(), "none, so every copy is compatible"},
      {"given", true, "{clientVersion}"}};
}

Messages launcherDirectoryState(const Facts& facts, const Candidate&) {
  return {
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

Messages warnings(const Facts&, const Candidate& candidate) {
  return {
      {"nearly-corrupt",
       isNearlyCorrupt(candidate),
       "{version} has used {launches} of its {threshold} launches without a safe start; after one "
       "more it counts as corrupt. It lies in {directory}"}};
}

Messages verdict(const Facts& facts, const Candidate& candidate) {
  const auto& [dir, status, version, corruptCheck] = candidate.decision;
  return {
      {"would-start",
       candidate.isChosen && facts.choseWithoutVersion,
       "would start: no copy has a version above {lowest}, so the first one is taken"},
      {"would-start",
       candidate.isChosen && facts.eligible == 1,
       "would start: the only {kind} copy"},
      {"would-start",
       candidate.isChosen,
       "would start: the highest version of {eligible} {kind} copies"},
      {"no-bundle", status == Status::NoBundle, "no application bundle (no {bundle})"},
      {"corrupt",
       status == Status::Corrupt,
       "corrupt (launched {launches} times, never started safely)"},
      {"no-readable-version",
       version.empty(),
       "no readable version (none in the bundle's Info.plist)"},
      {"newer-than-client",
       status == Status::Incompatible,
       "newer than the client ({versionStart} > {clientStart})"},
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

Messages choiceRule(const Facts&, const Candidate& candidate) {
  return {
      {"choice-passed", candidate.isChosen, "choice: passed; {verdict}"},
      {"choice-failed",
       !candidate.isChosen && candidate.decision.status == Status::Viable,
       "choice: failed; {verdict}"}};
}

// --- The clean-up and the last launch ---

Messages cleanUp(const Facts& facts, const Candidate&) {
  return {
      {"nothing-started", !facts.chosen, "removes nothing, since nothing would start"},
      {"failed",
       facts.cleanUp.failure.has_value(),
       "the launcher would stop here, after the start: {cleanUpFailure}"},
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

Messages launchEnd(const Facts& facts, const Candidate&) {
  const LastLaunch& last = facts.lastLaunch;
  return {
      {"no-log", !last.exists, "none: there is no log of a launch"},
      {"unreadable",
       !last.unreadableReason.empty(),
       "unknown: the log cannot be read ({logFailure})"},
      {"no-launch", !last.isLaunch, "unknown: the log holds no launch"},
      {"before-choice", !last.chosen, "before a copy was chosen: cut short, or still under way"},
      {"nothing-chosen",
       last.chosen && last.chosen->directory.empty(),
       "no copy was viable, nothing was started"},
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
       "after the choice: cut short, still under way, or its record could not be written"}};
}

std::vector<NamedTopic> allTopics() {
  return {
      {"outcome", outcome},
      {"notes", notes},
      {"client", client},
      {"launcherDirectoryState", launcherDirectoryState},
      {"warnings", warnings},
      {"candidates.verdict", verdict},
      {"explained.rules", bundleRule},
      {"explained.rules", corruptRule},
      {"explained.rules", clientRule},
      {"explained.rules", choiceRule},
      {"cleanUp", cleanUp},
      {"cleanUp.notes", cleanUpNotes},
      {"lastLaunch.end", launchEnd}};
}

} // namespace LauncherInspect
