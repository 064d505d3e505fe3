#pragma once

// What the next launch would do, asked of the launcher's own rules, and what the last one did.

#include "CleanUp.h"
#include "LaunchLog.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace LauncherInspect {

using Path = std::filesystem::path;
using FileTime = std::filesystem::file_time_type;

enum class Verdict {
  WouldStart,
  Older,
  SameVersion,
  NotComparable,  // a component that is no number keeps the comparison from an end
  NotAboveLowest, // no copy has a version that counts, and this one is not the first
  NewerThanClient,
  Corrupt,
  NoBundle,
  NoReadableVersion
};

// What the launcher has recorded about a copy. A fact that cannot be had is missing; most of them a
// launch does not ask for.
struct Records {
  std::optional<std::uint32_t> launches;
  std::optional<FileTime> lastLaunch; // FileTime::min(): never
  std::optional<bool> startedSafely;
};

struct Candidate {
  Path directory;
  std::string version;            // empty: none to read
  std::optional<Records> records; // kept in the launcher folder only
  Verdict verdict = Verdict::NoBundle;
  bool nearlyCorrupt = false; // one more start that is not safe makes it corrupt
};

// What the file system refused.
struct Failure {
  Path path; // empty: not told
  std::string reason;
};

// The folders of the launcher folder after the launch, each list by launch time.
struct CleanUpPreview {
  using Folders = CleanUp::LaunchedDirectories;

  bool happens = false; // only after a start from the launcher folder
  Folders removed;
  Folders kept;                   // without the started copy, which always is
  Folders undefined;              // of equal launch time, with places for some of them only
  std::size_t undefinedKept = 0;  // how many of these are kept
  std::optional<Failure> failure; // the copy has been started by then
};

struct Inspection {
  std::string clientVersion;
  Path home;
  Path workingDirectory;
  Path launcherFolder; // empty: the home has no Application Support folder
  bool launcherFolderMissing = false;

  std::vector<Candidate> candidates; // in scan order
  std::optional<std::size_t> chosen; // index of a candidate
  std::size_t contenders = 0;        // how many copies the chosen one was compared with, and it
  bool fellBackToViable = false;     // none of the viable copies is compatible
  bool clientVersionIsOdd = false;   // its compared components are not all numbers
  bool choseWithoutVersion = false;  // no contender has a version that counts
  std::optional<Failure> failure;    // the launcher would stop here, before any start
  CleanUpPreview cleanUp;
  LastLaunch lastLaunch;
};

// Looks into the home and the working folder of this process. Changes nothing and raises nothing of
// the file system.
Inspection inspect(const std::string& clientVersion);

// The first components of a version, as text.
std::string firstComponents(const std::string& version, std::size_t count);

} // namespace LauncherInspect
