// A host in Objective-C++, for a Mac: is linked with the launcher library and catches its
// exceptions itself.
// Usage: example_objcxx_host CLIENT_VERSION
// Exit status: 0 the launch ran to its end, 1 it did not, 2 wrong usage.

#include <ThinClientLauncherEntryPoint.h>

#import <Foundation/Foundation.h>
#include <exception>

int main(int argc, char** argv) {
  @autoreleasepool {
    if (argc != 2) {
      NSLog(@"usage: %s CLIENT_VERSION", argv[0]);
      return 2;
    }
    char mode[] = "launchermode";
    char* arguments[] = {argv[0], mode, argv[1], nullptr};
    try {
      return ThinClientLauncherEntryPoint(3, arguments);
    } catch (const std::exception& failure) {
      NSLog(@"The launch failed: %s", failure.what());
      return 1;
    }
  }
}
