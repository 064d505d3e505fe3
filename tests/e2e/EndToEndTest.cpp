#include "EndToEndTest.h"

#include "Program.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <sys/wait.h>

namespace fs = std::filesystem;

namespace test {

// The options of a sanitizer, with what it finds written to files in this folder.
static std::string sanitizerOptions(const char* variable, const fs::path& findings) {
  const char* const given = std::getenv(variable);
  return (given != nullptr ? std::string(given) + ":" : "") +
         "log_path=" + (findings / "finding").string();
}

EndToEnd::EndToEnd()
    : addressFindings("ASAN_OPTIONS", sanitizerOptions("ASAN_OPTIONS", findings())),
      undefinedFindings("UBSAN_OPTIONS", sanitizerOptions("UBSAN_OPTIONS", findings())),
      folderBefore(fs::current_path()) {
  const fs::path work = home.path() / "work";
  for (const auto& folder : {work, home.path() / "reports", findings()})
    fs::create_directories(folder);
  fs::current_path(work);
}

EndToEnd::~EndToEnd() {
  fs::current_path(folderBefore);
  for (const auto& entry : fs::directory_iterator("/Applications"))
    fs::remove_all(entry.path());
}

// Reaps what ended; whether nothing is left.
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

fs::path EndToEnd::copyFolder(const std::string& name) const {
  return home.launcherFolder() / name;
}

fs::path EndToEnd::makeCopy(const std::string& name, const std::string& version) {
  return makeCopyIn(copyFolder(name), version);
}

fs::path EndToEnd::makeCopyIn(const fs::path& dir, const std::string& version) {
  makeBundle(dir, version);
  installExecutable(dir, PROBE_PROGRAM);
  return dir;
}

HostProcess& EndToEnd::host() {
  if (!runningHost) {
    runningHost.emplace(output());
    EXPECT_EQ(runningHost->ask({"load", LAUNCHER_LIBRARY}), "loaded");
  }
  return *runningHost;
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

int EndToEnd::run(const fs::path& program, const std::vector<std::string>& arguments) {
  return waitForProgram(startProgram(program, arguments, output()));
}

std::string EndToEnd::outcome() {
  const auto messages = systemLog->awaitMessages(1);
  EXPECT_TRUE(!runningHost || eventually([&] { return runningHost->threads() == 1; }));
  return messages.size() == 1 ? messages[0] : std::to_string(messages.size()) + " messages";
}

std::vector<ProcessReport> EndToEnd::reports() {
  if (runningHost) {
    EXPECT_EQ(endHost(), 0);
  }
  EXPECT_TRUE(eventually(allProcessesEnded)) << "a process is left";
  std::vector<ProcessReport> all;
  for (const auto& entry : fs::directory_iterator(home.path() / "reports"))
    all.push_back(fromText(readFile(entry.path())));
  return all;
}

std::vector<std::string> EndToEnd::logMessages(const std::string& file) const {
  constexpr std::size_t STAMP_LENGTH = 24;
  std::vector<std::string> messages;
  for (const auto& line : readLines(home.logFolder() / file))
    messages.push_back(line.substr(std::min(STAMP_LENGTH, line.size())));
  return messages;
}

std::vector<std::string> EndToEnd::launchLog() const {
  return logMessages("vdi-launch-launchmode-log.txt");
}

std::vector<std::string> EndToEnd::loadLog() const {
  return logMessages("vdi-launch-loadmode-log.txt");
}

fs::path executableOf(const fs::path& dir) {
  return dir / "OrlixVDIPlugin.app" / "Contents" / "MacOS" / "OrlixVDIPlugin";
}

void installExecutable(const fs::path& dir, const fs::path& program) {
  fs::create_directories(executableOf(dir).parent_path());
  fs::copy_file(program, executableOf(dir), fs::copy_options::overwrite_existing);
}

} // namespace test
