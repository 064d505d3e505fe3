// What is wrong in a home, and what to do about it.

#include "Fork.h"
#include "Home.h"
#include "PropertyLists.h"
#include "Report.h"
#include "SampleFacts.h"
#include "TextReport.h"

#include <gmock/gmock.h>

#include <sys/stat.h>

namespace fs = std::filesystem;

using namespace LauncherInspect;
using namespace testing;
using test::codes;
using test::ScopedPermissions;

namespace {

const auto CLOSED = fs::perms::none;
constexpr const char* CLIENT = "45.12"; // for which a copy without a version is incompatible

class Problem : public ::testing::Test {
protected:
  static Report report(const std::string& clientVersion = "") {
    return makeReport(findFacts(clientVersion));
  }

  static Report reportAt(const fs::path& workingDirectory) {
    return makeReport(test::findFactsAt(workingDirectory));
  }

  // "CODE TEXT -> REMEDY"
  static std::string shown(const Report& message) {
    return message["code"].get<std::string>() + " " + message["text"].get<std::string>() + " -> " +
           message.value("remedy", "");
  }

  // On the copy in the folder of this name.
  static std::string verdict(const Report& report, const std::string& name) {
    for (const auto& candidate : report["candidates"]) {
      if (fs::path(candidate["directory"].get<std::string>()).filename() == name)
        return shown(candidate["verdict"]);
    }
    return "not listed";
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
  test::Copy copy = home.copy("a");
  const auto cause = [] { return verdict(report(CLIENT), "a"); };
  const std::pair<std::string, const char*> rows[] = {
      {"", "Info.plist is empty -> Check that"},
      {"text", "well-formed property list -> Install this copy again"},
      {"<!DOCTYPE plist [<!ENTITY a \"b\">]><plist/>", "declares entities, which are not read -> "},
      {"<?xml version=\"1.0\" encoding=\"cp1252\"?><plist/>",
       "is not read -> Save the list in UTF-8."},
      {std::string(256 * 1024 + 1, ' '), "larger than 256 KiB -> Check what"},
      {test::xmlList("<array/>"), "no dictionary -> Install this copy again"},
      {test::xmlWithEntries(""), "has no CFBundleShortVersionString -> Install a build"},
      {test::xmlWithEntries(test::xmlEntry("<true/>")), "is no text -> Install a build"},
      {test::xmlWithEntries(test::xmlEntry("<string/>")), "String in Info.plist is empty -> In"}};
  for (const auto& [list, text] : rows) {
    copy.list(list);
    EXPECT_THAT(cause(), AllOf(StartsWith("no-readable-version "), HasSubstr(text)));
  }
  const fs::path list = test::propertyListIn(copy);
  fs::remove(list);
  EXPECT_THAT(cause(), HasSubstr("has no Contents/Info.plist -> Install this"));
  ::mkfifo(list.c_str(), 0600);
  EXPECT_THAT(
      cause(),
      AllOf(
          HasSubstr("is no regular file -> Remove"),
          EndsWith(" '" + copy.name() + "/OrlixVDIPlugin.app/Contents/Info.plist'")));
}

TEST_F(Problem, VersionUnreadable) {
  home.copy("good");
  const fs::path list = test::propertyListIn(home.copy("a"));
  asUser([&] {
    const ScopedPermissions closed(list, CLOSED);
    EXPECT_THAT(verdict(report(CLIENT), "a"), HasSubstr("be read by this user -> Make"));
  });
}

TEST_F(Problem, ChosenWithoutVersion) {
  home.copy("a").complete().list("");
  EXPECT_THAT(codes(report()["warnings"]), ElementsAre("no-readable-version"));
}

// --- Folders that cannot be examined ---

TEST_F(Problem, ListsTheOthers) {
  home.copy("good");
  home.copy("corrupt").launches("3");
  fs::create_symlink("nothing", home.launcherDirectory() / "dangling");
  fs::create_symlink("loop", home.launcherDirectory() / "loop");
  const Report all = report(CLIENT);
  EXPECT_THAT(
      shown(all["outcome"]),
      AllOf(
          StartsWith("failed "),
          EndsWith(
              folder + "/loop: Too many levels of symbolic links -> Remove this link: it "
                       "leads back to itself.")));
  EXPECT_THAT(verdict(all, "good"), StartsWith("viable "));
  EXPECT_THAT(verdict(all, "corrupt"), StartsWith("corrupt "));
  EXPECT_THAT(
      verdict(all, "loop"),
      AllOf(StartsWith("not-examined "), EndsWith("it leads back to itself.")));
  EXPECT_EQ(all["candidates"].size(), 5u);
  EXPECT_TRUE(all["candidates"][4]["inLauncherDirectory"]);
}

TEST_F(Problem, NamesTheCause) {
  const test::Copy copy = home.copy("a");
  asUser([&] {
    for (const auto& [place, shownAs] :
         {std::pair(copy.dir(), folder + "/a"), {home.launcherDirectory(), folder}}) {
      const ScopedPermissions closed(place, CLOSED);
      EXPECT_THAT(
          shown(report()["outcome"]), HasSubstr(" " + shownAs + ": Permission denied -> Make it"));
    }
    fs::create_symlink("launchCount.dat", copy.dir() / "launchCount.dat");
    EXPECT_THAT(verdict(report(), "a"), HasSubstr("/a/launchCount.dat: Too many levels"));
  });
}

TEST_F(Problem, NameTooLong) {
  fs::path deep = home.path();
  while (deep.native().size() < 3800)
    deep /= std::string(200, 'x');
  const test::ScopedEnvironment variable("HOME", deep.string());
  const fs::path launcher = deep / "Library/Application Support/VantuOrlixVDILauncher";
  fs::create_directories(launcher);
  const fs::path before = fs::current_path();
  fs::current_path(launcher);
  fs::create_directory(std::string(4090 - launcher.native().size() - 1, 'y'));
  fs::current_path(before);
  EXPECT_THAT(
      shown(report()["outcome"]),
      EndsWith("too long -> Give this folder, or one above it, a shorter name."));
}

TEST_F(Problem, UnreadableLibrary) {
  asUser([&] {
    const ScopedPermissions closed(home.path() / "Library", CLOSED);
    const Report all = report();
    EXPECT_THAT(shown(all["launcherDirectoryState"]), HasSubstr(" ~/Library: Permission denied"));
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
    EXPECT_THAT(shown(all["outcome"]), EndsWith(" in a working folder that exists."));
    EXPECT_THAT(verdict(all, "a"), StartsWith("viable"));
  });
}

// --- What a launch could not write ---

TEST_F(Problem, UnwritableLogFolder) {
  home.copy("a").complete();
  test::writeFile(home.path() / "Library/Logs", "");
  const auto expectFailure = [](const std::string& place) {
    EXPECT_THAT(
        shown(report()["outcome"]), HasSubstr(place + ": Not a directory -> Move this file"));
  };
  expectFailure("~/Library/Logs");
  fs::remove(home.path() / "Library/Logs");
  for (const char* dangling : {"Library/Logs/VantuOrlixVDI", "Library/Logs"}) {
    fs::create_directories((home.path() / dangling).parent_path());
    fs::create_symlink("nothing", home.path() / dangling);
    expectFailure(std::string("~/") + dangling);
    fs::remove_all(home.path() / "Library/Logs");
  }
  asUser([&] {
    const ScopedPermissions closed(home.path() / "Library", fs::perms(0500));
    EXPECT_THAT(
        shown(report()["outcome"]),
        EndsWith(" ~/Library: Permission denied -> Make this folder writable for this user."));
  });
}

// Its parent is no folder to open up.
TEST_F(Problem, MissingHome) {
  asUser([&] {
    const std::string missing = "/home of nobody";
    const test::ScopedEnvironment variable("HOME", missing);
    EXPECT_THAT(
        shown(report()["outcome"]),
        AllOf(
            HasSubstr("the home is missing"), HasSubstr(" ~: Perm"), HasSubstr("-> Create this")));
  });
}

TEST_F(Problem, UnwritableLog) {
  home.copy("a").complete();
  EXPECT_THAT(report()["notes"], IsEmpty());
  fs::create_directories(home.launchLog());
  EXPECT_THAT(codes(report()["notes"]), ElementsAre("log-not-writable"));
}

TEST_F(Problem, UnwritableRecord) {
  const fs::path record = home.copy("a").complete().launches("1").dir() / "launchCount.dat";
  EXPECT_THAT(report()["warnings"], IsEmpty());
  const auto expectWarning = [] {
    EXPECT_THAT(codes(report()["warnings"]), ElementsAre("not-countable"));
  };
  fs::remove(record);
  ASSERT_EQ(::mkfifo(record.c_str(), 0666), 0);
  expectWarning();
  fs::remove(record);
  ASSERT_EQ(::mknod(record.c_str(), S_IFSOCK | 0666, 0), 0);
  expectWarning();
  fs::remove(record);
  test::writeFile(record, "1");
  asUser([&] {
    const ScopedPermissions closed(record, fs::perms(0400));
    expectWarning();
    EXPECT_THAT(report()["warnings"].dump(), HasSubstr(folder + "/a/launchCount.dat "));
  });
}

// /proc has no space.
TEST_F(Problem, FullDisk) {
  for (const auto& [place, isFull] :
       {std::pair(home.path(), false), {"/missing", false}, {"/proc", true}}) {
    const test::ScopedEnvironment variable("HOME", place.string());
    const auto notes = codes(report()["notes"]);
    EXPECT_EQ(std::count(notes.begin(), notes.end(), "disk-full"), isFull) << place;
  }
}

// On a Mac, HOME never names the home.
TEST_F(Problem, IgnoredHome) {
  for (const auto& [name, isIgnored] :
       {std::pair(home.path().string() + "/", false), {"relative", true}, {"", false}}) {
    const test::ScopedEnvironment variable("HOME", name);
    const std::string notes = report()["notes"].dump();
    EXPECT_EQ(notes.find("other-home") != notes.npos, isIgnored) << name;
    EXPECT_EQ(notes.find("is inspected, not relative") != notes.npos, isIgnored) << name;
  }
}

TEST_F(Problem, NoApplicationSupport) {
  fs::remove(home.applicationSupport());
  EXPECT_THAT(
      codes(reportAt(home.path())["notes"]),
      ElementsAre("nothing-viable", "writes-to-working-directory"));
}

// --- Records ---

TEST_F(Problem, NewBuildInOldFolder) {
  const test::Copy copy = home.copy("a").complete().launches("1").startedSafely();
  const auto age = [&copy](const char* record) {
    test::setModificationTime(copy.dir() / record, 1'000'000'000);
  };
  age("launchCount.dat");
  EXPECT_THAT(codes(report()["warnings"]), ElementsAre("older-records"));
  fs::remove(copy.dir() / "launchCount.dat");
  EXPECT_THAT(report()["warnings"], IsEmpty());
  age("started.dat");
  EXPECT_THAT(codes(report()["warnings"]), ElementsAre("older-records"));
}

TEST_F(Problem, ChangedTimes) {
  const test::Copy copy = home.copy("a").complete().launched(std::chrono::hours(1)).startedSafely();
  EXPECT_THAT(report()["warnings"], IsEmpty());
  test::setModificationTime(copy.dir() / "launch.dat", 1'000'000'000);
  test::setModificationTime(copy.dir() / "started.dat", 1'000'000'000);
  EXPECT_THAT(codes(report()["warnings"]), ElementsAre("times-changed"));
  test::writeFile(copy.dir() / "launch.dat", std::string(64, ' ') + "1"); // more than is read
  EXPECT_THAT(codes(report()["warnings"]), Not(Contains("times-changed")));
  test::writeFile(copy.dir() / "launch.dat", "-9223372036854775808");
  test::setModificationTime(copy.dir() / "launch.dat", 0);
  EXPECT_THAT(codes(report()["warnings"]), ElementsAre("times-changed"));
}

TEST_F(Problem, NewestIsCorrupt) {
  home.copy("a").complete().startedSafely();
  home.copy("older", "45.11").launches("3");
  EXPECT_THAT(report()["warnings"], IsEmpty());
  home.copy("newer", "45.13").launches("3");
  EXPECT_THAT(codes(report()["warnings"]), ElementsAre("newest-corrupt"));
}

TEST_F(Problem, TellsNextCopy) {
  home.copy("a").complete().launches("2");
  const auto warning = [] { return shown(report()["warnings"][0]); };
  EXPECT_THAT(warning(), HasSubstr("/a. Then nothing would start -> Look into"));
  home.copy("b", "45.11.0.5");
  EXPECT_THAT(warning(), HasSubstr("Then 45.11.0.5 would start, in " + folder + "/b -> "));
}

TEST_F(Problem, CameUpWithoutSafeStart) {
  const test::Copy copy = home.copy("a").complete().launches("2");
  const std::string time = "2026-03-07 14:05:09.007 ";
  const std::string entered = time + "ThinClientLauncher DLL entry point called\n" + time;
  test::writeFile(home.launchLog(), entered + "Best candidate: " + copy.name() + " (version: 1)\n");
  test::writeFile(home.loadLog(), entered + "load mode, load main dll\n");
  EXPECT_THAT(shown(report()["warnings"][0]), HasSubstr("-> It came up at the last launch, but"));
  test::writeFile(copy.dir() / "launchCount.dat", "3");
  EXPECT_THAT(verdict(report(), "a"), HasSubstr("-> It came up at the last launch, but"));
}

// --- What the clean-up takes ---

TEST_F(Problem, RemovesUnlaunched) {
  home.copy("a").complete().startedSafely();
  for (const char* name : {"b", "c"})
    home.copy(name, "45.11").launched(std::chrono::hours(1));
  EXPECT_THAT(report()["cleanUp"]["notes"], IsEmpty());
  home.copy("new", "45.13");
  fs::create_directory(home.launcherDirectory() / "other");
  EXPECT_THAT(
      codes(report(CLIENT)["cleanUp"]["notes"]),
      ElementsAre("removes-unlaunched", "removes-other-folder"));
  EXPECT_THAT(toText(report(CLIENT), {}), HasSubstr("Remedy: To keep a copy until a newer client"));
  EXPECT_THAT(
      report(CLIENT)["cleanUp"]["notes"].dump(), HasSubstr("never launched: 1, the first in ~/"));
}

// --- Whether the chosen copy would come up ---

TEST_F(Problem, IncompleteCopy) {
  const test::Copy copy = home.copy("a").complete();
  const std::pair<fs::path, const char*> rows[] = {
      {test::executableIn(copy), "no-program"},
      {test::frameworksIn(copy) / "libnexal_vdi_main.dylib", "no-main-library"},
      {test::frameworksIn(copy) / "libThinClientLauncher.dylib", "no-launcher-library"}};
  for (const auto& [removed, code] : rows) {
    const test::ScopedDirectory aside;
    EXPECT_THAT(report()["warnings"], IsEmpty());
    fs::rename(removed, aside.path() / "file");
    EXPECT_THAT(codes(report()["warnings"]), ElementsAre(code));
    EXPECT_THAT(report()["warnings"].dump(), HasSubstr(removed.filename().string()));
    fs::rename(aside.path() / "file", removed);
  }
}

TEST_F(Problem, NotExecutable) {
  const fs::path program = test::executableIn(home.copy("a").complete());
  const auto expectWarning = [] {
    EXPECT_THAT(codes(report()["warnings"]), ElementsAre("not-executable"));
  };
  fs::permissions(program, fs::perms(0644));
  expectWarning();
  fs::remove(program);
  fs::create_directory(program);
  expectWarning();
}

TEST_F(Problem, NoProgram) {
  const fs::path program = test::executableIn(home.copy("a").complete());
  std::string elf = test::readFile("/proc/self/exe").substr(0, 64);
  test::writeFile(program, elf);
  EXPECT_THAT(report()["warnings"], IsEmpty());
  elf[18] = '\x28'; // 32-bit ARM
  for (const std::string& content : {elf, std::string("garbage"), std::string()}) {
    test::writeFile(program, content);
    EXPECT_THAT(codes(report()["warnings"]), ElementsAre("not-a-program"));
  }
}

// --- The same folder, listed again ---

TEST_F(Problem, CountsFoldersOnce) {
  const test::Copy copy = home.copy("a").launches("2");
  fs::create_directory_symlink("a", home.launcherDirectory() / "link");
  const Report all = reportAt(copy);
  EXPECT_THAT(shown(all["candidates"][1]["verdict"]), HasSubstr("the only viable copy"));
  for (const std::size_t again : {2u, 3u})
    EXPECT_THAT(
        shown(all["candidates"][again]["verdict"]),
        AllOf(StartsWith("same-folder "), HasSubstr(" " + folder + "/a,")));
  const auto warnings = codes(all["warnings"]);
  EXPECT_EQ(std::count(warnings.begin(), warnings.end(), "nearly-corrupt"), 1);
}

TEST_F(Problem, CountsInviableOnce) {
  const test::Copy copy = home.copy("a").launches("3");
  EXPECT_THAT(
      shown(reportAt(copy)["notes"][0]),
      HasSubstr("2 candidates: 1 without an application bundle, 1 corrupt."));
}
