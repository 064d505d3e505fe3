#include "EndToEndTest.h"

#include <cerrno>
#include <cstdlib>
#include <sys/prctl.h>
#include <sys/wait.h>

namespace fs = std::filesystem;

namespace test {

// The options of a sanitizer. It writes its reports to files in this folder.
static std::string sanitizerOptions(const char* variable, const fs::path& findings) {
  const char* const given = std::getenv(variable);
  return (given != nullptr ? std::string(given) + ":" : "") +
         "log_path=" + (findings / "finding").string();
}

std::string failure(const fs::path& executable, const std::string& reason) {
  return "Failed to run the app: " + executable.string() + ": " + reason;
}

HostState part(const HostState& state, const std::string& prefix) {
  HostState found;
  for (const auto& [name, value] : state) {
    if (name.compare(0, prefix.size(), prefix) == 0)
      found.emplace(name, value);
  }
  return found;
}

EndToEnd::EndToEnd()
    : addressFindings("ASAN_OPTIONS", sanitizerOptions("ASAN_OPTIONS", findings())),
      undefinedFindings("UBSAN_OPTIONS", sanitizerOptions("UBSAN_OPTIONS", findings())),
      folderBefore(fs::current_path()) {
  // The started applications have no parent: they become children of this process, which can wait
  // for them.
  ::prctl(PR_SET_CHILD_SUBREAPER, 1);
  const fs::path work = home.path() / "work";
  for (const auto& folder : {work, home.path() / "reports", findings()})
    fs::create_directories(folder);
  fs::current_path(work);
}

EndToEnd::~EndToEnd() {
  fs::current_path(folderBefore);
}

// Reaps the children that have ended. Whether none is left.
static bool allProcessesEnded() {
  while (::waitpid(-1, nullptr, WNOHANG) > 0) {
  }
  return ::waitpid(-1, nullptr, WNOHANG) < 0 && errno == ECHILD;
}

void EndToEnd::TearDown() {
  runningHost.reset();
  EXPECT_TRUE(eventually(allProcessesEnded)) << "a process is left";
  EXPECT_EQ(readFile(output()), "") << "something was printed";
  for (const auto& finding : fs::directory_iterator(findings()))
    ADD_FAILURE() << readFile(finding.path());
}

Copy EndToEnd::makeCopy(const fs::path& dir, const std::string& version) const {
  return Copy(dir, version).executable(PROBE_PROGRAM);
}

void EndToEnd::shareHome() const {
  fs::permissions(home.path(), fs::perms(0777));
  for (const auto& entry : fs::recursive_directory_iterator(home.path()))
    fs::permissions(entry.path(), fs::perms(0777));
}

HostProcess& EndToEnd::host() {
  if (!runningHost) {
    runningHost.emplace(HOST_PROGRAM, output());
    EXPECT_EQ(runningHost->ask({"load", LAUNCHER_LIBRARY}), "done");
  }
  return *runningHost;
}

void EndToEnd::tell(const std::vector<std::string>& words) {
  EXPECT_EQ(host().ask(words), "done") << words.at(0);
}

std::string EndToEnd::launch(const std::vector<std::string>& arguments) {
  std::vector<std::string> words{"launch"};
  words.insert(words.end(), arguments.begin(), arguments.end());
  return host().ask(words);
}

int EndToEnd::endHost() {
  const int status = host().end();
  runningHost.reset();
  return status;
}

std::string EndToEnd::outcome() {
  const auto messages = systemLog->awaitMessages(1);
  EXPECT_TRUE(!runningHost || eventually([&] { return runningHost->threads() == 1; }));
  return messages.size() == 1 ? messages[0] : std::to_string(messages.size()) + " messages";
}

std::vector<HostState> EndToEnd::reports() {
  if (runningHost) {
    EXPECT_EQ(endHost(), 0);
  }
  EXPECT_TRUE(eventually(allProcessesEnded)) << "a process is left";
  std::vector<HostState> all;
  for (const auto& entry : fs::directory_iterator(home.path() / "reports"))
    all.push_back(fromText(readFile(entry.path())));
  return all;
}

HostState EndToEnd::report() {
  const auto all = reports();
  EXPECT_EQ(all.size(), 1U);
  return all.size() == 1 ? all[0] : HostState();
}

} // namespace test
