#include "System.h"

#include <array>
#include <sys/sysctl.h>
#include <unistd.h>

// As sys/xattr.h has it, which the toolchain for other systems lacks.
extern "C" ssize_t listxattr(const char* file, char* names, std::size_t size, int options);

namespace LauncherInspect {

// The answer is the same in a process that Rosetta translates.
static bool isAppleProcessor() {
  int answer = 0;
  std::size_t size = sizeof answer;
  return ::sysctlbyname("hw.optional.arm64", &answer, &size, nullptr, 0) == 0 && answer != 0;
}

static bool hasRosetta() {
  return ::access("/Library/Apple/usr/libexec/oah/libRosettaRuntime", F_OK) == 0;
}

System thisSystem() {
  System system;
  if (isAppleProcessor())
    system.architectures.emplace_back("arm64");
  if (!isAppleProcessor() || hasRosetta())
    system.architectures.emplace_back("x86_64");
  std::array<char, 32> version{};
  std::size_t size = version.size() - 1;
  if (::sysctlbyname("kern.osproductversion", version.data(), &size, nullptr, 0) == 0)
    system.version = version.data();
  return system;
}

ssize_t listAttributes(const char* file, char* names, std::size_t size) {
  return ::listxattr(file, names, size, 0);
}

std::string systemLogCommand(const std::string& since) {
  return "log show" + (since.empty() ? "" : " --start '" + since + "'") +
         " --predicate 'eventMessage BEGINSWITH \"launch app succeed\" OR "
         "eventMessage BEGINSWITH \"Failed to run the app\"'";
}

const char* protectionRemedy() {
  return "Allow the host under Privacy & Security, App Management, in the system settings, or let "
         "the copies' property lists name its Team ID in NSUpdateSecurityPolicy. See with ls -lO "
         "which files are locked (uchg), and clear that with chflags.";
}

} // namespace LauncherInspect
