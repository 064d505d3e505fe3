// The C library and the system as code for macOS knows them.

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <system_error>

// --- Errors ---

namespace {

// A condition that the code compares with has a Mac's number; codes have Linux's. These differ.
int toLinux(int condition) {
  constexpr int MAC_ELOOP = 62, MAC_ENAMETOOLONG = 63;
  if (condition == MAC_ELOOP)
    return ELOOP;
  return condition == MAC_ENAMETOOLONG ? ENAMETOOLONG : condition;
}

class MacCategory : public std::error_category {
  const char* name() const noexcept override { return std::generic_category().name(); }

  std::string message(int number) const override { return std::generic_category().message(number); }

  bool equivalent(const std::error_code& code, int condition) const noexcept override {
    return std::generic_category().equivalent(code, toLinux(condition));
  }
};

} // namespace

extern "C" {

const std::error_category* mac_generic_category() {
  static const MacCategory category;
  return &category;
}

int* __error() {
  return &errno;
}

// --- The system ---

struct MacStat {
  std::int32_t device;
  std::uint16_t mode, links;
  std::uint64_t node;
  std::uint32_t user, group, special, gap;
  std::int64_t accessed[2], modified[2], rest[10];
};
static_assert(sizeof(MacStat) == 144);

int mac_stat(const char* path, MacStat* result) {
  struct stat own {};
  if (::stat(path, &own) != 0)
    return -1;
  *result = {};
  result->device = static_cast<std::int32_t>(own.st_dev);
  result->node = own.st_ino;
  result->mode = static_cast<std::uint16_t>(own.st_mode);
  result->user = own.st_uid;
  result->modified[0] = own.st_mtim.tv_sec;
  return 0;
}

struct MacStatvfs {
  unsigned long sizes[2];
  std::uint32_t blocks, freeBlocks, availableBlocks, files[3];
  unsigned long rest[3];
};

int mac_statvfs(const char* path, MacStatvfs* result) {
  struct statvfs own {};
  if (::statvfs(path, &own) != 0)
    return -1;
  *result = {};
  result->availableBlocks = own.f_bavail != 0 ? 1 : 0; // a large disk has more than fit
  return 0;
}

// The border gives the unnamed argument a name.
int mac_terminal_size(int descriptor, unsigned long request, winsize* size) {
  constexpr unsigned long MAC_TIOCGWINSZ = 0x40087468;
  if (request != MAC_TIOCGWINSZ)
    std::abort();
  return ::ioctl(descriptor, TIOCGWINSZ, size);
}

// A variable of the environment, with underscores, sets an answer; as a number, if one is expected.
int sysctlbyname(const char* name, void* result, std::size_t* size, void*, std::size_t) {
  std::string variable = name;
  std::replace(variable.begin(), variable.end(), '.', '_');
  const char* const answer = std::getenv(variable.c_str());
  if (answer == nullptr) {
    errno = ENOENT;
    return -1;
  }
  if (*size == sizeof(int))
    *static_cast<int*>(result) = std::atoi(answer);
  else
    std::strncpy(static_cast<char*>(result), answer, *size);
  return 0;
}
}
