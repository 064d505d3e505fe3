#pragma once

#include <filesystem>
#include <vector>

// The directories in dir, including links to directories, in the order in which the file system
// lists them; none when dir does not exist. Raises std::filesystem::filesystem_error.
std::vector<std::filesystem::path> subDirectories(const std::filesystem::path& dir);
