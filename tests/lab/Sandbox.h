#pragma once

// A private view of the machine for a whole test program: its own /Applications, /dev and temporary
// folder, which is also its home. They are empty at first, but for the usual devices, and gone at
// the end. No daemon listens at its /dev/log. Everything else is as on the machine, and read-only.

#include <filesystem>
#include <vector>

namespace test::Sandbox {

// Moves this process, which must have one thread, into a sandbox of its own. If that is
// impossible, throws an exception that says what to do. Folders of the machine may stay
// writable.
void enter(const std::vector<std::filesystem::path>& writable = {});

// Empties the sandbox's /Applications. Throws outside a sandbox.
void emptyApplications();

} // namespace test::Sandbox
