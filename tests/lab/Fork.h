#pragma once

#include <filesystem>
#include <functional>

// Runs test code in a forked child, where it may change the working folder or the user, or never
// return. A failed expectation in the child fails the test.

namespace test {

using Body = std::function<void()>;

// How a child ends whose body has run without a failure: neither with 0 nor with 1, so that a body
// which exits does not pass by chance.
constexpr int BODY_RAN = 42;

// Returns once the body has run to its end.
void inChildProcess(const Body& body);

void inChildProcessAt(const std::filesystem::path& workingDirectory, const Body& body);

// If the tests run as root, gives the folder and all below it to a user whom permissions bind.
// Runs the body as that user, with the folder as working folder.
void asUnprivilegedUser(const std::filesystem::path& folder, const Body& body);

// Changes the permissions of a file or folder for the length of the scope.
class ScopedPermissions {
public:
  ScopedPermissions(std::filesystem::path file, std::filesystem::perms permissions);
  ~ScopedPermissions();
  ScopedPermissions(const ScopedPermissions&) = delete;
  ScopedPermissions& operator=(const ScopedPermissions&) = delete;

private:
  std::filesystem::path file;
  std::filesystem::perms before;
};

// Runs the body in a child that is ended after 30 ms of processor time, many times more than any
// call takes. Whether the body was still running then.
bool neverReturns(const Body& body);

} // namespace test
