/* The plug-in application's executable in C. A C++ exception of the main library ends it. */

#include <ThinClientLauncherPlugin.h>

int main(int argc, char** argv) {
  ThinClientLauncherPluginRun(argc, argv);
  return 0;
}
