#pragma once

#include <cstddef>
#include <functional>

// Fakes the launcher's fixed pause in a program that is linked with this. A sleep of any other
// length stays what it is. A program whose launcher is a library that it loads must export its
// symbols; on a Mac it cannot fake that library's pause.

namespace test::FakeSleep {

// How often the pause was requested so far.
std::size_t count();

// From now on, every pause runs this action; none if it is empty.
void setAction(std::function<void()> action);

// From now on, the pause is also slept.
void sleepReally();

} // namespace test::FakeSleep
