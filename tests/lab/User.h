#pragma once

// A user whom permissions bind: on Linux, "nobody".

#include <grp.h>
#include <unistd.h>

namespace test {

constexpr uid_t NOBODY = 65534;

// Makes this process nobody's, if it is root's. Returns whether that worked.
inline bool becomeUnprivileged() {
  return ::geteuid() != 0 ||
         (::setgroups(0, nullptr) == 0 && ::setgid(NOBODY) == 0 && ::setuid(NOBODY) == 0);
}

} // namespace test
