#pragma once

#include <chrono>
#include <thread>

namespace test {

// Polls until the condition holds, for as long as a very slow machine needs. Returns whether it
// did.
template <typename Condition>
bool eventually(Condition condition) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
  while (!condition()) {
    if (std::chrono::steady_clock::now() > deadline)
      return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  return true;
}

} // namespace test
