#pragma once

#include <filesystem>
#include <string>

namespace ApplicationStart {

// Starts the bundle's executable and waits until it runs or is known not to. The process has a
// session of its own, the root folder as its working folder, no standard streams, default signals,
// the caller's environment and nothing else of the caller's.
//
// Returns the reason why it does not run; empty on success.
std::string run(const std::filesystem::path& bundle, const std::string& argument);

} // namespace ApplicationStart
