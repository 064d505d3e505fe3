#pragma once

#include "Facts.h"
#include "Home.h"
#include "Platform.h"

#include <ctime>

namespace test {

// A file's time as the file system gives it for this calendar time.
inline LauncherInspect::FileTime fileTime(std::time_t seconds, long nanoseconds = 0) {
  const ScopedDirectory folder;
  const auto file = folder.path() / "file";
  writeFile(file, "");
  setModificationTime(file, seconds, nanoseconds);
  return Platform::modificationTime(file);
}

// What the command finds in this working folder.
inline LauncherInspect::Facts
findFactsAt(const std::filesystem::path& workingDirectory, const std::string& clientVersion = "") {
  const auto before = std::filesystem::current_path();
  std::filesystem::current_path(workingDirectory);
  auto facts = LauncherInspect::findFacts(clientVersion);
  std::filesystem::current_path(before);
  return facts;
}

// The codes of the messages in a report.
template <typename Messages>
std::vector<std::string> codes(const Messages& messages) {
  std::vector<std::string> list;
  for (const auto& message : messages)
    list.push_back(message["code"]);
  return list;
}

// The bytes that a report's member gives as hexadecimal digits.
inline std::string fromHex(const std::string& hex) {
  std::string bytes;
  for (std::size_t i = 0; i < hex.size(); i += 2)
    bytes += static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, 16));
  return bytes;
}

// What a layout makes of the sample, or the messages say of it.
inline std::string expectedPage(const std::string& name) {
  return readFile(std::filesystem::path(EXPECTED_PAGES) / name);
}

constexpr std::time_t A_MOMENT = 1772892309; // 2026-03-07 14:05:09 UTC

// What a host of version 45.12.0.1000 meets in the home of a user called alice.
inline LauncherInspect::Facts sampleFacts() {
  using namespace LauncherInspect;
  using Selection::Status;
  const Path home = "/home/alice";
  const Path folder = home / "Library/Application Support/VantuOrlixVDILauncher";
  const FileTime never = FileTime::min();
  const FileTime moment = fileTime(A_MOMENT, 7000000);

  Facts facts;
  facts.clientVersion = "45.12.0.1000";
  facts.places.home = home;
  facts.places.workingDirectory = home / "work";
  facts.places.launcherDirectory = folder;
  facts.places.launcherDirectoryExists = true;
  const auto add = [&facts](
                       const Path& dir,
                       const std::string& version,
                       Status status,
                       const std::optional<Records>& records = std::nullopt) -> CandidateFacts& {
    facts.decisions.candidates.push_back({{dir, status, version, {}}, records});
    return facts.decisions.candidates.back();
  };
  add("/Applications", "45.11.0.5", Status::Viable).order = Order::Lower;
  add(home / "work", "", Status::NoBundle);
  add(folder / "newer", "45.13.0.10", Status::Incompatible, Records{0, never, false})
      .decision.corruptCheck.applies = true;
  add(folder / "corrupt", "45.12.0.950", Status::Corrupt, Records{3, moment, false})
      .decision.corruptCheck = {true, 3, false, true};
  add(folder / "45.12.0.900", "45.12.0.900", Status::Viable, Records{12, moment, true}).isChosen =
      true;
  auto& again = add(folder / "again", "45.12.0.900", Status::Viable, Records{2, moment, false});
  again.order = Order::Equal;
  again.decision.corruptCheck = {true, 2, false, false};
  add(folder / "broken", "", Status::Incompatible, Records{}).listProblem =
      Platform::ListProblem::Empty;
  facts.decisions.chosen = 4;
  facts.decisions.eligible = 3;
  facts.cleanUp.happens = true;
  facts.cleanUp.removed = {{never, folder / "broken"}};
  facts.cleanUp.tied = {{never, folder / "newer"}, {never, folder / "again"}};
  facts.cleanUp.tiedKept = 1;
  facts.cleanUp.kept = {{moment, folder / "corrupt"}};
  facts.lastLaunch.log = home / "Library/Logs/VantuOrlixVDI/vdi-launch-launchmode-log.txt";
  facts.lastLaunch.exists = true;
  facts.lastLaunch.isCall = true;
  facts.lastLaunch.time = "2026-03-07 14:05:06.001";
  facts.lastLaunch.clientVersion = "45.12.0.1000";
  facts.lastLaunch.chosen = LoggedCopy{
      "/home/*****/Library/Application Support/VantuOrlixVDILauncher/45.12.0.900", "45.12.0.900"};
  facts.lastLaunch.isRecorded = true;
  facts.lastLaunch.launchCount = 12;
  facts.lastLaunch.removalFailures = {"Permission denied"};
  facts.loadMode.log = home / "Library/Logs/VantuOrlixVDI/vdi-launch-loadmode-log.txt";
  facts.loadMode.exists = facts.loadMode.isCall = facts.loadMode.isEntered = true;
  facts.loadMode.time = "2026-03-07 14:05:07.250";
  return facts;
}

// Facts that all differ, whether they go together or not. Every text that is not the command's own
// holds the login name of alice.
inline LauncherInspect::Facts everyFact() {
  using namespace LauncherInspect;
  const Path folder = "/srv/alice";
  const std::string reason = "alice is denied";
  Facts facts = sampleFacts();
  facts.clientVersion = "45.12.0.alice";
  facts.failure =
      Failure{folder / "failed", reason, std::make_error_code(std::errc::not_a_directory)};
  facts.places.ignoredHome = folder / "ignored";
  facts.places.homeOwner = "alice";
  facts.places.workingDirectory = folder / "work";
  facts.places.launcherDirectory = folder / "launcher";
  facts.places.launcherDirectoryFailure = Failure{folder / "unknown", reason};
  for (auto& candidate : facts.decisions.candidates) {
    candidate.decision.dir = folder / candidate.decision.dir.filename();
    candidate.decision.version += ".alice";
  }
  facts.decisions.candidates[2].decision.corruptCheck.launchCount = 7;
  facts.decisions.candidates[2].failure = Failure{folder / "candidate", reason};
  facts.decisions.candidates[2].twin = facts.decisions.candidates[5].twin = 1;
  for (auto* folders : {&facts.cleanUp.removed, &facts.cleanUp.tied, &facts.cleanUp.kept})
    folders->front().dir = folder / folders->front().dir.filename();
  facts.cleanUp.tiedKept = 4;
  facts.cleanUp.chosenTarget = folder / "target";
  facts.cleanUp.failure =
      Failure{folder / "kept", reason, std::make_error_code(std::errc::io_error)};
  facts.startCheck.program = folder / "program";
  facts.startCheck.frameworks = folder / "frameworks";
  facts.startCheck.hasProgram = false;
  facts.startCheck.hasMainLibrary = facts.startCheck.hasLauncherLibrary = false;
  facts.startCheck.architecture = "arm64";
  facts.startCheck.foreignFile = folder / "foreign";
  facts.startCheck.unsignedFile = folder / "unsigned";
  facts.startCheck.systemVersion = "14.5";
  facts.startCheck.neededSystem = "15.alice";
  facts.unwritableRecord = folder / "record";
  facts.unwritableLog = folder / "log";
  facts.lastLaunch.log = facts.loadMode.log = folder / "logs";
  facts.lastLaunch.clientVersion = "45.alice";
  facts.lastLaunch.chosen = LoggedCopy{folder, "45.alice"};
  facts.lastLaunch.removalFailures.push_back(reason);
  facts.lastLaunch.unreadableReason = "launch log of alice";
  facts.loadMode.unreadableReason = "load log of alice";
  facts.loadMode.failure = "library of alice";
  return facts;
}

} // namespace test
