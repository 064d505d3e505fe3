#pragma once

// Every message of a report that has a code, and when it applies. A new message is one row in
// Messages.cpp; a test compares the codes with those in the manual page and in
// docs/launcher-inspect-json.md.

#include "Facts.h"

#include <vector>

namespace LauncherInspect {

struct Message {
  const char* code;
  bool applies;
  const char* text;             // for fmt; Report.cpp gives the values of its names
  const char* remedy = nullptr; // likewise: what to do, if there is anything
};
using Messages = std::vector<Message>;

// All messages of a topic, about the chosen candidate, or an empty one when there is none.
using Topic = Messages(const Facts& facts, const Candidate& candidate);

// Why a copy has no readable version.
const char* versionProblem(const Candidate& candidate);

// Whether one more launch without a safe start makes the copy corrupt.
bool isNearlyCorrupt(const Candidate& candidate);

// Topics of which the report has the first message that applies.
Topic outcome, client, launcherDirectoryState, cleanUp, launchEnd, loadModeEnd;
Topic verdict; // about each candidate

// Topics of which the report has all messages that apply.
Topic notes, cleanUpNotes, launchNotes;
Topic warnings;                                        // about each candidate
Topic stopRule;                                        // alone, about one that cannot be examined
Topic bundleRule, corruptRule, clientRule, choiceRule; // about the explained candidate

struct NamedTopic {
  const char* member; // of the report
  Topic* topic;
};
std::vector<NamedTopic> allTopics();

} // namespace LauncherInspect
