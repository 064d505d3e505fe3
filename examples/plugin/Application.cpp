// The plug-in application's executable: passes its arguments to the launcher library. In load mode
// that is the copy in the bundle's own Frameworks folder, which loads the main library.

#include <ThinClientLauncherPlugin.h>

int main(int argc, char** argv) {
  ThinClientLauncherPluginRun(argc, argv);
  return 0;
}
