// A host in C++: is linked with the launcher library and catches its exceptions itself. A host that
// may lack the library loads it with dlopen instead.
// Usage: example_catching_host CLIENT_VERSION
// Exit status: 0 the launch ran to its end, 1 it did not, 2 wrong usage.

#include <ThinClientLauncherEntryPoint.h>

#include <exception>
#include <filesystem>
#include <iostream>

int main(int argc, char** argv) try {
  if (argc != 2) {
    std::cerr << "usage: " << argv[0] << " CLIENT_VERSION\n";
    return 2;
  }
  char mode[] = "launchermode";
  char* arguments[] = {argv[0], mode, argv[1], nullptr};
  return ThinClientLauncherEntryPoint(3, arguments);
} catch (const std::filesystem::filesystem_error& failure) {
  std::cerr << "A folder cannot be examined, listed or created: " << failure.what() << '\n';
  return 1;
} catch (const std::exception& failure) {
  std::cerr << "The launch failed: " << failure.what() << '\n';
  return 1;
}
