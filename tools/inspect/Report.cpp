#include "Report.h"

#include "DisplayText.h"
#include "LocalTime.h"
#include "Messages.h"
#include "System.h"

#include <set>

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

static std::string quoted(std::string text) {
  for (auto at = text.find('\''); at != std::string::npos; at = text.find('\'', at + 5))
    text.replace(at, 1, R"('"'"')");
  return "'" + text + "'";
}

namespace {

// Texts that are not the command's own enter the report by way of the redaction.
class Writer {
public:
  Writer(const Facts& given, std::vector<std::string> names, Paths paths)
      : facts(given), redaction(given.places.home, std::move(names), paths) {}

  Report report() const {
    Report object = {
        {"schemaVersion", SCHEMA_VERSION},
        {"outcome", first(outcome, chosen)},
        {"chosen", facts.decisions.chosen ? copy(chosen.decision) : Report()},
        {"notes", all(notes, chosen)},
        {"warnings", allWarnings()},
        {"clientVersion", redaction.text(facts.clientVersion)},
        {"client", first(client, chosen)},
        {"home", redaction.text(facts.places.home.string())},
        {"workingDirectory", redaction.path(facts.places.workingDirectory)},
        {"launcherDirectory", redaction.path(facts.places.launcherDirectory)},
        {"launcherDirectoryState", first(launcherDirectoryState, chosen)},
        {"candidates", candidates()},
        {"cleanUp", describeCleanUp()},
        {"lastLaunch", lastLaunch()},
        {"loadMode", loadMode()}};
    if (facts.explained) {
      const CandidateFacts& candidate = facts.decisions.candidates[*facts.explained];
      object["explained"] = describe(candidate);
      object["explained"]["rules"] = all(rules, candidate);
    }
    return object;
  }

private:
  // --- Messages ---

  static std::string shown(const char* words) { return words; }
  static std::string shown(std::size_t number) { return std::to_string(number); }
  std::string shown(const Path& path) const { return redaction.path(path); }
  std::string shown(const std::string& text) const { return redaction.text(text); }

  // A path in a remedy, for pasting into a shell, whose tilde may be another home.
  std::string shown(const Inside& file) const {
    return quoted(redaction.text(file.path().string()));
  }

  std::string shown(const Version& version) const {
    const std::string text =
        version.components == 0 ? version.text : firstComponents(version.text, version.components);
    return shorten(redaction.text(text), LONGEST_VERSION);
  }

  std::string shown(const std::optional<Failure>& failure) const {
    if (!failure)
      return {};
    const std::string place = failure->path.empty() ? "" : redaction.path(failure->path) + ": ";
    return place + redaction.text(failure->reason);
  }

  template <typename Value>
  std::string shown(Fact<Value> fact) const {
    return shown(fact.get());
  }

  std::string shown(const Text& text) const {
    std::string sentence;
    for (const auto& part : text.parts)
      sentence += std::visit([this](const auto& value) { return this->shown(value); }, part);
    return sentence;
  }

  Report words(const Message& message) const {
    Report object = {{"code", message.code}, {"text", shown(message.text)}};
    if (!message.remedy.parts.empty())
      object["remedy"] = shown(message.remedy);
    return object;
  }

  Report first(Topic topic, const CandidateFacts& about) const {
    return words(firstOf(topic(facts, about)));
  }

  Report all(Topic topic, const CandidateFacts& about) const {
    Report list = Report::array();
    for (const auto& message : topic(facts, about)) {
      if (message.applies)
        list.push_back(words(message));
    }
    return list;
  }

  Report allWarnings() const {
    Report list = Report::array();
    std::set<Path> warned; // the same folder may be listed again
    for (const auto& candidate : facts.decisions.candidates) {
      const Report more = all(warnings, candidate);
      if (!more.empty() &&
          warned.insert(facts.decisions.firstListed(candidate).decision.dir).second)
        list.insert(list.end(), more.begin(), more.end());
    }
    return list;
  }

  // --- Parts of the report ---

  Report copy(const Selection::Candidate& candidate) const {
    const std::string version = redaction.text(candidate.version);
    return {{"directory", redaction.path(candidate.dir)}, {"version", textOrNull(version)}};
  }

  Report describe(const CandidateFacts& candidate) const {
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

  Report candidates() const {
    Report list = Report::array();
    for (const auto& candidate : facts.decisions.candidates)
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
    object["systemLogCommand"] = isRequested ? Report(systemLogCommand(startOf(launch))) : Report();
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
  const CandidateFacts& chosen = facts.decisions.chosenOne();
};

} // namespace

Report makeReport(const Facts& facts, const std::vector<std::string>& maskedNames, Paths paths) {
  std::vector<std::string> names = maskedNames;
  if (!names.empty())
    names.push_back(facts.places.homeOwner);
  return Writer(facts, names, paths).report();
}

} // namespace LauncherInspect
