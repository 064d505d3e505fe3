// A plug-in application: starts the launcher library with its own arguments.

#include "LauncherHelper.h"

int main(int argc, char** argv) {
  LauncherHelper::loadLauncherDll(argc, argv);
}
