#pragma once

#include <string>
#include <vector>

// Splitting and comparing versions, defined in other terms than the launcher's: a regular
// expression's token iteration and the C library's number conversion.
namespace test::VersionOracle {

std::vector<std::string> split(const std::string& version);

// Whether a exceeds b in the first count components.
bool exceeds(const std::string& a, const std::string& b, std::size_t count);

} // namespace test::VersionOracle
