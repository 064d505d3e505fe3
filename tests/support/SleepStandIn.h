#pragma once

// Stands in for the launcher's fixed pause: a program linked with this (and exporting its symbols,
// when the launcher is a library that it loads) sleeps any length but that one.

#include <cstddef>
#include <functional>

namespace test {

// How often the pause was asked for so far.
std::size_t pausesAskedFor();

// Runs in place of every pause from now on; nothing when empty.
void atEveryPause(std::function<void()> action);

// From now on the pause is slept as well.
void sleepPausesReally();

} // namespace test
