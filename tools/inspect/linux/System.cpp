#include "System.h"

#include <sys/utsname.h>
#include <sys/xattr.h>

namespace LauncherInspect {

System thisSystem() {
  utsname names{};
  ::uname(&names);
  const std::string machine = names.machine;
  return {{machine == "aarch64" ? "arm64" : machine}, ""};
}

ssize_t listAttributes(const char* file, char* names, std::size_t size) {
  return ::listxattr(file, names, size);
}

std::string systemLogCommand(const std::string& since) {
  return "journalctl" + (since.empty() ? "" : " -S '" + since + "'") +
         " -g 'launch app succeed|Failed to run'";
}

const char* protectionRemedy() {
  return "See with lsattr -R which files in the launcher folder are immutable (i) or append-only "
         "(a), and clear that with chattr.";
}

} // namespace LauncherInspect
