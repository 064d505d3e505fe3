#pragma once

// A private view of the machine for a whole test program: its own /Applications, /dev and temporary
// folder. They are empty at first, but for the usual devices, and gone at the end. No daemon
// listens at its /dev/log. Everything else is as on the machine.

namespace test::Sandbox {

// Moves this process, which must have one thread, into a sandbox of its own. If that is
// impossible, throws an exception that says what to do.
void enter();

// Empties the sandbox's /Applications. Throws outside a sandbox.
void emptyApplications();

} // namespace test::Sandbox
