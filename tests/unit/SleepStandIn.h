#pragma once

// Stands in for the system's sleep in the program of the tests: a request for the launcher's fixed
// pause returns at once; every other length is really slept.

#include <chrono>
#include <functional>
#include <vector>

namespace test {

constexpr std::chrono::milliseconds FIXED_PAUSE{3000};

// All requests of the calling thread so far, in order. Clear it before what is watched.
std::vector<std::chrono::nanoseconds>& sleepRequests();

// Runs in place of the fixed pause, unless empty.
std::function<void()>& duringFixedPause();

} // namespace test
