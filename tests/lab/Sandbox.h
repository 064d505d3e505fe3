#pragma once

// A private view of the machine for a whole test program: its own /Applications, /dev and temporary
// folder, each empty at first and gone at the end. No daemon listens at its /dev/log. Everything
// else is as on the machine.

namespace test::Sandbox {

// Whether this process runs inside.
bool isInside();

// Starts this program once more, with the same arguments, inside; returns its exit status. Where
// that is impossible, prints what to do about it and returns another status than 0.
int runInside(char** argv);

// The sandbox's /Applications for the length of a scope, emptied at its end. Refuses to work
// outside the sandbox.
class ScopedApplications {
public:
  ScopedApplications();
  ~ScopedApplications();
  ScopedApplications(const ScopedApplications&) = delete;
  ScopedApplications& operator=(const ScopedApplications&) = delete;
};

} // namespace test::Sandbox
