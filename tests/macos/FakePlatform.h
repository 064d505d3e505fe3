#pragma once

// Fakes of what the bridge calls and this machine lacks or must not do. Foundation is GNUstep's,
// and AppKit's workspace, which Linux does not have, starts nothing. Everything that the bridge
// asks of either, of the loader and of the system log is noted, and so is the pause after a start.

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

// Where GNUstep finds the user's folders, instead of in the home folder that the system names. Only
// the first call counts, before any other use of GNUstep.
void setUserFolders(const std::filesystem::path& library, const std::filesystem::path& defaults);

// Lets the lookup name these folders instead of the user's own. For one that is not UTF-8 it gives
// a platform string without UTF-8 form.
void nameFolders(const std::vector<std::string>& folders);

// The folder that "@executable_path" stands for: only a Mac's loader resolves it.
void setExecutableFolder(const std::filesystem::path& folder);

// What happens during the pause, which takes no time.
void onPause(const std::function<void()>& action);

// Calls the handler of the oldest unanswered start on a thread of its own and returns when that
// thread has ended. The text is the description of the error, if there is one.
void answerStart(const std::optional<std::string>& failure);

// How many launch configurations are alive.
std::size_t liveConfigurations();

} // namespace test::FakePlatform
