#pragma once

// What both reports say in words, each with a stable code where a program has to tell it apart.
// All texts are disclosed already, but not escaped.

#include "Disclosure.h"
#include "Inspection.h"

#include <string>
#include <vector>

namespace LauncherInspect {

struct Statement {
  std::string code;
  std::string text;
};

Statement
verdictOf(const Candidate& candidate, const Inspection& inspection, const Disclosure& disclosure);

// "would-start", "nothing-viable" or "failed", with the sentence that leads the report.
Statement outcomeOf(const Inspection& inspection, const Disclosure& disclosure);

// What a reader of the choice has to know beside it; empty when nothing is unusual.
std::vector<Statement> notesOn(const Inspection& inspection, const Disclosure& disclosure);

// One for each copy that is about to be judged corrupt.
std::vector<Statement> warningsOn(const Inspection& inspection, const Disclosure& disclosure);

// Whether and why the clean-up happens.
Statement cleanUpOf(const Inspection& inspection, const Disclosure& disclosure);

// How the last launch ended, as far as its log tells.
Statement endOf(const LastLaunch& launch, const Disclosure& disclosure);

} // namespace LauncherInspect
