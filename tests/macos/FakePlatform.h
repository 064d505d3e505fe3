#pragma once

// Notes what the bridge asks of Foundation, AppKit and the loader. Look-ups of folders and loads
// of libraries are passed on to GNUstep and the real loader. AppKit's workspace, which Linux does
// not have, is a fake that starts nothing. The system log and the pause are fakes too.

#include <cstddef>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace test::FakePlatform {

// Forgets all calls and settings.
void reset();

// The calls since the last reset that start with this text, without it, in their order:
//   NSSearchPathForDirectoriesInDomains DIRECTORY DOMAIN YES|NO
//   dlopen MODE PATH
//   NSLog TEXT
//   setPromptsUserIfNeeded: YES|NO, and the like for all of the launch configuration
//   openApplicationAtURL: SCHEME PATH "ARGUMENT" ..., and "capturing" if the handler captures
//   pause
std::vector<std::string> calls(const std::string& start = "");

// Gives GNUstep other folders than those in the user's home. Must be called once, before any other
// use of GNUstep.
void setUserDirectories(
    const std::filesystem::path& library, const std::filesystem::path& defaults);

// From now on, look-ups return these folders. One that is not UTF-8 becomes a platform string
// without a UTF-8 form.
void nameDirectories(const std::vector<std::string>& folders);

// What "@executable_path" stands for, which only a Mac's loader knows.
void setExecutableDirectory(const std::filesystem::path& folder);

// Runs during every pause, which takes no time.
void onPause(const std::function<void()>& action);

// Calls the handler of the oldest unanswered start on a thread of its own and returns when that
// thread has ended. The text is the description of the error, if there is one.
void answerStart(const std::optional<std::string>& failure);

// How many launch configurations are alive.
std::size_t liveConfigurations();

} // namespace test::FakePlatform
