#pragma once

// What the next launch would do, as the launcher's own rules decide it, and what the last one did.

#include "CleanUp.h"
#include "CopyCheck.h"
#include "LaunchLog.h"
#include "Selection.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

namespace LauncherInspect {

using Path = std::filesystem::path;
using FileTime = std::filesystem::file_time_type;

// What the launcher has recorded about a copy. Nothing: the record cannot be examined; the launch
// itself does not ask for every record.
struct Records {
  std::optional<std::uint32_t> launches;
  std::optional<FileTime> lastLaunch; // FileTime::min(): never
  std::optional<bool> startedSafely;
};

// How a version compares with that of the chosen copy. Unordered: neither exceeds the other, and
// they are not equal, since a component is no number.
enum class Order { Equal, Lower, Higher, Unordered };

// What the file system refused.
struct Failure {
  Path path; // what to change; empty: not told
  std::string reason;
  std::error_code code = {};
  // What the launcher would be about to do.
  enum class Step { Examining, CreatingLogFolder, CreatingHome } step = Step::Examining;
};

struct CandidateFacts {
  Selection::Candidate decision;
  std::optional<Records> records; // kept in the launcher folder only
  bool isChosen = false;
  Order order = Order::Unordered;
  std::optional<std::size_t> twin = {};   // an earlier candidate that is the same folder
  std::optional<Failure> failure = {};    // the launcher would stop at this candidate
  Platform::ListProblem listProblem = {}; // of a copy without a version
};

struct Decisions {
  std::vector<CandidateFacts> candidates; // in scan order
  std::optional<std::size_t> chosen;      // index of a candidate
  std::optional<std::size_t> next;        // the choice once the chosen copy has become corrupt
  std::size_t eligible = 0; // how many copies the chosen one was selected from, each folder once
  bool fellBack = false;    // no viable copy is compatible, so all of them are eligible
  bool choseWithoutVersion = false; // no eligible copy has a version that counts

  // An empty one where there is none.
  const CandidateFacts& chosenOne() const;
  const CandidateFacts& nextOne() const;

  // The same folder, where it is listed first.
  const CandidateFacts& firstListed(const CandidateFacts& candidate) const;
};

struct Places {
  Path home;
  Path ignoredHome;      // what HOME names, where the system goes by another home; otherwise empty
  std::string homeOwner; // the user's name or number; empty: the user of this process
  bool diskIsFull = false;
  Path workingDirectory;  // empty: it cannot be told
  Path launcherDirectory; // empty: the home has no Application Support folder
  bool launcherDirectoryExists = false;
  std::optional<Failure> launcherDirectoryFailure; // neither of the two is known
};

// The folders of the launcher folder after the launch, each list by launch time.
struct CleanUpPreview {
  using Folders = CleanUp::LaunchedDirectories;

  bool happens = false; // only after a start from the launcher folder
  Folders removed;
  Folders kept;                   // without the started copy, which is always kept
  Folders tied;                   // of equal launch time, but only some of them are kept
  std::size_t tiedKept = 0;       // how many of these
  Path chosenTarget;              // among removed or tied: where the started copy leads as a link
  std::optional<Failure> failure; // the copy has been started by then
};

struct Facts {
  std::string clientVersion;
  Places places;
  std::optional<Failure> failure; // the launcher would stop here, before any start; then each
                                  // candidate was examined by itself, and none is chosen
  Decisions decisions;
  std::optional<std::size_t> explained; // index of the candidate that the user asks about
  StartCheck startCheck;                // of the chosen copy
  RecordCheck recordCheck;              // of the chosen copy
  Path unwritableRecord;                // of the chosen copy; empty: its launch can be counted
  Path unwritableLog;                   // empty: the launch can write its log
  CleanUpPreview cleanUp;
  LastLaunch lastLaunch;
  LoadMode loadMode;
};

// Looks into the home and the working folder of this process. Changes nothing and raises nothing of
// the file system.
Facts findFacts(const std::string& clientVersion);

// Whether one more launch without a safe start makes the copy corrupt.
bool isNearlyCorrupt(const CandidateFacts& candidate);

// The index of the first candidate with this absolute path.
std::optional<std::size_t> findCandidate(const Decisions& decisions, const Path& path);

// The first components of a version, as text.
std::string firstComponents(const std::string& version, std::size_t count);

// Whether all of these components are numbers.
bool isNumeric(const std::string& version, std::uint32_t count = Selection::ALL_VERSION_COMPONENTS);

} // namespace LauncherInspect
