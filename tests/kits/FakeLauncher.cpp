// A fake of the launcher library, whose launch is what the test sets.

#define EXPORTED extern "C" __attribute__((visibility("default")))

EXPORTED void (*fakeLaunch)(int argc, char** argv);
void (*fakeLaunch)(int argc, char** argv) = nullptr;

EXPORTED int ThinClientLauncherEntryPoint(int argc, char** argv) {
  fakeLaunch(argc, argv);
  return 0;
}
