#pragma once

// What the system that runs this command tells. linux/ and macos/ implement it.

#include <string>
#include <sys/types.h>
#include <vector>

namespace LauncherInspect {

// What a copy for macOS has to fit.
struct System {
  std::vector<std::string> architectures; // that can run here, the preferred one first
  std::string version;                    // of macOS; empty: this is another system
};

System thisSystem();

// listxattr: the names of a file's extended attributes, each with a zero at its end, and their
// size; -1 on failure.
ssize_t listAttributes(const char* file, char* names, std::size_t size);

// The command that shows what the system log tells of the starts since a local time, or since ever
// where that is empty.
std::string systemLogCommand(const std::string& since);

// What to do where files cannot be removed although permissions allow it.
const char* protectionRemedy();

} // namespace LauncherInspect
