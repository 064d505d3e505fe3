#pragma once

// AppKit's workspace, which Linux does not have: records what it is told and starts nothing.

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace test {

// The messages since the last reset, in their order and with their values, such as
// "setPromptsUserIfNeeded: YES". The test program's pause stands among them.
std::vector<std::string> platformMessages();
void recordMessage(const std::string& message);

struct StartRequest {
  std::string path; // of the file URL
  std::vector<std::string> arguments;
  bool handlerCapturesNothing;
};

std::vector<StartRequest> startRequests();

// Calls the handler of the oldest unanswered request on a thread of its own and returns when that
// thread has ended. The text is the description of the error, if there is one.
void answerStart(const std::optional<std::string>& failure);

// How many launch configurations are alive.
std::size_t liveConfigurations();

void resetWorkspace();

} // namespace test
