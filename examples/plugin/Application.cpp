// The plug-in application's executable: passes its arguments to the launcher library. In load mode
// that is the copy in the bundle's own Frameworks folder.

#include "LauncherHelper.h"

int main(int argc, char** argv) {
  LauncherHelper::loadLauncherDll(argc, argv);
  return 0;
}
