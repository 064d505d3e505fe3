#pragma once

// What a Mach-O file, the format of macOS's programs and libraries, tells about its code.

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace LauncherInspect {

// The code for one architecture.
struct Slice {
  std::string architecture; // "arm64", "x86_64" or "other"
  bool isSigned;            // with any signature, valid or not
};

// Nothing for a file that is no Mach-O file or cannot be read. A slice of a universal file that is
// cut off or malformed is left out. Raises nothing of the file system.
std::optional<std::vector<Slice>> readSlices(const std::filesystem::path& file);

} // namespace LauncherInspect
