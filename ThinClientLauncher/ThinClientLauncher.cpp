#include "ThinClientLauncher.h"

#include "LaunchArguments.h"
#include "LauncherHelper.h"
#include "LogMessages.h"
#include "Logger.h"
#include "Selection.h"

static std::string readClientVersion(int argc, char** argv) {
  if (!hasClientVersion(argc, argv))
    return {};
  const std::string clientVersion = argv[2];
  Logger::log(LogMessages::CLIENT_VERSION_PROVIDED + clientVersion);
  return clientVersion;
}

ThinClientLauncher::ThinClientLauncher() = default;

ThinClientLauncher::~ThinClientLauncher() = default;

int ThinClientLauncher::launch(int argc, char** argv) {
  if (isLoadMode(argc, argv)) {
    Logger::log(LogMessages::LOAD_MODE);
    LauncherHelper::loadMainDllFromCurrentDirectory();
    return 0;
  }

  Logger::log("launcher mode");
  const std::string clientVersion = readClientVersion(argc, argv);
  const auto candidates = scanForPossibleDirectories();
  const auto viable = filterInviableDirectories(candidates);
  const auto compatible = filterIncompatibleDirectories(viable, clientVersion);
  const bool fallsBack = Selection::fallsBack(viable, compatible);
  const auto best = findBestCandidate(fallsBack ? viable : compatible);

  LauncherHelper::launchFromDirectory(best, LOAD_MODE_ARGUMENT);
  updateLaunchInfo(best);
  cleanUpLauncherDirectory(best);
  return 0;
}
