#pragma once

// A private view of the machine for the whole test program: its own /Applications, /dev and
// temporary folder, each empty and gone at the end; everything else as it is.

namespace test::Enclosure {

// Whether this process has been started by runInside.
bool isInside();

// Starts this program once more, with the same arguments, inside; returns its exit status. Where
// private namespaces are not to be had, says what to do and returns 1.
int runInside(char** argv);

} // namespace test::Enclosure
