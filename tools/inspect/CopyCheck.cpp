#include "CopyCheck.h"

#include "LauncherConstants.h"

#include <system_error>
#include <unistd.h>

namespace fs = std::filesystem;

namespace LauncherInspect {

using Platform::ListProblem;

// --- The version ---

static ListProblem findFileProblem(const fs::path& list) {
  std::error_code error;
  const fs::file_status status = fs::status(list, error);
  if (status.type() == fs::file_type::not_found)
    return ListProblem::NoFile;
  if (error)
    return ListProblem::Unreadable;
  if (!fs::is_regular_file(status))
    return ListProblem::NotRegular;
  if (::access(list.c_str(), R_OK) != 0)
    return ListProblem::Unreadable;
  return fs::is_empty(list, error) ? ListProblem::Empty : ListProblem::None;
}

ListProblem findVersionProblem(const fs::path& dir) {
  const fs::path bundle = dir / VDI_MAIN_APP_NAME;
  const ListProblem problem = findFileProblem(bundle / "Contents/Info.plist");
  return problem == ListProblem::None ? Platform::versionProblem(bundle) : problem;
}

// --- The start ---

static bool mayExist(const fs::path& file) {
  std::error_code error;
  return fs::exists(file, error) || error;
}

StartCheck checkStart(const fs::path& dir) {
  const fs::path contents = dir / VDI_MAIN_APP_NAME / "Contents";
  StartCheck check;
  check.program = contents / "MacOS" / Platform::executableName(dir / VDI_MAIN_APP_NAME);
  check.frameworks = contents / "Frameworks";
  check.hasProgram = mayExist(check.program);
  std::error_code error;
  check.isExecutable =
      !fs::is_directory(check.program, error) && ::access(check.program.c_str(), X_OK) == 0;
  check.hasMainLibrary = mayExist(check.frameworks / VDI_MAIN_LIBRARY_NAME);
  check.hasLauncherLibrary = mayExist(check.frameworks / VDI_LAUNCHER_LIBRARY_NAME);
  return check;
}

} // namespace LauncherInspect
