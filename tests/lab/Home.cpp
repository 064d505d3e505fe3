#include "Home.h"

#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace fs = std::filesystem;

namespace test {

ScopedDirectory::ScopedDirectory() {
  std::string pattern = (fs::temp_directory_path() / "launcher-test-XXXXXX").string();
  if (mkdtemp(pattern.data()) == nullptr)
    throw std::runtime_error("cannot create " + pattern);
  folder = fs::canonical(pattern);
}

ScopedDirectory::~ScopedDirectory() {
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

fs::path ScopedHome::launcherDirectory() const {
  return applicationSupport() / "VantuOrlixVDILauncher";
}

fs::path ScopedHome::logDirectory() const {
  return path() / "Library" / "Logs" / "VantuOrlixVDI";
}

fs::path ScopedHome::launchLog() const {
  return logDirectory() / "vdi-launch-launchmode-log.txt";
}

fs::path ScopedHome::loadLog() const {
  return logDirectory() / "vdi-launch-loadmode-log.txt";
}

Copy ScopedHome::copy(const std::string& name, const std::string& version) const {
  return Copy(launcherDirectory() / name, version);
}

void writeFile(const fs::path& file, const std::string& content) {
  fs::create_directories(file.parent_path());
  std::ofstream stream(file, std::ios::binary);
  stream << content;
  stream.close();
  if (!stream)
    throw std::runtime_error("cannot write " + file.string());
}

void setModificationTime(const fs::path& file, std::int64_t seconds, long nanoseconds) {
  const timespec times[] = {{0, UTIME_OMIT}, {seconds, nanoseconds}};
  if (::utimensat(AT_FDCWD, file.c_str(), times, 0) != 0)
    throw std::runtime_error("cannot set the time of " + file.string());
}

std::string readFile(const fs::path& file) {
  std::ifstream stream(file, std::ios::binary);
  std::ostringstream content;
  content << stream.rdbuf();
  return content.str();
}

std::vector<std::string> splitLines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);)
    lines.push_back(line);
  return lines;
}

std::vector<std::string> readLines(const fs::path& file) {
  return splitLines(readFile(file));
}

std::vector<std::string> readMessages(const fs::path& log) {
  std::vector<std::string> messages = readLines(log);
  for (auto& line : messages)
    line.erase(0, TIME_STAMP_LENGTH);
  return messages;
}

std::vector<fs::path> directoriesIn(const fs::path& dir) {
  std::vector<fs::path> folders;
  if (!fs::exists(dir))
    return folders;
  for (const auto& entry : fs::directory_iterator(dir)) {
    if (entry.is_directory())
      folders.push_back(entry.path());
  }
  return folders;
}

std::string propertyList(const std::vector<std::pair<std::string, std::string>>& entries) {
  std::string list = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                     "<plist version=\"1.0\">\n<dict>\n";
  for (const auto& [key, value] : entries)
    list += "  <key>" + key + "</key>\n  <string>" + value + "</string>\n";
  return list + "</dict>\n</plist>\n";
}

Copy::Copy(fs::path dir, const std::string& version) : folder(std::move(dir)) {
  list(propertyList(
      {{"CFBundleExecutable", "OrlixVDIPlugin"}, {"CFBundleShortVersionString", version}}));
}

Copy& Copy::list(const std::string& content) {
  writeFile(propertyListIn(folder), content);
  return *this;
}

Copy& Copy::complete() {
  writeFile(executableIn(folder), "#!/bin/sh\n");
  fs::permissions(executableIn(folder), fs::perms(0755));
  for (const char* library : {"libnexal_vdi_main.dylib", "libThinClientLauncher.dylib"})
    writeFile(frameworksIn(folder) / library, "");
  return *this;
}

Copy& Copy::executable(const fs::path& program) {
  fs::create_directories(executableIn(folder).parent_path());
  fs::copy_file(program, executableIn(folder), fs::copy_options::overwrite_existing);
  return *this;
}

Copy& Copy::launches(const std::string& count) {
  writeFile(folder / "launchCount.dat", count);
  return *this;
}

Copy& Copy::launched(std::chrono::hours ago) {
  const std::time_t time = std::time(nullptr) - std::chrono::seconds(ago).count();
  writeFile(folder / "launch.dat", std::to_string(time));
  setModificationTime(folder / "launch.dat", time);
  return *this;
}

Copy& Copy::startedSafely() {
  writeFile(folder / "started.dat", "");
  return *this;
}

fs::path bundleIn(const fs::path& dir) {
  return dir / "OrlixVDIPlugin.app";
}

fs::path propertyListIn(const fs::path& dir) {
  return bundleIn(dir) / propertyListPlace;
}

fs::path executableIn(const fs::path& dir) {
  return bundleIn(dir) / "Contents" / "MacOS" / "OrlixVDIPlugin";
}

fs::path frameworksIn(const fs::path& dir) {
  return bundleIn(dir) / "Contents" / "Frameworks";
}

} // namespace test
