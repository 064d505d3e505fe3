#include "CleanUp.h"

#include "LauncherHelper.h"
#include "LogMessages.h"
#include "Logger.h"
#include "Scan.h"

#include <algorithm>
#include <iterator>
#include <system_error>
#include <utility>

namespace fs = std::filesystem;

constexpr std::size_t OTHER_FOLDERS_KEPT = 2;

static const ThinClientLauncherBase launcher; // its operations need no state

// --- Operations ---

void ThinClientLauncherBase::cleanUpLauncherDirectory(const Path& launchedDir) const {
  const auto others = CleanUp::findOthers(launchedDir);
  if (!others)
    return;
  for (const auto& old : CleanUp::makePlan(*others).removed)
    removeDirectory(old.dir);
}

void ThinClientLauncherBase::removeDirectory(const Path& dir) {
  std::error_code error;
  fs::remove_all(dir, error);
  if (error)
    Logger::log(LogMessages::REMOVAL_FAILED + error.message());
}

// --- Decisions ---

namespace CleanUp {

std::optional<LaunchedDirectories> findOthers(const fs::path& launchedDir) {
  if (!launcher.isBelongLaunchDirectory(launchedDir)) {
    Logger::log(LogMessages::NOT_CLEANED);
    return std::nullopt;
  }
  LaunchedDirectories others;
  for (const auto& dir : subDirectories(LauncherHelper::getLauncherDirectory())) {
    if (dir != launchedDir)
      others.push_back({launcher.getLastLaunchTime(dir), dir});
  }
  return others;
}

Plan makePlan(LaunchedDirectories others) {
  std::sort(others.begin(), others.end(), [](const auto& left, const auto& right) {
    return left.launchTime < right.launchTime;
  });
  const auto removedCount = others.size() - std::min(others.size(), OTHER_FOLDERS_KEPT);
  const auto firstKept = std::next(others.begin(), static_cast<std::ptrdiff_t>(removedCount));
  Plan plan;
  plan.kept.assign(firstKept, others.end());
  others.erase(firstKept, others.end());
  plan.removed = std::move(others);
  return plan;
}

} // namespace CleanUp
