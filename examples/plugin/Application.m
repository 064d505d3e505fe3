// The plug-in application's executable in Objective-C, with the kit as a module.

@import ThinClientLauncherPlugin;

int main(int argc, char** argv) {
  ThinClientLauncherPluginRun(argc, argv);
  return 0;
}
