#pragma once

#include "Export.h"
#include "ThinClientLauncherBase.h"

// One call of the entry point: tells load mode from launcher mode and runs it.
class THIN_CLIENT_LAUNCHER_EXPORT ThinClientLauncher : private ThinClientLauncherBase {
public:
  ThinClientLauncher();
  virtual ~ThinClientLauncher();

  // Runs the mode that the arguments ask for (see ThinClientLauncherEntryPoint.h) and returns 0.
  // Logs, if a log is open; raises std::filesystem::filesystem_error.
  int launch(int argc, char** argv);
};
