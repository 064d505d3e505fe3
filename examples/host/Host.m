// A host in Objective-C, for a Mac: requests a launch through the kit for hosts, as a module.
// Usage: example_objc_host LIBRARY CLIENT_VERSION
// Exit status: 0 the launch ran to its end, 1 it did not, 2 wrong usage.

#import <Foundation/Foundation.h>
@import ThinClientLauncherHost;

int main(int argc, char** argv) {
  @autoreleasepool {
    if (argc != 3) {
      NSLog(@"usage: %s LIBRARY CLIENT_VERSION", argv[0]);
      return 2;
    }
    char reason[1024];
    const enum ThinClientLauncherHostStatus status =
        ThinClientLauncherHostLaunch(argv[1], argv[2], reason, sizeof reason);
    if (status == THIN_CLIENT_LAUNCHER_HOST_RETURNED)
      return 0;
    NSLog(@"%s: no launch (status %d): %s", argv[0], status, reason);
    return 1;
  }
}
