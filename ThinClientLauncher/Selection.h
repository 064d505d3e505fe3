#pragma once

// What a launch decides about its candidates. The operations of ThinClientLauncherBase act on these
// decisions, and launcher-inspect explains them.
//
// The functions read the file system and report to the log, if one is open; they change nothing
// else.

#include "ThinClientLauncherBase.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Selection {

using Path = ThinClientLauncherBase::Path;
using CandidateList = ThinClientLauncherBase::CandidateList;

constexpr std::uint32_t ALL_VERSION_COMPONENTS = 4;
constexpr std::uint32_t COMPATIBLE_VERSION_COMPONENTS = 2;
constexpr std::uint32_t CORRUPT_LAUNCH_COUNT_THRESHOLD = 3;
constexpr const char* CORRUPT_CHECK_BASE_VERSION = "45.10.0.32950";
constexpr const char* ANY_CLIENT_VERSION = "1.0.0.1";
constexpr const char* LOWEST_CANDIDATE_VERSION = "0.0.0.0";

// What the corrupt rule found out about a copy.
struct CorruptCheck {
  bool applies = false;          // in the launcher folder, and above CORRUPT_CHECK_BASE_VERSION
  std::uint32_t launchCount = 0; // launchCount and startedSafely are read only where it applies
  bool startedSafely = false;
  bool isCorrupt = false;
};

enum class Status { Viable, NoBundle, Corrupt, Incompatible };

// A candidate folder and what has been decided about it so far.
struct Candidate {
  Path dir;
  Status status = Status::Viable;
  std::string version; // as last read; empty: not read yet, or the bundle has none
  CorruptCheck corruptCheck;
};
using Candidates = std::vector<Candidate>; // in scan order

bool isViable(const Candidate& candidate);

// Judges every candidate; the corrupt rule applies to folders that hold the bundle. If none is
// viable, setup-engine folders become viable.
Candidates judgeViability(const CandidateList& directories);

CorruptCheck checkCorrupt(const Path& dir);

// The versions of the corrupt copies that have one, in candidate order and with duplicates.
std::vector<std::string> corruptVersions(const Candidates& candidates);

// Makes viable copies incompatible that exceed the client's version or have no readable version.
Candidates judgeCompatibility(Candidates candidates, const std::string& clientVersion);

// The folders of the viable candidates.
CandidateList viableDirectories(const Candidates& candidates);

// Whether all viable copies are eligible because none of them is compatible.
bool fallsBack(const CandidateList& viable, const CandidateList& compatible);

struct Choice {
  std::optional<std::size_t> index; // of the candidate; none when no candidate is viable
  std::string version = LOWEST_CANDIDATE_VERSION; // the highest, where a copy's exceeds the lowest
};

// Chooses the best viable candidate, and stores the version that it read of each.
Choice chooseBest(Candidates& candidates);

} // namespace Selection
