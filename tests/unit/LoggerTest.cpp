#include "Fork.h"
#include "LauncherTest.h"

#include <chrono>
#include <csignal>
#include <ctime>
#include <iomanip>
#include <sstream>
#include <sys/resource.h>
#include <sys/stat.h>
#include <thread>

namespace fs = std::filesystem;

using testing::ElementsAre;
using testing::MatchesRegex;

namespace {

const std::string STAMP = "[0-9]{4}-[0-9]{2}-[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2}\\.[0-9]{3} ";

std::string masked(std::string text, const std::string& what) {
  Logger::replaceAll(text, what);
  return text;
}

std::string stamp() {
  std::string text = "before ";
  Logger::addTime(text);
  EXPECT_EQ(text.substr(0, 7), "before ");
  return text.substr(7);
}

std::int64_t epochMilliseconds() {
  using namespace std::chrono;
  return duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
}

std::int64_t epochMilliseconds(const std::string& timeStamp) {
  std::tm local{};
  std::istringstream(timeStamp) >> std::get_time(&local, "%Y-%m-%d %H:%M:%S");
  local.tm_isdst = -1;
  return std::mktime(&local) * std::int64_t{1000} + std::stoi(timeStamp.substr(20, 3));
}

class Logging : public test::LauncherTest {
protected:
  std::string content() const { return test::readFile(logFile()); }

  // What one message adds to an empty log, behind the time stamp.
  std::string logged(const std::string& message) const {
    emptyLog();
    Logger::log(message);
    return content().substr(test::TIME_STAMP_LENGTH);
  }
};

// A log that is closed at first.
class LogFile : public Logging {
protected:
  LogFile() {
    Logger::close();
    fs::remove(logFile());
  }
};

} // namespace

// --- One line ---

TEST_F(Logging, WritesOneLine) {
  Logger::log("a message");
  EXPECT_THAT(content(), MatchesRegex(STAMP + "a message\n"));
}

TEST_F(Logging, KeepsBytes) {
  for (const char* message : {"", "one\ntwo", "\t\r \xC3\xA9 \xFF %s {} \\"})
    EXPECT_EQ(logged(message), std::string(message) + "\n");
}

TEST_F(Logging, CutsMessageAtNul) {
  EXPECT_EQ(logged(std::string("seen\0unseen", 11)), "seen");
  Logger::log("next");
  EXPECT_EQ(content().substr(test::TIME_STAMP_LENGTH + 4 + test::TIME_STAMP_LENGTH), "next\n");
}

// --- Time stamp ---

TEST_F(Logging, StampsLocalTime) {
  for (const char* zone : {"UTC", "Asia/Kolkata", "XYZ-05:30", "XYZ+08"}) {
    SCOPED_TRACE(zone);
    const test::ScopedEnvironment variable("TZ", zone);
    ::tzset();
    const auto before = epochMilliseconds();
    const std::string text = stamp();
    const auto after = epochMilliseconds();
    ASSERT_THAT(text, MatchesRegex(STAMP));
    EXPECT_LE(before, epochMilliseconds(text)) << text;
    EXPECT_GE(after, epochMilliseconds(text)) << text;
  }
}

TEST_F(Logging, PadsMilliseconds) {
  std::string text;
  do {
    const auto untilNextSecond = 1000 - epochMilliseconds() % 1000;
    std::this_thread::sleep_for(std::chrono::milliseconds(untilNextSecond));
    text = stamp();
  } while (epochMilliseconds(text) % 1000 >= 100);
  EXPECT_THAT(text, MatchesRegex(".*\\.0[0-9][0-9] "));
}

// --- Masking ---

TEST_F(Logging, MasksUserName) {
  const struct {
    std::optional<std::string> user;
    const char* message;
    const char* expected;
  } rows[] = {
      {"alice", "/Users/alice/Library", "/Users/*****/Library\n"},
      {"alice", "Alice", "Alice\n"},
      {"log", "log login catalog", "*** ***in cata***\n"},
      {"d\n", "end", "en**"},
      {std::nullopt, "alice", "alice\n"},
  };
  for (const auto& row : rows) {
    const test::ScopedEnvironment variable("USER", row.user);
    EXPECT_EQ(logged(row.message), row.expected);
  }
}

TEST_F(Logging, MasksTimeStamp) {
  const std::string century = stamp().substr(0, 2);
  const test::ScopedEnvironment digits("USER", century);
  Logger::log("");
  EXPECT_EQ(content().substr(0, 2), "**");
}

TEST_F(Logging, ReadsUserForEveryLine) {
  Logger::log("alice bob");
  for (const char* name : {"alice", "bob"}) {
    const test::ScopedEnvironment variable("USER", name);
    Logger::log("alice bob");
  }
  EXPECT_THAT(messages(), ElementsAre("alice bob", "***** bob", "alice ***"));
}

TEST(Masking, ReplacesByStars) {
  const struct {
    const char* name;
    std::string text;
    const char* what;
    std::string expected;
  } rows[] = {
      {"no occurrence", "abc", "x", "abc"},
      {"whole text", "abc", "abc", "***"},
      {"text shorter than the name", "ab", "abc", "ab"},
      {"empty text", "", "a", ""},
      {"at both ends", "aXa", "a", "*X*"},
      {"adjacent", "ababab", "ab", "******"},
      {"overlapping ones count once", "aaaaa", "aa", "****a"},
      {"stars are not searched again", "X*aa", "*a", "X**a"},
      {"stars and letters", "**a", "*a", "***"},
      {"NUL is a character", std::string("\0a\0a", 4), "a", std::string("\0*\0*", 4)},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(masked(row.text, row.what), row.expected);
  }
}

TEST(Masking, OfEmptyNameLoops) {
  EXPECT_TRUE(test::neverReturns([] { masked("text", ""); }));
  EXPECT_TRUE(test::neverReturns([] { masked("", ""); }));
}

TEST_F(Logging, LoopsForEmptyUser) {
  const test::ScopedEnvironment empty("USER", "");
  EXPECT_TRUE(test::neverReturns([] { Logger::log("message"); }));
  EXPECT_EQ(content(), "");
}

TEST_F(LogFile, IgnoresEmptyUserWhenClosed) {
  const test::ScopedEnvironment empty("USER", "");
  Logger::log("message");
  EXPECT_FALSE(fs::exists(logFile()));
}

// --- Opening and closing ---

TEST_F(LogFile, DropsMessagesWhenClosed) {
  test::writeFile(logFile(), "old content\n");
  Logger::log("before open");
  Logger::open(logFile(), true);
  EXPECT_EQ(content(), "");
  Logger::log("while open");
  Logger::close();
  Logger::close();
  Logger::log("after close");
  Logger::open(logFile(), false);
  Logger::log("open again");
  EXPECT_THAT(messages(), ElementsAre("while open", "open again"));
}

TEST_F(LogFile, CreatesFolders) {
  const auto file = home.path() / "one" / "two" / "log.txt";
  Logger::validateAndCreatePath(file);
  EXPECT_TRUE(fs::is_empty(file.parent_path()));
  fs::remove_all(home.path() / "one");
  Logger::open(file, false);
  Logger::log("message");
  EXPECT_THAT(test::readMessages(file), ElementsAre("message"));
}

TEST_F(LogFile, OpensBareName) {
  test::inChildProcessAt(home.path(), [&] {
    fs::remove_all(home.path() / "Library");
    Logger::open("bare.txt", true);
    Logger::log("message");
    EXPECT_THAT(test::readMessages(home.path() / "bare.txt"), ElementsAre("message"));
    EXPECT_EQ(std::distance(fs::directory_iterator(home.path()), {}), 1);
  });
}

TEST_F(LogFile, StaysClosedBelowFile) {
  test::writeFile(home.path() / "file", "content");
  Logger::open(home.path() / "file" / "log.txt", true);
  Logger::log("dropped");
  EXPECT_EQ(test::readFile(home.path() / "file"), "content");
}

TEST_F(LogFile, DropsLinesOpenedTwice) {
  const auto second = home.path() / "second.txt";
  Logger::open(logFile(), true);
  Logger::log("kept");
  Logger::open(second, true);
  Logger::log("dropped");
  EXPECT_THAT(messages(), ElementsAre("kept"));
  EXPECT_FALSE(fs::exists(second));
  Logger::close();
  Logger::open(second, true);
  Logger::log("works again");
  EXPECT_THAT(messages(), ElementsAre("kept"));
  EXPECT_THAT(test::readMessages(second), ElementsAre("works again"));
}

// A limit on the size of files makes one write fail; it is lifted before the next.
TEST_F(LogFile, RefusesLinesAfterFailure) {
  Logger::open(logFile(), true);
  Logger::log("first");
  test::inChildProcess([&] {
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit limit{};
    ::getrlimit(RLIMIT_FSIZE, &limit);
    const rlimit reached{fs::file_size(logFile()), limit.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &reached), 0);
    Logger::log("too much");
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &limit), 0);
    Logger::log("refused");
    EXPECT_THAT(messages(), ElementsAre("first"));
    Logger::close();
    fs::remove(logFile());
    Logger::open(logFile(), true);
    Logger::log("works again");
    EXPECT_THAT(messages(), ElementsAre("works again"));
  });
}

TEST_F(LogFile, IsNoFolderOrPipe) {
  const auto expectClosed = [this] {
    Logger::open(logFile(), true);
    Logger::log("dropped");
    Logger::reopen(logFile());
    Logger::log("dropped");
    EXPECT_TRUE(fs::remove(logFile())); // an empty folder, if one
  };
  fs::create_directory(logFile());
  expectClosed();
  ASSERT_EQ(::mkfifo(logFile().c_str(), 0666), 0);
  expectClosed();
  Logger::open(logFile(), true);
  Logger::log("works again");
  EXPECT_THAT(messages(), ElementsAre("works again"));
}

TEST_F(LogFile, ReopensForAppending) {
  const auto second = home.path() / "second.txt";
  test::writeFile(second, "old\n");
  Logger::open(logFile(), true);
  Logger::log("first file");
  Logger::reopen(second);
  Logger::log("second file");
  EXPECT_THAT(messages(), ElementsAre("first file"));
  EXPECT_EQ(test::readFile(second).substr(0, 4), "old\n");
  EXPECT_EQ(test::readFile(second).substr(4 + test::TIME_STAMP_LENGTH), "second file\n");
}

TEST_F(LogFile, ReopensFromClosed) {
  Logger::reopen(logFile());
  Logger::log("message");
  EXPECT_THAT(messages(), ElementsAre("message"));
}

TEST_F(LogFile, ReopensWithoutFolder) {
  Logger::reopen(home.path() / "missing" / "log.txt");
  Logger::log("dropped");
  EXPECT_FALSE(fs::exists(home.path() / "missing"));
}

// --- Denied permission ---

TEST_F(LogFile, RaisesForLockedFolder) {
  test::asUnprivilegedUser(home.path(), [&] {
    const fs::path locked = home.path() / "locked";
    fs::create_directories(locked);
    for (const auto permissions :
         {fs::perms::owner_read | fs::perms::owner_exec, fs::perms::none}) {
      const test::ScopedPermissions scoped(locked, permissions);
      EXPECT_THROW(Logger::open(locked / "folder" / "log.txt", true), fs::filesystem_error);
    }
    Logger::log("dropped");
    EXPECT_TRUE(fs::is_empty(locked));
  });
}

TEST_F(LogFile, StaysClosedForLockedFile) {
  test::asUnprivilegedUser(home.path(), [&] {
    test::writeFile(logFile(), "old content\n");
    const test::ScopedPermissions scoped(logFile(), fs::perms::owner_read);
    Logger::open(logFile(), true);
    Logger::log("dropped");
    EXPECT_EQ(content(), "old content\n");
  });
}
