#include "JsonReport.h"

#include "LocalTime.h"
#include "Wording.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

namespace LauncherInspect {

using Json = nlohmann::ordered_json;

constexpr int SCHEMA_VERSION = 1;

// --- Values ---

static bool isUtf8(const std::string& text) {
  try {
    Json(text).dump();
    return true;
  } catch (const Json::type_error&) {
    return false;
  }
}

static std::string toHex(const std::string& bytes) {
  std::string hex;
  for (const char byte : bytes)
    hex += fmt::format("{:02x}", static_cast<unsigned char>(byte));
  return hex;
}

// A name that is no UTF-8 is followed by its very bytes: in the text their place is taken by
// U+FFFD.
static void putName(Json& object, const std::string& key, const std::string& name) {
  object[key] = name;
  if (!isUtf8(name))
    object[key + "Bytes"] = toHex(name);
}

static Json textOrNull(const std::string& text) {
  return text.empty() ? Json() : Json(text);
}

template <typename Value>
static Json valueOrNull(const std::optional<Value>& value) {
  return value ? Json(*value) : Json();
}

static Json launchTime(const std::optional<FileTime>& time) {
  if (!time)
    return Json();
  return *time == FileTime::min() ? "never" : toTimestamp(*time);
}

static Json toJson(const Statement& statement) {
  return {{"code", statement.code}, {"text", statement.text}};
}

static Json toJson(const std::vector<Statement>& statements) {
  Json list = Json::array();
  for (const auto& statement : statements)
    list.push_back(toJson(statement));
  return list;
}

// --- Parts of the report ---

static Json
toJson(const Candidate& candidate, const Inspection& inspection, const Disclosure& disclosure) {
  const Records records = candidate.records.value_or(Records{});
  Json object;
  putName(object, "directory", disclosure.path(candidate.directory));
  object["version"] = textOrNull(disclosure.text(candidate.version));
  object["inLauncherFolder"] = candidate.records.has_value();
  object["launches"] = valueOrNull(records.launches);
  object["lastLaunch"] = launchTime(records.lastLaunch);
  object["startedSafely"] = valueOrNull(records.startedSafely);
  object["nearlyCorrupt"] = candidate.nearlyCorrupt;
  object["verdict"] = toJson(verdictOf(candidate, inspection, disclosure));
  return object;
}

static Json chosenCopy(const Inspection& inspection, const Disclosure& disclosure) {
  if (!inspection.chosen)
    return Json();
  const Candidate& chosen = inspection.candidates[*inspection.chosen];
  Json object;
  putName(object, "directory", disclosure.path(chosen.directory));
  object["version"] = textOrNull(disclosure.text(chosen.version));
  return object;
}

static Json cleanUpEntry(
    const Path& dir, const std::optional<FileTime>& lastLaunch, const Disclosure& disclosure) {
  Json object;
  putName(object, "directory", disclosure.path(dir));
  object["lastLaunch"] = launchTime(lastLaunch);
  return object;
}

static Json toJson(const CleanUpPreview::Folders& folders, const Disclosure& disclosure) {
  Json list = Json::array();
  for (const auto& folder : folders)
    list.push_back(cleanUpEntry(folder.dir, folder.launchTime, disclosure));
  return list;
}

static Json cleanUpReport(const Inspection& inspection, const Disclosure& disclosure) {
  const CleanUpPreview& cleanUp = inspection.cleanUp;
  Json object = toJson(cleanUpOf(inspection, disclosure));
  object["removed"] = toJson(cleanUp.removed, disclosure);
  object["undefined"] = toJson(cleanUp.undefined, disclosure);
  object["undefinedKept"] = cleanUp.undefinedKept;
  object["kept"] = toJson(cleanUp.kept, disclosure);
  if (cleanUp.happens) {
    const Candidate& started = inspection.candidates[*inspection.chosen];
    const Records records = started.records.value_or(Records{});
    object["kept"].push_back(cleanUpEntry(started.directory, records.lastLaunch, disclosure));
  }
  return object;
}

static Json loggedCopy(const LastLaunch& launch, const Disclosure& disclosure) {
  if (!launch.chosen || launch.chosen->directory.empty())
    return Json();
  Json object;
  putName(object, "directory", disclosure.loggedPath(launch.chosen->directory));
  object["version"] = disclosure.text(launch.chosen->version);
  return object;
}

static Json lastLaunchReport(const LastLaunch& launch, const Disclosure& disclosure) {
  Json object;
  putName(object, "log", disclosure.path(launch.log));
  object["time"] = textOrNull(launch.time);
  object["clientVersion"] =
      launch.clientVersion ? Json(disclosure.text(*launch.clientVersion)) : Json();
  object["chosen"] = loggedCopy(launch, disclosure);
  object["launches"] = valueOrNull(launch.launchCount);
  object["removalFailures"] = Json::array();
  for (const auto& reason : launch.removalFailures)
    object["removalFailures"].push_back(disclosure.text(reason));
  object["end"] = toJson(endOf(launch, disclosure));
  return object;
}

// --- The whole ---

std::string toJson(const Inspection& inspection, const Disclosure& disclosure) {
  Json report;
  report["schemaVersion"] = SCHEMA_VERSION;
  report["outcome"] = toJson(outcomeOf(inspection, disclosure));
  report["chosen"] = chosenCopy(inspection, disclosure);
  report["notes"] = toJson(notesOn(inspection, disclosure));
  report["warnings"] = toJson(warningsOn(inspection, disclosure));
  report["clientVersion"] = disclosure.text(inspection.clientVersion);
  putName(report, "home", disclosure.text(inspection.home.string()));
  putName(report, "workingDirectory", disclosure.path(inspection.workingDirectory));
  putName(report, "launcherFolder", disclosure.path(inspection.launcherFolder));
  report["candidates"] = Json::array();
  for (const auto& candidate : inspection.candidates)
    report["candidates"].push_back(toJson(candidate, inspection, disclosure));
  report["cleanUp"] = cleanUpReport(inspection, disclosure);
  report["lastLaunch"] = lastLaunchReport(inspection.lastLaunch, disclosure);
  return report.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

} // namespace LauncherInspect
