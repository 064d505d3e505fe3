// The plug-in application's executable: hands its arguments to the launcher library, which in load
// mode is the copy in the bundle's own Frameworks folder.

#include "LauncherHelper.h"

int main(int argc, char** argv) {
  LauncherHelper::loadLauncherDll(argc, argv);
  return 0;
}
