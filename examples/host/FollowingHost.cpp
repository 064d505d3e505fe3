// A host in C++: requests a launch through the kit for hosts, which catches everything, and
// follows it.
// Usage: example_following_host LIBRARY CLIENT_VERSION
// Exit status: 0 the application came up, 1 it did not, 2 wrong usage.

#include <ThinClientLauncherHost.h>

#include <array>
#include <iostream>

int main(int argc, char** argv) {
  if (argc != 3) {
    std::cerr << "usage: " << argv[0] << " LIBRARY CLIENT_VERSION\n";
    return 2;
  }
  std::array<char, 1024> reason{};
  if (ThinClientLauncherHostLaunch(argv[1], argv[2], reason.data(), reason.size()) !=
      THIN_CLIENT_LAUNCHER_HOST_RETURNED) {
    std::cerr << argv[0] << ": " << reason.data() << '\n';
    return 1;
  }
  std::array<char, 4096> folder{};
  std::array<char, 64> version{};
  const auto progress = ThinClientLauncherHostAwait(
      30000, folder.data(), folder.size(), version.data(), version.size());
  if (progress < THIN_CLIENT_LAUNCHER_HOST_ENTERED) {
    std::cerr << argv[0] << ": nothing is known to have come up; see the system log\n";
    return 1;
  }
  std::cout << version.data() << " came up, in " << folder.data() << '\n';
  return 0;
}
