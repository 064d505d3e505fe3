#include "Report.h"

#include "DisplayText.h"
#include "LauncherConstants.h"
#include "LocalTime.h"
#include "Messages.h"
#include "Redaction.h"

#include <fmt/format.h>

#include <algorithm>
#include <set>
#include <string_view>

namespace LauncherInspect {

namespace {

// A value of a message, worked out only where the message shows it.
template <typename Function>
struct Lazy {
  Function value;
};
template <typename Function>
Lazy(Function) -> Lazy<Function>;

} // namespace

} // namespace LauncherInspect

template <typename Function>
struct fmt::formatter<LauncherInspect::Lazy<Function>> : fmt::formatter<std::string_view> {
  template <typename Context>
  auto format(const LauncherInspect::Lazy<Function>& lazy, Context& context) const {
    return fmt::format_to(context.out(), "{}", lazy.value());
  }
};

namespace LauncherInspect {

constexpr int SCHEMA_VERSION = 3;
constexpr std::size_t LONGEST_VERSION = 40; // in a sentence

// --- Plain values ---

static Report textOrNull(const std::string& text) {
  return text.empty() ? Report() : Report(text);
}

template <typename Value>
static Report valueOrNull(const std::optional<Value>& value) {
  return value ? Report(*value) : Report();
}

static Report timeOrNull(const std::optional<FileTime>& time) {
  if (!time)
    return nullptr;
  return *time == FileTime::min() ? "never" : toTimestamp(*time);
}

namespace {

// Texts that are not the command's own enter the report by way of the redaction.
class Writer {
public:
  Writer(const Facts& givenFacts, const std::string& loginName, Paths paths)
      : facts(givenFacts), redaction(givenFacts.home, masked(givenFacts, loginName), paths) {}

  Report report() const {
    Report object = {
        {"schemaVersion", SCHEMA_VERSION},
        {"outcome", first(outcome, chosen)},
        {"chosen", facts.chosen ? copy(chosen.decision) : Report()},
        {"notes", all(notes, chosen)},
        {"warnings", allWarnings()},
        {"clientVersion", redaction.text(facts.clientVersion)},
        {"client", first(client, chosen)},
        {"home", redaction.text(facts.home.string())},
        {"workingDirectory", redaction.path(facts.workingDirectory)},
        {"launcherDirectory", redaction.path(facts.launcherDirectory)},
        {"launcherDirectoryState", first(launcherDirectoryState, chosen)},
        {"candidates", candidates()},
        {"cleanUp", describeCleanUp()},
        {"lastLaunch", lastLaunch()},
        {"loadMode", loadMode()}};
    if (facts.explained)
      object["explained"] = explained(facts.candidates[*facts.explained]);
    return object;
  }

private:
  static std::vector<std::string> masked(const Facts& facts, const std::string& loginName) {
    if (loginName.empty())
      return {};
    return {loginName, facts.homeOwner.value_or("")};
  }

  // --- Values in sentences ---

  std::string version(const std::string& text) const {
    return shorten(redaction.text(text), LONGEST_VERSION);
  }

  std::string versionStart(const std::string& text) const {
    return version(firstComponents(text, Selection::COMPATIBLE_VERSION_COMPONENTS));
  }

  std::string failure(const std::optional<Failure>& failure) const {
    if (!failure)
      return {};
    const std::string place = failure->path.empty() ? "" : redaction.path(failure->path) + ": ";
    return place + redaction.text(failure->reason);
  }

  // Each folder counts once.
  template <typename Condition>
  std::size_t countIf(Condition condition) const {
    return static_cast<std::size_t>(std::count_if(
        facts.candidates.begin(), facts.candidates.end(), [condition](const auto& candidate) {
          return !candidate.twin && condition(candidate);
        }));
  }

  std::size_t count(Selection::Status status) const {
    return countIf([status](const auto& candidate) { return candidate.decision.status == status; });
  }

  // The same folder, where it is listed first.
  const Candidate& firstListed(const Candidate& candidate) const {
    // NOLINTNEXTLINE(bugprone-return-const-ref-from-parameter): it is one of the facts
    return candidate.twin ? facts.candidates[*candidate.twin] : candidate;
  }

  const char* kind() const {
    const bool isAnyClient =
        facts.clientVersion.empty() || facts.clientVersion == Selection::ANY_CLIENT_VERSION;
    return isAnyClient || facts.fellBack ? "viable" : "compatible";
  }

  // --- Messages ---

  // Replaces the names in a text by their values: a number, or a Lazy one that costs something.
  // NOLINTNEXTLINE(readability-function-size): one entry per name
  std::string fill(const char* text, const Candidate& candidate) const {
    const Selection::Candidate& about = candidate.decision;
    return fmt::format(
        fmt::runtime(text),
        fmt::arg("bundle", VDI_MAIN_APP_NAME),
        fmt::arg("bundleless", Lazy{[&] { return count(Selection::Status::NoBundle); }}),
        fmt::arg("candidateFailure", Lazy{[&] { return failure(candidate.failure); }}),
        fmt::arg("candidates", Lazy{[&] { return countIf([](const auto&) { return true; }); }}),
        fmt::arg("chosen", Lazy{[&] { return version(chosen.decision.version); }}),
        fmt::arg("cleanUpFailure", Lazy{[&] { return failure(facts.cleanUp.failure); }}),
        fmt::arg("client", Lazy{[&] { return version(facts.clientVersion); }}),
        fmt::arg("clientStart", Lazy{[&] { return versionStart(facts.clientVersion); }}),
        fmt::arg("clientVersion", Lazy{[&] { return redaction.text(facts.clientVersion); }}),
        fmt::arg("corrupt", Lazy{[&] { return count(Selection::Status::Corrupt); }}),
        fmt::arg("corruptBase", Selection::CORRUPT_CHECK_BASE_VERSION),
        fmt::arg("directory", Lazy{[&] { return redaction.path(about.dir); }}),
        fmt::arg("eligible", facts.eligible),
        fmt::arg("failure", Lazy{[&] { return failure(facts.failure); }}),
        fmt::arg("frameworks", Lazy{[&] { return redaction.path(facts.startCheck.frameworks); }}),
        fmt::arg("homeOwner", Lazy{[&] { return redaction.text(facts.homeOwner.value_or("")); }}),
        fmt::arg("kind", kind()),
        fmt::arg("launchCount", facts.lastLaunch.launchCount.value_or(0)),
        fmt::arg(
            "launcherDirectory", Lazy{[&] { return redaction.path(facts.launcherDirectory); }}),
        fmt::arg("launcherDirectoryFailure", Lazy{[&] {
                   return failure(facts.launcherDirectoryFailure);
                 }}),
        fmt::arg("launcherLibrary", VDI_LAUNCHER_LIBRARY_NAME),
        fmt::arg("launches", about.corruptCheck.launchCount),
        fmt::arg("loadFailure", Lazy{[&] {
                   return redaction.text(facts.loadMode.failure.value_or(""));
                 }}),
        fmt::arg("loadLogFailure", Lazy{[&] {
                   return redaction.text(facts.loadMode.unreadableReason);
                 }}),
        fmt::arg("loadModeTime", facts.loadMode.time),
        fmt::arg(
            "logFailure", Lazy{[&] { return redaction.text(facts.lastLaunch.unreadableReason); }}),
        fmt::arg("lowest", Selection::LOWEST_CANDIDATE_VERSION),
        fmt::arg("mainLibrary", VDI_MAIN_LIBRARY_NAME),
        fmt::arg("program", Lazy{[&] { return redaction.path(facts.startCheck.program); }}),
        fmt::arg("threshold", Selection::CORRUPT_LAUNCH_COUNT_THRESHOLD),
        fmt::arg("tied", facts.cleanUp.tied.size()),
        fmt::arg("tiedKept", facts.cleanUp.tiedKept),
        fmt::arg("twin", Lazy{[&] { return redaction.path(firstListed(candidate).decision.dir); }}),
        fmt::arg("unwritableRecord", Lazy{[&] { return redaction.path(facts.unwritableRecord); }}),
        fmt::arg(
            "verdict", Lazy{[&] { return fill(firstOf(verdict, candidate).text, candidate); }}),
        fmt::arg("version", Lazy{[&] { return version(about.version); }}),
        fmt::arg("versionProblem", versionProblem(candidate)),
        fmt::arg("versionStart", Lazy{[&] { return versionStart(about.version); }}),
        fmt::arg("workingDirectory", Lazy{[&] { return redaction.path(facts.workingDirectory); }}));
  }

  Report words(const Message& message, const Candidate& about) const {
    Report object;
    object["code"] = message.code;
    object["text"] = fill(message.text, about);
    if (message.remedy != nullptr)
      object["remedy"] = fill(message.remedy, about);
    return object;
  }

  Message firstOf(Topic topic, const Candidate& about) const {
    const auto messages = topic(facts, about);
    const auto applies = [](const Message& message) { return message.applies; };
    return *std::find_if(messages.begin(), messages.end(), applies);
  }

  Report first(Topic topic, const Candidate& about) const {
    return words(firstOf(topic, about), about);
  }

  Report all(Topic topic, const Candidate& about) const {
    Report list = Report::array();
    for (const auto& message : topic(facts, about)) {
      if (message.applies)
        list.push_back(words(message, about));
    }
    return list;
  }

  Report allWarnings() const {
    Report list = Report::array();
    std::set<Path> warned; // the same folder may be listed again
    for (const auto& candidate : facts.candidates) {
      const Report more = all(warnings, candidate);
      if (!more.empty() && warned.insert(firstListed(candidate).decision.dir).second)
        list.insert(list.end(), more.begin(), more.end());
    }
    return list;
  }

  // --- Parts of the report ---

  Report copy(const Selection::Candidate& candidate) const {
    Report object;
    object["directory"] = redaction.path(candidate.dir);
    object["version"] = textOrNull(redaction.text(candidate.version));
    return object;
  }

  Report describe(const Candidate& candidate) const {
    const Records records = candidate.records.value_or(Records{});
    Report object = copy(candidate.decision);
    object["inLauncherDirectory"] = candidate.records.has_value();
    object["launches"] = valueOrNull(records.launches);
    object["lastLaunch"] = timeOrNull(records.lastLaunch);
    object["startedSafely"] = valueOrNull(records.startedSafely);
    object["recordsSafeStart"] =
        candidate.records ? Report(candidate.decision.corruptCheck.applies) : Report();
    object["nearlyCorrupt"] = isNearlyCorrupt(candidate);
    object["verdict"] = first(verdict, candidate);
    return object;
  }

  Report explained(const Candidate& candidate) const {
    Report object = describe(candidate);
    object["rules"] = all(stopRule, candidate);
    if (candidate.failure)
      return object;
    for (Topic* const rule : {bundleRule, corruptRule, clientRule, choiceRule}) {
      const Report asked = all(*rule, candidate);
      object["rules"].insert(object["rules"].end(), asked.begin(), asked.end());
    }
    return object;
  }

  Report candidates() const {
    Report list = Report::array();
    for (const auto& candidate : facts.candidates)
      list.push_back(describe(candidate));
    return list;
  }

  Report launched(const Path& dir, const std::optional<FileTime>& time) const {
    return {{"directory", redaction.path(dir)}, {"lastLaunch", timeOrNull(time)}};
  }

  Report launched(const CleanUpPreview::Folders& folders) const {
    Report list = Report::array();
    for (const auto& folder : folders)
      list.push_back(launched(folder.dir, folder.launchTime));
    return list;
  }

  Report describeCleanUp() const {
    const CleanUpPreview& preview = facts.cleanUp;
    Report object = first(cleanUp, chosen);
    object["notes"] = all(cleanUpNotes, chosen);
    object["removed"] = launched(preview.removed);
    object["tied"] = launched(preview.tied);
    object["tiedKept"] = preview.tiedKept;
    object["kept"] = launched(preview.kept);
    if (preview.happens)
      object["kept"].push_back(
          launched(chosen.decision.dir, chosen.records.value_or(Records{}).lastLaunch));
    return object;
  }

  Report lastLaunch() const {
    const LastLaunch& launch = facts.lastLaunch;
    Report object = {{"log", redaction.path(launch.log)}, {"time", textOrNull(launch.time)}};
    object["clientVersion"] =
        launch.clientVersion ? Report(redaction.text(*launch.clientVersion)) : Report();
    object["chosen"] = Report();
    if (launch.chosen && !launch.chosen->directory.empty())
      object["chosen"] = {
          {"directory", redaction.loggedPath(launch.chosen->directory)},
          {"version", redaction.text(launch.chosen->version)}};
    object["launches"] = valueOrNull(launch.launchCount);
    object["furtherRemovalFailures"] = launch.furtherRemovalFailures;
    object["removalFailures"] = Report::array();
    for (const auto& reason : launch.removalFailures)
      object["removalFailures"].push_back(redaction.text(reason));
    object["notes"] = all(launchNotes, chosen);
    object["end"] = first(launchEnd, chosen);
    const bool isRequested = !object["chosen"].is_null();
    object["systemLogCommand"] = isRequested ? Report(systemLogCommand(launch)) : Report();
    return object;
  }

  Report loadMode() const {
    const LoadMode& load = facts.loadMode;
    Report object = {{"log", redaction.path(load.log)}, {"time", textOrNull(load.time)}};
    object["end"] = first(loadModeEnd, chosen);
    return object;
  }

  const Facts& facts;
  const Redaction redaction;
  const Candidate noCandidate{};
  const Candidate& chosen = facts.chosen ? facts.candidates[*facts.chosen] : noCandidate;
};

} // namespace

Report makeReport(const Facts& facts, const std::string& loginName, Paths paths) {
  return Writer(facts, loginName, paths).report();
}

} // namespace LauncherInspect
