/* A host in C: requests a launch through the kit for hosts, and tells how far it has come.
   Usage: example_host LIBRARY CLIENT_VERSION
   Exit status: 0 the launch ran to its end, 1 it did not, 2 wrong usage. */

#include <ThinClientLauncherHost.h>

#include <stdio.h>

static const char* const REACHED[] = {
    "unknown",
    "no start requested",
    "no copy to start",
    "start requested",
    "entered load mode",
    "started safely"};

int main(int argc, char** argv) {
  if (argc != 3) {
    fprintf(stderr, "usage: %s LIBRARY CLIENT_VERSION\n", argv[0]);
    return 2;
  }
  char reason[1024];
  const enum ThinClientLauncherHostStatus status =
      ThinClientLauncherHostLaunch(argv[1], argv[2], reason, sizeof reason);
  if (status != THIN_CLIENT_LAUNCHER_HOST_RETURNED) {
    fprintf(stderr, "%s: no launch (status %d): %s\n", argv[0], status, reason);
    return 1;
  }
  char folder[4096], version[64];
  const enum ThinClientLauncherHostProgress progress =
      ThinClientLauncherHostAwait(5000, folder, sizeof folder, version, sizeof version);
  const int isKnown = progress <= THIN_CLIENT_LAUNCHER_HOST_STARTED_SAFELY; // a later kit has more
  printf("%s", isKnown ? REACHED[progress] : "further than this host knows");
  if (progress >= THIN_CLIENT_LAUNCHER_HOST_REQUESTED)
    printf(": %s in %s", version, folder);
  printf("\n");
  return 0;
}
