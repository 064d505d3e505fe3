#pragma once

// Runs test code in a forked child, for what would disturb the process of the tests: the working
// folder, the user, a call that never returns. Failed expectations in the child fail the test.

#include <sys/types.h>

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace test {

using Body = std::function<void()>;

// Returns once the body has run to its end.
void inChildProcess(const Body& body);

void inChildProcessAt(const std::filesystem::path& workingDirectory, const Body& body);

// With the folder as the root of the file system. Where the system keeps that from everyone but
// root and the tests run as another user, the test is skipped, visibly.
void inChildProcessWithRoot(const std::filesystem::path& root, const Body& body);

// Gives the folder and all below it to a user whom permissions bind, if the tests run as root, and
// runs the body as that user, with the folder as working folder.
void asUnprivilegedUser(const std::filesystem::path& folder, const Body& body);

// Takes permissions from a file or folder for the length of the scope.
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

// Runs a program to its end; returns its exit status, or minus the signal that ended it.
int runProgram(
    const std::filesystem::path& program,
    const std::vector<std::string>& arguments,
    const std::filesystem::path& workingDirectory);

// Runs the body in a child that is expected not to come back from it, and ends that child. Tells
// whether the body was entered, then kept the processor busy for a good while without returning.
bool neverReturns(const Body& body);

} // namespace test
