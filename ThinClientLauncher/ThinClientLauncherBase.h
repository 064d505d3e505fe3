#pragma once

#include "Export.h"

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

// The operations of a launch: find the candidates, choose one, keep records, remove old copies.
//
// A candidate folder holds (or may hold) the application bundle. A copy lies in the launcher folder
// when its parent path equals that folder element by element; only such copies are given
// records, can be judged corrupt or are removed.
//
// The operations keep no state and report through Logger. Files that cannot be opened are skipped;
// folders that cannot be examined or listed raise std::filesystem::filesystem_error. Each section
// is implemented in the source named in its heading. The class declares exactly what the library
// exports; Selection.h and CleanUp.h hold the decisions that its operations act on.
class THIN_CLIENT_LAUNCHER_EXPORT ThinClientLauncherBase {
public:
  using Path = std::filesystem::path;
  using CandidateList = std::vector<Path>; // in order of preference among equal versions

  // --- Versions.cpp ---

  // The texts between the dots. A trailing dot adds no empty component; the list is never empty.
  static std::vector<std::string> splitVersion(const std::string& version);

  // Whether a exceeds b in the first count components. The comparison is asymmetric on purpose:
  // components that only a has make it greater, components that only b has are ignored, and a
  // component that is no 32-bit number makes the answer false where it is reached.
  static bool isGreaterVersion(const std::string& a, const std::string& b, std::uint32_t count);

  // --- Scan.cpp ---

  // The installer's folder, the working directory and every sub-folder of the launcher folder, in
  // that order and as the file system lists them; untested and with duplicates.
  CandidateList scanForPossibleDirectories() const;

  bool isBelongLaunchDirectory(const Path& dir) const;

  // --- Selection.cpp ---

  // Keeps the folders that hold the bundle and are not corrupt; writes the versions of the corrupt
  // ones to corrupt.dat.
  CandidateList filterInviableDirectories(const CandidateList& candidates) const;

  // Whether the copy lies in the launcher folder, passes isSupportCheckCorrupt, and was launched at
  // least three times without ever starting safely.
  bool isDirectoryCorrupt(const Path& dir) const;

  // Whether the copy's version exceeds 45.10.0.32950; older copies are never judged corrupt.
  bool isSupportCheckCorrupt(const Path& dir) const;

  // Keeps the copies whose first two version components do not exceed the client's; drops copies
  // without a readable version. An empty client version, or "1.0.0.1", stands for any client and
  // keeps everything.
  CandidateList filterIncompatibleDirectories(
      const CandidateList& candidates, const std::string& clientVersion) const;

  // The folder of the highest version, the earliest among equals; the first folder when no version
  // exceeds 0.0.0.0; the empty path for an empty list.
  Path findBestCandidate(const CandidateList& candidates) const;

  // --- LaunchRecords.cpp: files in the candidate folder itself, and corrupt.dat ---

  // 0 where there is no readable record.
  std::uint32_t getLaunchCount(const Path& dir) const;

  // Creates or rewrites launchCount.dat; launcher folder only.
  void incrementLaunchCount(const Path& dir) const;

  // Creates or rewrites launch.dat; launcher folder only.
  void updateLaunchTime(const Path& dir) const;

  // The modification time of launch.dat; the clock's minimum when there is none or dir is not in
  // the launcher folder.
  std::filesystem::file_time_type getLastLaunchTime(const Path& dir) const;

  void updateLaunchInfo(const Path& dir) const;

  // Whether the copy's folder holds started.dat, which the started application writes.
  bool hasStartedSafely(const Path& dir) const;

  // Rewrites corrupt.dat in the launcher folder with the distinct versions in byte order; leaves it
  // alone when there are none.
  void writeCorruptVersions(const std::vector<std::string>& versions) const;

  // --- CleanUp.cpp ---

  // Removes all folders in the launcher folder except the launched one and the two others that were
  // launched most recently; nothing when the launched copy lies elsewhere.
  void cleanUpLauncherDirectory(const Path& launchedDir) const;

  // Removes dir, given without a separator at its end, and everything below it; never follows
  // links. A failure is logged and may leave a part.
  static void removeDirectory(const Path& dir);
};
