#pragma once

#include <filesystem>
#include <vector>

// The folders in dir, including links to folders, in the order in which the file system
// lists them; none when dir does not exist. Raises std::filesystem::filesystem_error.
std::vector<std::filesystem::path> subDirectories(const std::filesystem::path& dir);
