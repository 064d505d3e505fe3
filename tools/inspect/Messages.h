#pragma once

// Every message of a report that has a code, and when it applies. A new message is one row in
// Messages.cpp; a test compares the codes with those in the manual page and in
// docs/launcher-inspect-json.md.

#include "Facts.h"

#include <vector>

namespace LauncherInspect {

// What a message is about. The candidate is the chosen one, or an empty one when there is none,
// except in the topics about each candidate.
struct Subject {
  const Facts& facts;
  const Candidate& candidate;
};

struct MessageRow {
  const char* code;
  bool (*applies)(const Subject& subject);
  const char* text; // for fmt; Report.cpp gives the values of its names
};

struct Topic {
  const char* member; // of the report
  std::vector<MessageRow> rows;
};

// The message is the first row that applies.
extern const Topic OUTCOME;
extern const Topic CLIENT;
extern const Topic LAUNCHER_DIRECTORY;
extern const Topic VERDICT; // on each candidate
extern const Topic CLEAN_UP;
extern const Topic END; // of the last launch

// Every row that applies is a message.
extern const Topic NOTES;
extern const Topic WARNINGS; // on each candidate
extern const Topic CLEAN_UP_NOTES;

std::vector<Topic> allTopics();

} // namespace LauncherInspect
