#include "ThinClientLauncherBase.h"

#include "LauncherHelper.h"
#include "Logger.h"

#include <algorithm>
#include <charconv>
#include <ctime>
#include <fstream>
#include <iterator>
#include <locale>
#include <optional>
#include <set>
#include <utility>

namespace fs = std::filesystem;

using Path = ThinClientLauncherBase::Path;
using CandidateList = ThinClientLauncherBase::CandidateList;

constexpr const char* CORRUPT_CHECK_BASE_VERSION = "45.10.0.32950";
constexpr const char* ANY_CLIENT_VERSION = "1.0.0.1";

constexpr const char* LAUNCH_DAT_FILE_NAME = "launch.dat";
constexpr const char* LAUNCHED_COUNT_FILE_NAME = "launchCount.dat";
constexpr const char* SAFE_START_FILE_NAME = "started.dat";
constexpr const char* CORRUPT_DAT_FILE_NAME = "corrupt.dat";
constexpr std::size_t OTHER_FOLDERS_KEPT = 2;

// --- Versions ---

std::vector<std::string> ThinClientLauncherBase::splitVersion(const std::string& version) {
  std::vector<std::string> components;
  std::size_t start = 0;
  for (auto dot = version.find('.'); dot != std::string::npos; dot = version.find('.', start)) {
    components.push_back(version.substr(start, dot - start));
    start = dot + 1;
  }
  if (start < version.size() || components.empty())
    components.push_back(version.substr(start));
  return components;
}

// Reads like formatted input does, but in no locale: blanks, a sign, digits, whatever follows.
static std::optional<std::int32_t> componentNumber(const std::string& component) {
  const char* first = component.data();
  const char* const last = first + component.size();
  first = std::find_if(first, last, [](char c) { return c != ' ' && (c < '\t' || c > '\r'); });
  if (first != last && *first == '+' && (++first == last || *first == '-'))
    return std::nullopt;
  std::int32_t number = 0;
  if (std::from_chars(first, last, number).ec != std::errc())
    return std::nullopt;
  return number;
}

bool ThinClientLauncherBase::isGreaterVersion(
    const std::string& a, const std::string& b, std::uint32_t count) {
  const auto componentsOfA = splitVersion(a);
  const auto componentsOfB = splitVersion(b);
  const std::size_t compared = std::min<std::size_t>(count, componentsOfA.size());
  for (std::size_t i = 0; i < compared; ++i) {
    if (i >= componentsOfB.size())
      return true;
    const auto numberOfA = componentNumber(componentsOfA[i]);
    const auto numberOfB = componentNumber(componentsOfB[i]);
    if (!numberOfA || !numberOfB)
      return false;
    if (*numberOfA != *numberOfB)
      return *numberOfA > *numberOfB;
  }
  return false;
}

// --- Selection ---

static CandidateList subFolders(const Path& dir) {
  CandidateList folders;
  if (!fs::exists(dir))
    return folders;
  for (const auto& entry : fs::directory_iterator(dir)) {
    if (entry.is_directory())
      folders.push_back(entry.path());
  }
  return folders;
}

static void append(CandidateList& list, const CandidateList& more) {
  list.insert(list.end(), more.begin(), more.end());
}

CandidateList ThinClientLauncherBase::scanForPossibleDirectories() const {
  CandidateList candidates;
  candidates.push_back(LauncherHelper::getOriginalInstallationDirectory());
  candidates.push_back(fs::current_path());
  append(candidates, subFolders(LauncherHelper::getLauncherDirectory()));
  append(candidates, subFolders(LauncherHelper::getCurrentPackageDirectory()));
  return candidates;
}

bool ThinClientLauncherBase::isBelongLaunchDirectory(const Path& dir) const {
  return dir.parent_path() == LauncherHelper::getLauncherDirectory();
}

// Setup-engine folders stand in when no viable copy is left.
static CandidateList setupEngineDirectories(const CandidateList& candidates) {
  CandidateList folders;
  std::copy_if(
      candidates.begin(),
      candidates.end(),
      std::back_inserter(folders),
      LauncherHelper::isSetupEngineDirectory);
  return folders;
}

CandidateList
ThinClientLauncherBase::filterInviableDirectories(const CandidateList& candidates) const {
  Viability judged = judgeViability(candidates);
  writeCorruptVersions(judged.corruptVersions);
  return std::move(judged.viable);
}

ThinClientLauncherBase::Viability
ThinClientLauncherBase::judgeViability(const CandidateList& candidates) const {
  Viability judged;
  for (const auto& dir : candidates) {
    if (!LauncherHelper::isVDIPluginDirectory(dir))
      continue;
    const std::string name = LauncherHelper::toStdString(dir);
    if (isDirectoryCorrupt(dir)) {
      Logger::log("VDI Skipping corrupt directory: " + name);
      const std::string version = LauncherHelper::getDirectoryVersion(dir);
      if (!version.empty())
        judged.corruptVersions.push_back(version);
    } else {
      judged.viable.push_back(dir);
      const std::string launchCount = std::to_string(getLaunchCount(dir));
      Logger::log("safe start Directory: " + name + ", Launch Count: " + launchCount);
    }
  }
  if (judged.viable.empty())
    judged.viable = setupEngineDirectories(candidates);
  return judged;
}

bool ThinClientLauncherBase::isDirectoryCorrupt(const Path& dir) const {
  if (!isBelongLaunchDirectory(dir) || !isSupportCheckCorrupt(dir))
    return false;
  const std::uint32_t launchCount = getLaunchCount(dir);
  const bool startedSafely = hasStartedSafely(dir);
  if (launchCount < CORRUPT_LAUNCH_COUNT_THRESHOLD || startedSafely)
    return false;
  Logger::log(
      "VDI Directory marked as corrupt - Launch count: " + std::to_string(launchCount) +
      ", Directory: " + LauncherHelper::toStdString(dir));
  return true;
}

bool ThinClientLauncherBase::isSupportCheckCorrupt(const Path& dir) const {
  const std::string version = LauncherHelper::getDirectoryVersion(dir);
  if (version.empty())
    return false;
  const bool supported =
      isGreaterVersion(version, CORRUPT_CHECK_BASE_VERSION, ALL_VERSION_COMPONENTS);
  Logger::log(
      std::string("VDI ") + (supported ? "supports" : "does not support") +
      " CheckCorrupt: " + LauncherHelper::toStdString(dir));
  return supported;
}

CandidateList ThinClientLauncherBase::filterIncompatibleDirectories(
    const CandidateList& candidates, const std::string& clientVersion) const {
  if (clientVersion.empty() || clientVersion == ANY_CLIENT_VERSION)
    return candidates;
  CandidateList compatible;
  for (const auto& dir : candidates) {
    const std::string version = LauncherHelper::getDirectoryVersion(dir);
    if (!version.empty() &&
        !isGreaterVersion(version, clientVersion, COMPATIBLE_VERSION_COMPONENTS))
      compatible.push_back(dir);
  }
  return compatible;
}

CandidateList ThinClientLauncherBase::selectCompatible(
    const CandidateList& viable, const std::string& clientVersion) const {
  auto compatible = filterIncompatibleDirectories(viable, clientVersion);
  if (compatible.empty())
    return viable;
  return compatible;
}

Path ThinClientLauncherBase::findBestCandidate(const CandidateList& candidates) const {
  Path best = candidates.empty() ? Path() : candidates.front();
  std::string bestVersion = LOWEST_CANDIDATE_VERSION;
  for (const auto& dir : candidates) {
    if (!LauncherHelper::isVDIPluginDirectory(dir))
      continue;
    const std::string version = LauncherHelper::getDirectoryVersion(dir);
    Logger::log("find a candidate with Version: " + version);
    if (!version.empty() && isGreaterVersion(version, bestVersion, ALL_VERSION_COMPONENTS)) {
      best = dir;
      bestVersion = version;
    }
  }
  Logger::log(
      "Best candidate: " + LauncherHelper::toStdString(best) + " (version: " + bestVersion + ")");
  return best;
}

// --- Launch records ---

// Record files hold plain digits, whatever locale the host has made the global one.
template <typename Number>
static bool writeNumber(const Path& file, Number number) {
  std::ofstream stream(file);
  if (!stream.is_open())
    return false;
  stream.imbue(std::locale::classic());
  stream << number;
  return true;
}

std::uint32_t ThinClientLauncherBase::getLaunchCount(const Path& dir) const {
  const Path file = dir / LAUNCHED_COUNT_FILE_NAME;
  if (!fs::exists(file))
    return 0;
  std::uint32_t count = 0;
  std::ifstream stream(file);
  stream.imbue(std::locale::classic());
  stream >> count;
  return count;
}

void ThinClientLauncherBase::incrementLaunchCount(const Path& dir) const {
  if (!isBelongLaunchDirectory(dir))
    return;
  const std::uint32_t count = getLaunchCount(dir) + 1;
  if (!writeNumber(dir / LAUNCHED_COUNT_FILE_NAME, count))
    return;
  Logger::log(
      "VDI Launch count updated to: " + std::to_string(count) +
      " for directory: " + LauncherHelper::toStdString(dir));
}

void ThinClientLauncherBase::updateLaunchTime(const Path& dir) const {
  if (isBelongLaunchDirectory(dir))
    writeNumber(dir / LAUNCH_DAT_FILE_NAME, static_cast<std::int64_t>(std::time(nullptr)));
}

fs::file_time_type ThinClientLauncherBase::getLastLaunchTime(const Path& dir) const {
  const Path file = dir / LAUNCH_DAT_FILE_NAME;
  if (!isBelongLaunchDirectory(dir) || !fs::exists(file))
    return fs::file_time_type::min();
  return fs::last_write_time(file);
}

void ThinClientLauncherBase::updateLaunchInfo(const Path& dir) const {
  incrementLaunchCount(dir);
  updateLaunchTime(dir);
}

bool ThinClientLauncherBase::hasStartedSafely(const Path& dir) const {
  return fs::exists(dir / SAFE_START_FILE_NAME);
}

void ThinClientLauncherBase::writeCorruptVersions(const std::vector<std::string>& versions) const {
  if (versions.empty())
    return;
  const Path file = LauncherHelper::getLauncherDirectory() / CORRUPT_DAT_FILE_NAME;
  const std::set<std::string> distinct(versions.begin(), versions.end());
  std::ofstream stream(file);
  if (!stream.is_open()) {
    Logger::log("VDI Failed to write corrupt versions to " + LauncherHelper::toStdString(file));
    return;
  }
  const char* separator = "";
  for (const auto& version : distinct) {
    stream << separator << version;
    separator = "|";
  }
  stream.close();
  Logger::log(
      "VDI Wrote " + std::to_string(distinct.size()) + " corrupt versions to " +
      LauncherHelper::toStdString(file));
}

// --- Clean-up ---

void ThinClientLauncherBase::cleanUpLauncherDirectory(const Path& launchedDir) const {
  for (const auto& folder : planCleanUp(foldersToCleanUp(launchedDir)).removed)
    removeDirectory(folder.dir);
}

std::vector<ThinClientLauncherBase::LaunchedFolder>
ThinClientLauncherBase::foldersToCleanUp(const Path& launchedDir) const {
  if (!isBelongLaunchDirectory(launchedDir)) {
    Logger::log("not started from launcher folder, do not clean");
    return {};
  }
  std::vector<LaunchedFolder> others;
  for (const auto& dir : subFolders(LauncherHelper::getLauncherDirectory())) {
    if (dir != launchedDir)
      others.push_back({getLastLaunchTime(dir), dir});
  }
  return others;
}

ThinClientLauncherBase::CleanUpPlan
ThinClientLauncherBase::planCleanUp(std::vector<LaunchedFolder> folders) {
  std::sort(folders.begin(), folders.end(), [](const auto& left, const auto& right) {
    return left.launchTime < right.launchTime;
  });
  const auto removedCount = folders.size() - std::min(folders.size(), OTHER_FOLDERS_KEPT);
  CleanUpPlan plan;
  plan.kept.assign(
      std::next(folders.begin(), static_cast<std::ptrdiff_t>(removedCount)), folders.end());
  folders.resize(removedCount);
  plan.removed = std::move(folders);
  return plan;
}

void ThinClientLauncherBase::removeDirectory(const Path& dir) {
  std::error_code error;
  fs::remove_all(dir, error);
  if (error)
    Logger::log("remove directory failed: " + error.message());
}
