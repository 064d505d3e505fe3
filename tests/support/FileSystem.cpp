#include "FileSystem.h"

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <unistd.h>
#include <utility>

namespace fs = std::filesystem;

namespace test {

ScopedFolder::ScopedFolder() {
  std::string pattern = (fs::temp_directory_path() / "launcher-test-XXXXXX").string();
  if (mkdtemp(pattern.data()) == nullptr)
    throw std::runtime_error("cannot create " + pattern);
  folder = fs::canonical(pattern);
}

ScopedFolder::~ScopedFolder() {
  std::error_code ignored;
  fs::remove_all(folder, ignored);
}

static void setEnvironment(const std::string& name, const std::optional<std::string>& value) {
  if (value)
    setenv(name.c_str(), value->c_str(), 1);
  else
    unsetenv(name.c_str());
}

ScopedEnvironment::ScopedEnvironment(std::string variable, const std::optional<std::string>& value)
    : name(std::move(variable)) {
  if (const char* current = std::getenv(name.c_str()))
    before = current;
  setEnvironment(name, value);
}

ScopedEnvironment::~ScopedEnvironment() {
  setEnvironment(name, before);
}

ScopedHome::ScopedHome()
    : home("HOME", folder.path().string()),
      foundationHome("CFFIXED_USER_HOME", folder.path().string()) {
  fs::create_directories(applicationSupport());
}

fs::path ScopedHome::applicationSupport() const {
  return path() / "Library" / "Application Support";
}

fs::path ScopedHome::launcherFolder() const {
  return applicationSupport() / "VantuOrlixVDILauncher";
}

fs::path ScopedHome::logFolder() const {
  return path() / "Library" / "Logs" / "VantuOrlixVDI";
}

void writeFile(const fs::path& file, const std::string& content) {
  fs::create_directories(file.parent_path());
  std::ofstream stream(file, std::ios::binary);
  stream << content;
  stream.close();
  if (!stream)
    throw std::runtime_error("cannot write " + file.string());
}

std::string readFile(const fs::path& file) {
  std::ifstream stream(file, std::ios::binary);
  std::ostringstream content;
  content << stream.rdbuf();
  return content.str();
}

std::vector<std::string> readLines(const fs::path& file) {
  std::vector<std::string> lines;
  std::ifstream stream(file, std::ios::binary);
  for (std::string line; std::getline(stream, line);)
    lines.push_back(line);
  return lines;
}

std::string propertyList(const std::vector<std::pair<std::string, std::string>>& entries) {
  std::string list = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                     "<plist version=\"1.0\">\n<dict>\n";
  for (const auto& [key, value] : entries)
    list += "  <key>" + key + "</key>\n  <string>" + value + "</string>\n";
  return list + "</dict>\n</plist>\n";
}

fs::path makeBundle(const fs::path& dir, const std::string& version) {
  const fs::path bundle = dir / "OrlixVDIPlugin.app";
  writeFile(
      bundle / "Contents" / "Info.plist",
      propertyList(
          {{"CFBundleExecutable", "OrlixVDIPlugin"}, {"CFBundleShortVersionString", version}}));
  return bundle;
}

} // namespace test
