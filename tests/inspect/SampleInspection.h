#pragma once

#include "Home.h"
#include "Inspection.h"

#include <ctime>
#include <fcntl.h>
#include <sys/stat.h>

namespace test {

// A file's time as the file system gives it for this calendar time.
inline LauncherInspect::FileTime fileTime(std::time_t seconds, long nanoseconds = 0) {
  const ScopedFolder folder;
  const auto file = folder.path() / "file";
  writeFile(file, "");
  const timespec times[] = {{seconds, nanoseconds}, {seconds, nanoseconds}};
  utimensat(AT_FDCWD, file.c_str(), times, 0);
  return std::filesystem::last_write_time(file);
}

constexpr std::time_t A_MOMENT = 1772892309; // 2026-03-07 14:05:09 UTC

// Every verdict that a host of version 45.12.0.1000 can meet, for a user called alice.
inline LauncherInspect::Inspection sampleInspection() {
  using namespace LauncherInspect;
  const Path home = "/home/alice";
  const Path folder = home / "Library/Application Support/VantuOrlixVDILauncher";
  const auto records = [](std::uint32_t launches, FileTime lastLaunch, bool startedSafely) {
    return Records{launches, lastLaunch, startedSafely};
  };
  const FileTime never = FileTime::min();
  const FileTime moment = fileTime(A_MOMENT, 7000000);

  Inspection inspection;
  inspection.clientVersion = "45.12.0.1000";
  inspection.home = home;
  inspection.workingDirectory = home / "work";
  inspection.launcherFolder = folder;
  inspection.candidates = {
      {"/Applications", "45.11.0.5", std::nullopt, Verdict::Older, false},
      {home / "work", "", std::nullopt, Verdict::NoBundle, false},
      {folder / "45.13.0.10",
       "45.13.0.10",
       records(0, never, false),
       Verdict::NewerThanClient,
       false},
      {folder / "45.12.0.950", "45.12.0.950", records(3, moment, false), Verdict::Corrupt, false},
      {folder / "45.12.0.900",
       "45.12.0.900",
       records(12, moment, true),
       Verdict::WouldStart,
       false},
      {folder / "again", "45.12.0.900", records(2, moment, false), Verdict::SameVersion, true},
      {folder / "broken", "", records(0, never, false), Verdict::NoReadableVersion, false},
  };
  inspection.chosen = 4;
  inspection.contenders = 3;
  inspection.cleanUp.happens = true;
  inspection.cleanUp.undefined = {{never, folder / "45.13.0.10"}, {never, folder / "broken"}};
  inspection.cleanUp.undefinedKept = 1;
  inspection.cleanUp.removed = {};
  inspection.cleanUp.kept = {{moment, folder / "45.12.0.950"}};
  inspection.lastLaunch.log = home / "Library/Logs/VantuOrlixVDI/vdi-launch-launchmode-log.txt";
  inspection.lastLaunch.state = LogState::Read;
  inspection.lastLaunch.time = "2026-03-07 14:05:06.001";
  inspection.lastLaunch.clientVersion = "45.12.0.1000";
  inspection.lastLaunch.chosen = LoggedCopy{
      "/home/*****/Library/Application Support/VantuOrlixVDILauncher/45.12.0.900", "45.12.0.900"};
  inspection.lastLaunch.launchCount = 12;
  inspection.lastLaunch.removalFailures = {"Permission denied"};
  inspection.lastLaunch.end = LaunchEnd::Recorded;
  return inspection;
}

} // namespace test
