#include "Sandbox.h"

#include "Home.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <linux/capability.h>
#include <sched.h>
#include <stdexcept>
#include <sys/mount.h>
#include <sys/syscall.h>
#include <system_error>
#include <unistd.h>

// Made with system calls, without a helper program: ctest runs every test in a process of its own,
// so entering must be quick.

namespace fs = std::filesystem;

namespace test::Sandbox {

namespace {

const fs::path TEMPORARY_DIRECTORY = "/launcher-test";
const fs::path OLD_ROOT = "/.machine";

constexpr const char* ADVICE = R"(
These tests need a private mount namespace and did not get one. What helps:
  - an ordinary user may not create user namespaces:
      sysctl -w kernel.unprivileged_userns_clone=1             (Debian)
      sysctl -w kernel.apparmor_restrict_unprivileged_userns=0 (Ubuntu)
    or run the tests as root
  - a container forbids namespaces: start it with the capability SYS_ADMIN and without the default
    seccomp and AppArmor profiles
)";

bool entered = false;

void orThrow(long result, const std::string& call) {
  if (result != 0)
    throw std::system_error(errno, std::generic_category(), call);
}

// An ordinary user needs a user namespace too, in which the user stays the same.
void unshareAsOrdinaryUser() {
  const std::string user = std::to_string(::geteuid());
  const std::string group = std::to_string(::getegid());
  orThrow(::unshare(CLONE_NEWUSER | CLONE_NEWNS), "unshare");
  writeFile("/proc/self/setgroups", "deny");
  writeFile("/proc/self/uid_map", user + " " + user + " 1");
  writeFile("/proc/self/gid_map", group + " " + group + " 1");
}

// With the user namespace's capabilities, denied permissions would have no effect.
void dropCapabilities() {
  __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
  const __user_cap_data_struct none[2]{};
  orThrow(::syscall(SYS_capset, &header, none), "capset");
}

void setReadOnly(const fs::path& place, bool isReadOnly) {
  mount_attr change{};
  (isReadOnly ? change.attr_set : change.attr_clr) = MOUNT_ATTR_RDONLY;
  const unsigned whole = isReadOnly ? AT_RECURSIVE : 0;
  const int result = ::mount_setattr(AT_FDCWD, place.c_str(), whole, &change, sizeof change);
  if (result != 0 && errno == ENOSYS) // in an emulator, which was started where all is read-only
    return;
  orThrow(result, "mount_setattr");
}

// Shows an entry of the machine's root at its place in the new one.
void show(const fs::path& place) {
  const fs::path original = OLD_ROOT / place.relative_path();
  if (fs::is_symlink(original)) {
    fs::copy_symlink(original, place);
    return;
  }
  if (fs::is_directory(original))
    fs::create_directory(place);
  else
    writeFile(place, "");
  orThrow(
      ::mount(original.c_str(), place.c_str(), nullptr, MS_BIND | MS_REC, nullptr), place.string());
}

// A file system of its own: folders that are missing in the machine's root are not created there.
void enterEmptyRoot() {
  orThrow(::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr), "mount /");
  const fs::path root = "/tmp";
  orThrow(::mount("sandbox", root.c_str(), "tmpfs", 0, "mode=755"), "mount tmpfs");
  const fs::path oldRoot = root / OLD_ROOT.relative_path();
  fs::create_directory(oldRoot);
  orThrow(::syscall(SYS_pivot_root, root.c_str(), oldRoot.c_str()), "pivot_root");
  fs::current_path("/");
}

void fillRoot() {
  for (const fs::path place : {"/Applications", "/dev", "/dev/pts", "/launcher-test"})
    fs::create_directory(place);
  fs::permissions(TEMPORARY_DIRECTORY, fs::perms::all | fs::perms::sticky_bit);
  for (const auto& entry : fs::directory_iterator(OLD_ROOT)) {
    const fs::path place = "/" / entry.path().filename();
    if (fs::exists(fs::symlink_status(place)))
      continue;
    show(place);
    if (!fs::is_symlink(place) && place != "/proc") // its files are settings of the processes here
      setReadOnly(place, true);
  }
  for (const char* name : {"null", "zero", "full", "random", "urandom", "tty", "fd"})
    show(fs::path("/dev") / name);
  orThrow(::mount("devpts", "/dev/pts", "devpts", 0, "newinstance,ptmxmode=0666"), "mount devpts");
  fs::create_symlink("pts/ptmx", "/dev/ptmx");
  orThrow(::umount2(OLD_ROOT.c_str(), MNT_DETACH), "umount2");
  fs::remove(OLD_ROOT);
  fs::permissions("/", fs::perms(0555)); // an ordinary user owns it here
}

void makeWritable(const fs::path& folder) {
  orThrow(
      ::mount(folder.c_str(), folder.c_str(), nullptr, MS_BIND, nullptr),
      "mount " + folder.string());
  setReadOnly(folder, false);
}

} // namespace

void enter(const std::vector<fs::path>& writable) try {
  const fs::path workingDirectory = fs::current_path();
  if (::unshare(CLONE_NEWNS) != 0)
    unshareAsOrdinaryUser();
  enterEmptyRoot();
  fillRoot();
  for (const auto& folder : writable)
    makeWritable(folder);
  if (::geteuid() != 0)
    dropCapabilities();
  fs::current_path(workingDirectory);
  for (const char* name : {"TMPDIR", "HOME"})
    ::setenv(name, TEMPORARY_DIRECTORY.c_str(), 1);
  entered = true;
} catch (const std::system_error& failure) {
  throw std::runtime_error(failure.what() + std::string("\n") + ADVICE);
}

void emptyApplications() {
  if (!entered)
    throw std::logic_error("not in a sandbox: the machine's own /Applications stays as it is");
  for (const auto& entry : fs::directory_iterator("/Applications"))
    fs::remove_all(entry.path());
}

} // namespace test::Sandbox
