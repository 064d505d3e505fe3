#pragma once

// The log messages that launcher-inspect recognises in the logs of an earlier launch.

namespace LogMessages {

constexpr const char* ENTRY_POINT_CALLED = "ThinClientLauncher DLL entry point called";
constexpr const char* CLIENT_VERSION_PROVIDED = "hvd Client Version provided: "; // + version
constexpr const char* BEST_CANDIDATE = "Best candidate: ";                       // + directory
constexpr const char* BEST_CANDIDATE_VERSION = " (version: ";                    // + version + ")"
constexpr const char* LAUNCH_COUNT_UPDATED =
    "VDI Launch count updated to: "; // + count + " for directory: " + directory
constexpr const char* NOT_CLEANED = "not started from launcher folder, do not clean";
constexpr const char* LOAD_MODE = "load mode, load main dll";
constexpr const char* LOAD_FAILED = " load library failed dleeror: "; // library + this + reason
constexpr const char* REMOVAL_FAILED = "remove directory failed: ";   // + reason

} // namespace LogMessages
