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
  bool applies = false;          // in the launcher folder, and new enough to record safe starts
  std::uint32_t launchCount = 0; // this and the next are read only where the rule applies
  bool startedSafely = false;
  bool isCorrupt = false;
};

enum class Standing { Viable, NoBundle, Corrupt, Incompatible };

// A candidate folder and what has been decided about it so far.
struct Candidate {
  Path dir;
  Standing standing = Standing::Viable;
  std::string version; // as the last decision that needed it read it; empty: none, or not needed
  CorruptCheck corruptCheck;
};
using Candidates = std::vector<Candidate>; // in scan order

// Every candidate, judged by the corrupt rule where it holds the bundle.
Candidates judgeViability(const ThinClientLauncherBase& launcher, const CandidateList& directories);

CorruptCheck checkCorrupt(const ThinClientLauncherBase& launcher, const Path& dir);

// The versions of the corrupt copies that have one, in candidate order and with duplicates.
std::vector<std::string> corruptVersions(const Candidates& candidates);

// Viable copies that exceed the client's version, or have none to compare, become incompatible.
Candidates judgeCompatibility(Candidates candidates, const std::string& clientVersion);

// The folders of the viable candidates.
CandidateList viableDirectories(const Candidates& candidates);

struct Eligible {
  CandidateList directories;
  bool fellBack; // none of the viable copies is compatible: all of them are eligible
};

Eligible selectEligible(const CandidateList& viable, const CandidateList& compatible);

struct Choice {
  std::optional<std::size_t> index; // of the candidate; none when no candidate is viable
  std::string version = LOWEST_CANDIDATE_VERSION; // which the chosen copy may not exceed
};

// The best of the viable candidates, whose versions it reads.
Choice chooseBest(Candidates& candidates);

} // namespace Selection
