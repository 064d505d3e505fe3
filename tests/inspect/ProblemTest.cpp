// What is wrong in a home, and what to do about it.

#include "Fork.h"
#include "Home.h"
#include "PropertyLists.h"
#include "Report.h"

#include <gmock/gmock.h>

#include <sys/stat.h>

namespace fs = std::filesystem;

using namespace LauncherInspect;
using test::ScopedPermissions;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::StartsWith;

namespace {

const auto CLOSED = fs::perms::none;
constexpr const char* CLIENT = "45.12"; // for which a copy without a version is incompatible

class Problem : public ::testing::Test {
protected:
  static Report report(const std::string& clientVersion = "") {
    return makeReport(findFacts(clientVersion), "");
  }

  Report reportAt(const fs::path& workingDirectory) const {
    Facts facts;
    const fs::path before = fs::current_path();
    fs::current_path(workingDirectory);
    facts = findFacts("");
    fs::current_path(before);
    return makeReport(facts, "");
  }

  // "CODE TEXT -> REMEDY"
  static std::string shown(const Report& message) {
    return message["code"].get<std::string>() + " " + message["text"].get<std::string>() + " -> " +
           message.value("remedy", "");
  }

  static std::vector<std::string> shownAll(const Report& messages) {
    std::vector<std::string> all;
    for (const auto& message : messages)
      all.push_back(shown(message));
    return all;
  }

  // On the copy in the folder of this name.
  static std::string verdict(const Report& report, const std::string& name) {
    for (const auto& candidate : report["candidates"]) {
      if (fs::path(candidate["directory"].get<std::string>()).filename() == name)
        return shown(candidate["verdict"]);
    }
    return "not listed";
  }

  // A copy that has all it needs.
  test::Copy completeCopy(const std::string& name) const {
    test::Copy copy = home.copy(name);
    test::writeFile(test::executableIn(copy), "");
    fs::permissions(test::executableIn(copy), fs::perms(0755));
    for (const char* library : {"libnexal_vdi_main.dylib", "libThinClientLauncher.dylib"})
      test::writeFile(frameworks(copy) / library, "");
    return copy;
  }

  static fs::path frameworks(const fs::path& copy) {
    return test::bundleIn(copy) / "Contents/Frameworks";
  }

  // As a user whom permissions bind.
  void asUser(const test::Body& body) const { test::asUnprivilegedUser(home.path(), body); }

  const test::ScopedHome home;
  const std::string folder = "~/Library/Application Support/VantuOrlixVDILauncher";
};

} // namespace

// --- Versions ---

TEST_F(Problem, VersionCauses) {
  home.copy("good");
  const std::pair<std::string, const char*> rows[] = {
      {"", "Info.plist is empty -> Check that the disk has space"},
      {"text", "Info.plist is no well-formed property list -> Install this copy again"},
      {std::string(256 * 1024 + 1, ' '), "Info.plist is larger than 256 KiB -> Check what"},
      {test::xmlList("<array/>"), "Info.plist holds no dictionary -> Install this copy again"},
      {test::xmlWithEntries(""), "Info.plist has no CFBundleShortVersionString -> Install a build"},
      {test::xmlWithEntries(test::xmlEntry("<true/>")),
       "CFBundleShortVersionString in Info.plist is no text ->"},
      {test::xmlWithEntries(test::xmlEntry("<string/>")),
       "CFBundleShortVersionString in Info.plist is empty ->"}};
  test::Copy copy = home.copy("a");
  for (const auto& [list, cause] : rows) {
    copy.list(list);
    EXPECT_THAT(
        verdict(report(CLIENT), "a"),
        StartsWith(std::string("no-readable-version no readable version: ") + cause));
  }
}

TEST_F(Problem, VersionWithoutFile) {
  home.copy("good");
  const fs::path list = test::propertyListIn(home.copy("a"));
  fs::remove(list);
  EXPECT_THAT(verdict(report(CLIENT), "a"), HasSubstr("the bundle has no Contents/Info.plist"));
  ::mkfifo(list.c_str(), 0600);
  EXPECT_THAT(
      verdict(report(CLIENT), "a"),
      EndsWith(
          "Info.plist is no regular file -> Remove " + folder +
          "/a/OrlixVDIPlugin.app/Contents/Info.plist, and install this copy again."));
}

TEST_F(Problem, VersionUnreadable) {
  home.copy("good");
  const fs::path list = test::propertyListIn(home.copy("a"));
  asUser([&] {
    const ScopedPermissions closed(list, CLOSED);
    EXPECT_THAT(
        verdict(report(CLIENT), "a"),
        AllOf(HasSubstr("Info.plist cannot be read by this user -> Make "), HasSubstr("/a/")));
  });
}

TEST_F(Problem, ChosenWithoutVersion) {
  completeCopy("a").list("");
  EXPECT_THAT(
      shownAll(report()["warnings"]),
      ElementsAre(StartsWith("no-readable-version The chosen copy has no readable version: Info")));
}

// --- Folders that cannot be examined ---

TEST_F(Problem, ListsTheOthers) {
  home.copy("good");
  home.copy("corrupt").launches("3");
  fs::create_symlink("nothing", home.launcherDirectory() / "dangling");
  fs::create_symlink("loop", home.launcherDirectory() / "loop");
  const Report all = report(CLIENT);
  EXPECT_EQ(
      shown(all["outcome"]),
      "failed Nothing would start: the launcher would stop at an error. " + folder +
          "/loop: Too many levels of symbolic links -> Remove this link: it leads back to itself.");
  EXPECT_THAT(verdict(all, "good"), StartsWith("viable viable, but the launcher would stop"));
  EXPECT_THAT(
      verdict(all, "corrupt"),
      EndsWith("To let it be chosen again, remove " + folder + "/corrupt/launchCount.dat"));
  EXPECT_THAT(
      verdict(all, "loop"),
      AllOf(StartsWith("not-examined cannot be examined"), EndsWith("it leads back to itself.")));
  EXPECT_EQ(all["candidates"].size(), 5u);
  EXPECT_TRUE(all["candidates"][4]["inLauncherDirectory"]);
}

TEST_F(Problem, NamesTheCause) {
  const test::Copy copy = home.copy("a");
  asUser([&] {
    {
      const ScopedPermissions closed(copy.dir(), CLOSED);
      EXPECT_THAT(
          shown(report()["outcome"]),
          EndsWith(
              " " + folder +
              "/a: Permission denied -> Make it accessible to this user, or "
              "inspect as the user who owns it."));
    }
    fs::create_symlink("launchCount.dat", copy.dir() / "launchCount.dat");
    EXPECT_THAT(verdict(report(), "a"), HasSubstr("/a/launchCount.dat: Too many levels"));
  });
}

TEST_F(Problem, NameTooLong) {
  fs::path deep = home.path();
  while (deep.native().size() < 3800)
    deep /= std::string(200, 'x');
  const test::ScopedEnvironment long1("HOME", deep.string());
  const test::ScopedEnvironment long2("CFFIXED_USER_HOME", deep.string());
  const fs::path launcher = deep / "Library/Application Support/VantuOrlixVDILauncher";
  fs::create_directories(launcher);
  const fs::path before = fs::current_path();
  fs::current_path(launcher);
  fs::create_directory(std::string(4090 - launcher.native().size() - 1, 'y'));
  fs::current_path(before);
  EXPECT_THAT(
      shown(report()["outcome"]),
      EndsWith("File name too long -> Give this folder, or one above it, a shorter name."));
}

TEST_F(Problem, UnreadableLibrary) {
  asUser([&] {
    const ScopedPermissions closed(home.path() / "Library", CLOSED);
    const Report all = report();
    EXPECT_EQ(
        all["launcherDirectoryState"]["text"].get<std::string>(),
        "unknown: ~/Library: Permission denied");
    EXPECT_EQ(all["launcherDirectoryState"]["code"], "unknown");
    EXPECT_EQ(all["outcome"]["code"], "failed");
    EXPECT_THAT(all["candidates"], IsEmpty());
  });
}

TEST_F(Problem, RemovedWorkingFolder) {
  home.copy("a");
  test::inChildProcessAt(home.path(), [&] {
    const fs::path gone = home.path() / "gone";
    fs::create_directory(gone);
    fs::current_path(gone);
    fs::remove(gone);
    const Report all = report();
    EXPECT_THAT(
        shown(all["outcome"]), EndsWith(" -> Start the host in a working folder that exists."));
    EXPECT_THAT(verdict(all, "a"), StartsWith("viable"));
  });
}

// --- What a launch could not write ---

TEST_F(Problem, UnwritableLogFolder) {
  completeCopy("a");
  test::writeFile(home.path() / "Library/Logs", "");
  EXPECT_THAT(
      shown(report()["outcome"]),
      EndsWith("~/Library/Logs: Not a directory -> Move this file away: a folder belongs here."));
  fs::remove(home.path() / "Library/Logs");
  asUser([&] {
    const ScopedPermissions closed(home.path() / "Library", fs::perms(0500));
    EXPECT_THAT(
        shown(report()["outcome"]), AllOf(StartsWith("failed"), HasSubstr(" ~/Library: Per")));
  });
}

TEST_F(Problem, UnwritableRecord) {
  const test::Copy copy = completeCopy("a").launches("1");
  EXPECT_THAT(report()["warnings"], IsEmpty());
  asUser([&] {
    const ScopedPermissions closed(copy.dir() / "launchCount.dat", fs::perms(0400));
    EXPECT_THAT(
        shownAll(report()["warnings"]),
        ElementsAre(
            "not-countable Launches of the chosen copy are not counted: " + folder +
            "/a/launchCount.dat cannot be written. -> Make it, and its folder, writable for this "
            "user."));
  });
}

TEST_F(Problem, RecordIsNoFile) {
  const test::Copy copy = completeCopy("a");
  const fs::path record = copy.dir() / "launchCount.dat";
  const auto warnings = [] { return shownAll(report()["warnings"]); };
  ASSERT_EQ(::mkfifo(record.c_str(), 0666), 0);
  EXPECT_THAT(warnings(), ElementsAre(StartsWith("not-countable")));
  fs::remove(record);
  ASSERT_EQ(::mknod(record.c_str(), S_IFSOCK | 0666, 0), 0);
  EXPECT_THAT(warnings(), ElementsAre(StartsWith("not-countable")));
}

// /proc has no space.
TEST_F(Problem, FullDisk) {
  EXPECT_THAT(report()["notes"].dump(), Not(HasSubstr("disk-full")));
  {
    const test::ScopedEnvironment missing1("HOME", "/missing");
    const test::ScopedEnvironment missing2("CFFIXED_USER_HOME", "/missing");
    EXPECT_THAT(report()["notes"].dump(), Not(HasSubstr("disk-full")));
  }
  const test::ScopedEnvironment full1("HOME", "/proc");
  const test::ScopedEnvironment full2("CFFIXED_USER_HOME", "/proc");
  EXPECT_THAT(
      shownAll(report()["notes"]), ::testing::Contains(EndsWith("-> Free some space on it.")));
}

TEST_F(Problem, NoApplicationSupport) {
  fs::remove(home.applicationSupport());
  const Report all = reportAt(home.path());
  EXPECT_THAT(
      shownAll(all["notes"]),
      ElementsAre(
          StartsWith("nothing-viable"),
          "writes-to-working-directory The home has no Application Support folder, so that the "
          "launcher would write launchCount.dat and launch.dat into the working folder: ~ -> "
          "Create Library/Application Support in the home before the next launch."));
}

// --- Whether the chosen copy would come up ---

TEST_F(Problem, IncompleteCopy) {
  const test::Copy copy = completeCopy("a");
  const auto check = [&](const fs::path& removed, const char* code) {
    const test::ScopedDirectory aside;
    EXPECT_THAT(report()["warnings"], IsEmpty());
    fs::rename(removed, aside.path() / "file");
    EXPECT_THAT(
        shownAll(report()["warnings"]),
        ElementsAre(AllOf(
            StartsWith(code),
            HasSubstr(removed.filename().string()),
            HasSubstr("Install this copy again"))));
    fs::rename(aside.path() / "file", removed);
  };
  check(test::executableIn(copy), "no-program The chosen copy would not come up: ");
  check(frameworks(copy) / "libnexal_vdi_main.dylib", "no-main-library The chosen");
  check(frameworks(copy) / "libThinClientLauncher.dylib", "no-launcher-library The chosen");
}

TEST_F(Problem, NotExecutable) {
  const fs::path program = test::executableIn(completeCopy("a"));
  const ScopedPermissions plain(program, fs::perms(0644));
  EXPECT_THAT(
      shownAll(report()["warnings"]), ElementsAre(StartsWith("not-executable The chosen copy")));
}

// --- The same folder, listed again ---

TEST_F(Problem, CountsFoldersOnce) {
  const test::Copy copy = home.copy("a");
  fs::create_directory_symlink("a", home.launcherDirectory() / "link");
  const Report all = reportAt(copy);
  EXPECT_EQ(
      shown(all["candidates"][1]["verdict"]), "would-start would start: the only viable copy -> ");
  for (const std::size_t again : {2u, 3u})
    EXPECT_EQ(
        shown(all["candidates"][again]["verdict"]),
        "same-folder the same folder as " + folder + "/a, listed again -> ");
}

TEST_F(Problem, CountsInviableOnce) {
  const test::Copy copy = home.copy("a").launches("3");
  const Report all = reportAt(copy);
  EXPECT_THAT(
      all["notes"][0]["text"].get<std::string>(),
      StartsWith("2 candidates: 1 without an application bundle, 1 corrupt."));
}

TEST_F(Problem, WarnsOfFolderOnce) {
  home.copy("a").launches("2");
  fs::create_directory_symlink("a", home.launcherDirectory() / "link");
  std::string text = report()["warnings"].dump();
  const auto first = text.find("nearly-corrupt");
  ASSERT_NE(first, std::string::npos);
  EXPECT_EQ(text.find("nearly-corrupt", first + 1), std::string::npos);
}
