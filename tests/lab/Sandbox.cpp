#include "Sandbox.h"

#include "Process.h"

#include <cstdio>
#include <filesystem>
#include <linux/magic.h>
#include <set>
#include <stdexcept>
#include <sys/vfs.h>

namespace fs = std::filesystem;

namespace test::Sandbox {

namespace {

constexpr const char* TEMPORARY_FOLDER = "/launcher-test";

constexpr const char* ADVICE = R"(
These tests need a private mount namespace and did not get one. What helps:
  - bubblewrap is not installed: scripts/install-packages.sh test
  - an ordinary user may not create user namespaces:
      sysctl -w kernel.unprivileged_userns_clone=1             (Debian)
      sysctl -w kernel.apparmor_restrict_unprivileged_userns=0 (Ubuntu)
    or run the tests as root
  - a container forbids namespaces: start it with the capability SYS_ADMIN and without the default
    seccomp and AppArmor profiles
)";

bool isMemoryFileSystem(const char* path) {
  struct statfs status {};
  return ::statfs(path, &status) == 0 && status.f_type == TMPFS_MAGIC;
}

// The new root is a file system of its own that holds the entries of the real one: a mount point
// that is missing there is never created on the real root.
std::vector<std::string> wrapped(const std::vector<std::string>& program) {
  std::vector<std::string> words{"bwrap", "--die-with-parent", "--tmpfs", "/"};
  const std::set<fs::path> replaced{"/Applications", "/dev", TEMPORARY_FOLDER};
  for (const auto& entry : fs::directory_iterator("/")) {
    const std::string path = entry.path().string();
    if (replaced.count(entry.path()) != 0)
      continue;
    if (entry.is_symlink()) // a mount takes longer
      words.insert(words.end(), {"--symlink", fs::read_symlink(path).string(), path});
    else
      words.insert(words.end(), {"--bind-try", path, path});
  }
  words.insert(words.end(), {"--dev", "/dev", "--tmpfs", "/Applications"});
  words.insert(words.end(), {"--tmpfs", TEMPORARY_FOLDER, "--setenv", "TMPDIR", TEMPORARY_FOLDER});
  words.insert(words.end(), program.begin(), program.end());
  return words;
}

} // namespace

bool isInside() {
  return isMemoryFileSystem(TEMPORARY_FOLDER) && isMemoryFileSystem("/Applications");
}

int runInside(char** argv) {
  std::vector<std::string> program{fs::read_symlink("/proc/self/exe").string()};
  for (char** argument = argv + 1; *argument != nullptr; ++argument)
    program.emplace_back(*argument);
  try {
    const int status = runAttached({wrapped(program)});
    if (status == 0 || runAttached({wrapped({"true"})}) == 0)
      return status;
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "%s\n", failure.what());
  }
  std::fputs(ADVICE, stderr);
  return 1;
}

ScopedApplications::ScopedApplications() {
  if (!isInside())
    throw std::logic_error("not in a sandbox: the machine's own /Applications stays as it is");
}

ScopedApplications::~ScopedApplications() {
  for (const auto& entry : fs::directory_iterator("/Applications"))
    fs::remove_all(entry.path());
}

} // namespace test::Sandbox
