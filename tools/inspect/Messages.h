#pragma once

// Every message of a report that has a code, and when it applies. A new message is one row in
// Messages.cpp; a test compares the codes with those in the manual page.

#include "Facts.h"

#include <functional>
#include <type_traits>
#include <utility>
#include <variant>

namespace LauncherInspect {

// A value of the facts, which is read when the message is shown.
template <typename Value>
using Fact = std::reference_wrapper<const Value>;

// A version, or its first components. In a sentence it is cut where it is too long.
struct Version {
  Fact<std::string> text;
  std::size_t components = 0; // 0: all
};

// The path of a folder, or of something in it.
struct Inside {
  Fact<Path> folder;
  Path place;

  Path path() const { return place.empty() ? folder.get() : folder.get() / place; }
};

// The command's own words are literals. Every other text is a fact, and only Report.cpp shows one,
// redacted.
using Part = std::variant<
    const char*,
    std::size_t,
    Fact<Path>,
    Fact<std::string>,
    Fact<std::optional<Failure>>,
    Inside,
    Version>;

struct Text {
  Text() = default;
  // NOLINTNEXTLINE(modernize-avoid-c-arrays): the type of a literal
  template <typename Value, typename = std::enable_if_t<std::is_constructible_v<Part, Value>>>
  Text(Value&& part) : parts{Part(std::forward<Value>(part))} {}

  std::vector<Part> parts;
};

struct Message {
  const char* code;
  bool applies;
  Text text;
  Text remedy = {}; // what to do, if there is anything
};
using Messages = std::vector<Message>;

// The first message that applies; one must.
const Message& firstOf(const Messages& messages);

// All messages of a topic, about the chosen candidate, or an empty one when there is none. They are
// valid as long as both arguments.
using Topic = Messages(const Facts& facts, const CandidateFacts& candidate);

// Topics of which the report has the first message that applies.
Topic outcome, client, launcherDirectoryState, cleanUp, launchEnd, loadModeEnd;
Topic verdict; // about each candidate

// Topics of which the report has all messages that apply.
Topic notes, cleanUpNotes, launchNotes;
Topic warnings; // about each candidate
Topic rules;    // about the explained candidate

// With the members of the report that hold them.
std::vector<std::pair<const char*, Topic*>> allTopics();

} // namespace LauncherInspect
