#include "Wording.h"

#include "DisplayText.h"
#include "LauncherConstants.h"
#include "Selection.h"

#include <fmt/format.h>

#include <algorithm>
#include <set>

namespace LauncherInspect {

constexpr std::size_t LONGEST_VERSION = 40; // in a sentence

static std::string shown(const std::string& version, const Disclosure& disclosure) {
  return shorten(disclosure.text(version), LONGEST_VERSION);
}

static const Candidate& chosenOf(const Inspection& inspection) {
  return inspection.candidates[*inspection.chosen];
}

// --- Verdicts ---

static std::string reasonOfChoice(const Inspection& inspection) {
  if (inspection.choseWithoutVersion)
    return fmt::format(
        "no copy has a version above {}, so the first one is taken",
        Selection::LOWEST_CANDIDATE_VERSION);
  const bool isFiltered = !inspection.clientVersion.empty() && !inspection.fellBackToViable;
  const char* const kind = isFiltered ? "compatible" : "viable";
  if (inspection.contenders == 1)
    return fmt::format("the only {} copy", kind);
  return fmt::format("the highest version of {} {} copies", inspection.contenders, kind);
}

static std::string twoComponents(const std::string& version, const Disclosure& disclosure) {
  return shown(firstComponents(version, Selection::COMPATIBLE_VERSION_COMPONENTS), disclosure);
}

Statement
verdictOf(const Candidate& candidate, const Inspection& inspection, const Disclosure& disclosure) {
  const auto version = [&] { return shown(candidate.version, disclosure); };
  const auto chosen = [&] { return shown(chosenOf(inspection).version, disclosure); };
  switch (candidate.verdict) {
  case Verdict::WouldStart:
    return {"would-start", "would start: " + reasonOfChoice(inspection)};
  case Verdict::Older:
    return {
        "older", fmt::format("viable, older than the chosen copy ({} < {})", version(), chosen())};
  case Verdict::SameVersion:
    return {"same-version", fmt::format("same version, comes later ({})", version())};
  case Verdict::NotComparable:
    return {
        "not-comparable",
        fmt::format("viable, not comparable with the chosen copy ({}, {})", version(), chosen())};
  case Verdict::NotAboveLowest:
    return {
        "not-above-lowest",
        fmt::format(
            "viable, version not above {} ({})", Selection::LOWEST_CANDIDATE_VERSION, version())};
  case Verdict::NewerThanClient:
    return {
        "newer-than-client",
        fmt::format(
            "newer than the client ({} > {})",
            twoComponents(candidate.version, disclosure),
            twoComponents(inspection.clientVersion, disclosure))};
  case Verdict::Corrupt:
    return {
        "corrupt",
        fmt::format(
            "corrupt (launched {} times, never started safely)",
            candidate.records->launches.value_or(0))};
  case Verdict::NoBundle:
    return {"no-bundle", "no application bundle (no " + VDI_MAIN_APP_NAME + ")"};
  case Verdict::NoReadableVersion:
    return {"no-readable-version", "no readable version (none in the bundle's Info.plist)"};
  }
  return {};
}

// --- The choice ---

static std::string failureText(const Failure& failure, const Disclosure& disclosure) {
  const std::string reason = disclosure.text(failure.reason);
  return failure.path.empty() ? reason : disclosure.path(failure.path) + ": " + reason;
}

Statement outcomeOf(const Inspection& inspection, const Disclosure& disclosure) {
  if (inspection.failure)
    return {
        "failed",
        "Nothing would start: the launcher would stop at an error. " +
            failureText(*inspection.failure, disclosure) +
            ". Make it accessible to this user, or inspect as the user who owns it."};
  if (!inspection.chosen)
    return {"nothing-viable", "Nothing would start: no candidate is viable"};
  const std::string version = shown(chosenOf(inspection).version, disclosure);
  return {"would-start", "Would start " + (version.empty() ? "a copy without version" : version)};
}

static std::size_t count(const Inspection& inspection, Verdict verdict) {
  return static_cast<std::size_t>(std::count_if(
      inspection.candidates.begin(), inspection.candidates.end(), [verdict](const auto& candidate) {
        return candidate.verdict == verdict;
      }));
}

std::vector<Statement> notesOn(const Inspection& inspection, const Disclosure& disclosure) {
  if (inspection.failure)
    return {};
  if (!inspection.chosen)
    return {
        {"nothing-viable",
         fmt::format(
             "{} candidates: {} without application bundle, {} corrupt. There is nothing to fall "
             "back to.",
             inspection.candidates.size(),
             count(inspection, Verdict::NoBundle),
             count(inspection, Verdict::Corrupt))}};
  std::vector<Statement> notes;
  const std::string client = shown(inspection.clientVersion, disclosure);
  if (inspection.fellBackToViable)
    notes.push_back(
        {"nothing-compatible",
         fmt::format(
             "No copy is compatible with client {}: the launcher falls back to all viable copies "
             "({}).",
             client,
             inspection.contenders)});
  if (inspection.clientVersionIsOdd)
    notes.push_back(
        {"odd-client-version",
         fmt::format(
             "Client version {} does not begin with two numbers: a comparison that gets that far "
             "keeps the copy.",
             client)});
  return notes;
}

std::vector<Statement> warningsOn(const Inspection& inspection, const Disclosure& disclosure) {
  std::vector<Statement> warnings;
  std::set<Path> warned; // a working folder that lies in the launcher folder is listed twice
  for (const auto& candidate : inspection.candidates) {
    if (!candidate.nearlyCorrupt || !warned.insert(candidate.directory).second)
      continue;
    warnings.push_back(
        {"nearly-corrupt",
         fmt::format(
             "{} has used {} of its {} launches without a safe start; after one more it counts as "
             "corrupt. It lies in {}",
             shown(candidate.version, disclosure),
             *candidate.records->launches,
             Selection::CORRUPT_LAUNCH_COUNT_THRESHOLD,
             disclosure.path(candidate.directory))});
  }
  return warnings;
}

// --- Clean-up and last launch ---

Statement cleanUpOf(const Inspection& inspection, const Disclosure& disclosure) {
  if (!inspection.chosen)
    return {"nothing-started", "removes nothing, since nothing would start"};
  if (inspection.cleanUp.failure)
    return {
        "failed",
        "the launcher would stop here, after the start: " +
            failureText(*inspection.cleanUp.failure, disclosure)};
  if (!inspection.cleanUp.happens)
    return {
        "not-in-launcher-folder",
        "removes nothing, since the chosen copy is not in the launcher folder"};
  return {"happens", "keeps the started copy and the two others that were launched last"};
}

static Statement endOfReadLog(const LastLaunch& launch) {
  switch (launch.end) {
  case LaunchEnd::BeforeChoice:
    return {"before-choice", "before a copy was chosen: cut short, or still under way"};
  case LaunchEnd::NothingChosen:
    return {"nothing-chosen", "no copy was viable, nothing was started"};
  case LaunchEnd::AtChoice:
    return {
        "at-choice",
        "after the choice: cut short, still under way, or its record could not be written"};
  case LaunchEnd::Recorded:
    return {
        "recorded",
        "start requested and recorded" +
            (launch.launchCount ? fmt::format(" as launch {}", *launch.launchCount) : "") +
            "; the system log tells whether it came up"};
  case LaunchEnd::Unrecorded:
    return {
        "unrecorded",
        "start requested, not recorded outside of the launcher folder; the system log tells "
        "whether it came up"};
  }
  return {};
}

Statement endOf(const LastLaunch& launch, const Disclosure& disclosure) {
  switch (launch.state) {
  case LogState::None:
    return {"no-log", "none: there is no log of a launch"};
  case LogState::Unreadable:
    return {
        "unreadable",
        "unknown: the log cannot be read (" + disclosure.text(launch.unreadableReason) + ")"};
  case LogState::NoLaunch:
    return {"no-launch", "unknown: the log holds no launch"};
  case LogState::Read:
    break;
  }
  return endOfReadLog(launch);
}

} // namespace LauncherInspect
