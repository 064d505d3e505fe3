#pragma once

#include <filesystem>
#include <fstream>
#include <string>

// The one log of the process: a text file with one time-stamped line per message, the login name
// masked, flushed after each line. A file that cannot be written never stops a launch and is not
// reported; a named pipe counts as one. Not thread-safe.
class Logger {
public:
  // Creates the file's folder if it is missing, then opens the file, emptied (truncate) or for
  // appending. A file that cannot be opened leaves the log closed. If a log is open already, it
  // stays open, and every line is dropped until close(). Raises filesystem_error when the folder
  // cannot be examined or created.
  static void open(const std::filesystem::path& file, bool truncate);

  // Creates the folder of the given file, with its parents, unless something of that name exists or
  // the path is a bare file name. Raises filesystem_error.
  static void validateAndCreatePath(const std::filesystem::path& file);

  // Writes one line; without an open log, does nothing. With USER set but empty it never returns.
  static void log(const std::string& message);

  // Appends the local time to the millisecond and one blank.
  static void addTime(std::string& text);

  // Replaces every occurrence of what by as many stars. Never returns for an empty what.
  static void replaceAll(std::string& text, const std::string& what);

  static void close();

  // Closes the log, then opens the given file, whose folder must exist, for appending.
  static void reopen(const std::filesystem::path& file);

private:
  static void openFile(const std::filesystem::path& file, std::ios::openmode mode);

  // Neither is destroyed: another thread may still be in a call while the process exits.
  static std::ofstream& logFile;
  static std::string& logBuffer; // the line being assembled; empty between calls
};
