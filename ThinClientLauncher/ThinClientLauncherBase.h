#pragma once

#include "Export.h"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

// The constants of the rules that whoever explains a choice has to name.
constexpr std::uint32_t ALL_VERSION_COMPONENTS = 4;
constexpr std::uint32_t COMPATIBLE_VERSION_COMPONENTS = 2;
constexpr std::uint32_t CORRUPT_LAUNCH_COUNT_THRESHOLD = 3;
constexpr const char* LOWEST_CANDIDATE_VERSION = "0.0.0.0";

// The rules of a launch: which installed copies are candidates, which of them is started, what is
// recorded about it and which old copies are removed.
//
// A candidate folder holds (or may hold) the application bundle. A copy lies in the launcher folder
// when its parent path equals that folder element by element; only such copies carry records, can
// be judged corrupt or are removed.
//
// The operations keep no state and report through Logger. Files that cannot be opened are skipped;
// folders that cannot be examined or listed raise std::filesystem::filesystem_error.
class THIN_CLIENT_LAUNCHER_EXPORT ThinClientLauncherBase {
public:
  using Path = std::filesystem::path;
  using CandidateList = std::vector<Path>; // in order of preference among equal versions

  // --- Versions ---

  // The texts between the dots. A trailing dot adds no empty component; the list is never empty.
  static std::vector<std::string> splitVersion(const std::string& version);

  // Whether a exceeds b in the first count components. Lopsided on purpose: components that only a
  // has make it greater, components that only b has are ignored, and a component that is no 32-bit
  // number makes the answer false where it is reached.
  static bool isGreaterVersion(const std::string& a, const std::string& b, std::uint32_t count);

  // --- Selection ---

  // The installer's folder, the working directory and every sub-folder of the launcher folder, in
  // that order and as the file system lists them; untested and with duplicates.
  CandidateList scanForPossibleDirectories() const;

  bool isBelongLaunchDirectory(const Path& dir) const;

  // Keeps the folders that hold the bundle and are not corrupt; writes the versions of the corrupt
  // ones to corrupt.dat.
  CandidateList filterInviableDirectories(const CandidateList& candidates) const;

  // Whether a copy in the launcher folder was launched three times without ever starting safely.
  bool isDirectoryCorrupt(const Path& dir) const;

  // Whether the copy is new enough to record its safe starts.
  bool isSupportCheckCorrupt(const Path& dir) const;

  // Keeps the copies whose first two version components do not exceed the client's. An empty client
  // version, or the one that stands for any client, keeps everything.
  CandidateList filterIncompatibleDirectories(
      const CandidateList& candidates, const std::string& clientVersion) const;

  // The folder of the highest version, the earliest among equals; the first folder when none has a
  // usable version; the empty path for an empty list.
  Path findBestCandidate(const CandidateList& candidates) const;

  // --- Launch records, in the candidate folder itself ---

  // 0 where there is no readable record.
  std::uint32_t getLaunchCount(const Path& dir) const;

  // Creates or rewrites launchCount.dat; launcher folder only.
  void incrementLaunchCount(const Path& dir) const;

  // Creates or rewrites launch.dat; launcher folder only.
  void updateLaunchTime(const Path& dir) const;

  // The modification time of launch.dat, or the clock's minimum where there is none.
  std::filesystem::file_time_type getLastLaunchTime(const Path& dir) const;

  void updateLaunchInfo(const Path& dir) const;

  // Whether the started copy has left its mark, started.dat; nothing in the launcher writes it.
  bool hasStartedSafely(const Path& dir) const;

  // Rewrites corrupt.dat in the launcher folder with the distinct versions in byte order.
  void writeCorruptVersions(const std::vector<std::string>& versions) const;

  // --- Clean-up ---

  // Removes the folders of the launcher folder but the launched one and the two others that were
  // launched most recently; nothing when the launched copy lies elsewhere.
  void cleanUpLauncherDirectory(const Path& launchedDir) const;

  // Removes dir, given without a separator at its end, and all below it; never follows links. A
  // failure is logged and may leave a part.
  static void removeDirectory(const Path& dir);

  // --- What the operations above decide, without the effects on disk; not exported ---

  struct Viability {
    CandidateList viable;
    std::vector<std::string> corruptVersions; // in candidate order, with duplicates
  };

  Viability judgeViability(const CandidateList& candidates) const;

  // The compatible ones of the viable copies, or all of them when none is compatible.
  CandidateList
  selectCompatible(const CandidateList& viable, const std::string& clientVersion) const;

  struct LaunchedFolder {
    std::filesystem::file_time_type launchTime;
    Path dir;
  };

  // The launcher folder's folders that a launch of launchedDir may remove.
  std::vector<LaunchedFolder> foldersToCleanUp(const Path& launchedDir) const;

  struct CleanUpPlan {
    std::vector<LaunchedFolder> removed; // both by launch time, earliest first
    std::vector<LaunchedFolder> kept;
  };

  // By launch time alone: which of several never launched folders go is not defined.
  static CleanUpPlan planCleanUp(std::vector<LaunchedFolder> folders);
};
