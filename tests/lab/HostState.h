#pragma once

// The state of a process that a library in it could disturb: written by test programs, read by
// tests.

#include <map>
#include <string>

namespace test {

// Values by name, such as "parent", "folder", "descriptor 0", "disposition of signal 17",
// "environment HOME", "signals blocked". See the source for the whole list.
using HostState = std::map<std::string, std::string>;

// This process, as the calling thread sees it.
HostState currentState();

// The argument vector as "argument 0" and so on.
void addArguments(HostState& state, int argc, char** argv);

// As text, and back.
std::string toText(const HostState& state);
HostState fromText(const std::string& text);

} // namespace test
