#include "CopyCheck.h"

#include "LaunchRecords.h"
#include "LauncherConstants.h"
#include "MachO.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <ctime>
#include <optional>
#include <sstream>
#include <sys/stat.h>
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

// --- What macOS asks for ---

static const Slice* findSlice(const std::vector<Slice>& slices, const std::string& architecture) {
  const auto found = std::find_if(slices.begin(), slices.end(), [&](const Slice& slice) {
    return slice.architecture == architecture;
  });
  return found == slices.end() ? nullptr : &*found;
}

// All code in a process is for one architecture: the first of the system's that the program has.
static std::string architectureOf(const fs::path& program, const System& system) {
  const auto slices = readSlices(program);
  for (const auto& architecture : system.architectures) {
    if (slices && findSlice(*slices, architecture) != nullptr)
      return architecture;
  }
  return system.architectures.front();
}

static void checkCode(const System& system, StartCheck& check) {
  check.architecture = architectureOf(check.program, system);
  for (const auto& file :
       {check.program,
        check.frameworks / VDI_MAIN_LIBRARY_NAME,
        check.frameworks / VDI_LAUNCHER_LIBRARY_NAME}) {
    const auto slices = readSlices(file);
    const Slice* const slice = slices ? findSlice(*slices, check.architecture) : nullptr;
    if (slices && slice == nullptr && check.foreignFile.empty())
      check.foreignFile = file;
    if (slice != nullptr && !slice->isSigned && slice->architecture == "arm64" &&
        check.unsignedFile.empty())
      check.unsignedFile = file;
  }
}

// Whether this architecture runs ELF files for a machine; true where that cannot be told.
static bool canRun(const std::string& architecture, char machine) {
  if (architecture == "x86_64")
    return machine == '\x3e' || machine == '\x03'; // the latter is i386
  return architecture != "arm64" || machine == '\xb7';
}

// Whether a file begins as a script or as ELF for this architecture; macOS runs no ELF.
static bool isScriptOrElf(std::string start, const System& system) {
  constexpr std::size_t MACHINE = 18; // where the ELF header tells it, low byte first
  start.resize(MACHINE + 1);
  const bool isElf = system.version.empty() && start.compare(0, 4, "\x7f\x45LF") == 0;
  return start.compare(0, 2, "#!") == 0 ||
         (isElf && canRun(system.architectures.front(), start[MACHINE]));
}

static bool isProgram(const fs::path& file, const System& system) {
  const auto start = Platform::readFile(file, 64);
  return !start || readSlices(file).has_value() || isScriptOrElf(*start, system);
}

// What is missing is 0: 14 and 14.0.0 are equal.
static std::array<std::uint32_t, 3> systemNumbers(const std::string& version) {
  std::array<std::uint32_t, 3> numbers{};
  std::istringstream text(version);
  char dot = '.';
  for (auto& number : numbers) {
    if (dot != '.' || !(text >> number))
      break;
    text >> dot;
  }
  return numbers;
}

static void checkSystem(const fs::path& bundle, const System& system, StartCheck& check) {
  check.systemVersion = system.version;
  const std::string needed = Platform::bundleText(bundle, "LSMinimumSystemVersion");
  if (!system.version.empty() && systemNumbers(needed) > systemNumbers(system.version))
    check.neededSystem = needed;
}

// Systems that copy a Mac's attributes may put a name space before the name.
static bool isQuarantined(const fs::path& bundle) {
  std::string names(64 * 1024, '\0');
  const ssize_t size = listAttributes(bundle.c_str(), names.data(), names.size());
  names.resize(size > 0 ? static_cast<std::size_t>(size) : 0);
  return names.find(std::string("com.apple.quarantine") + '\0') != std::string::npos;
}

// --- The whole ---

StartCheck checkStart(const fs::path& dir, const System& system) {
  const fs::path bundle = dir / VDI_MAIN_APP_NAME;
  const fs::path contents = bundle / "Contents";
  StartCheck check;
  check.program = contents / "MacOS" / Platform::executableName(bundle);
  check.frameworks = contents / "Frameworks";
  check.hasProgram = mayExist(check.program);
  std::error_code error;
  check.isExecutable =
      !fs::is_directory(check.program, error) && ::access(check.program.c_str(), X_OK) == 0;
  check.hasMainLibrary = mayExist(check.frameworks / VDI_MAIN_LIBRARY_NAME);
  check.hasLauncherLibrary = mayExist(check.frameworks / VDI_LAUNCHER_LIBRARY_NAME);
  check.isProgram = isProgram(check.program, system);
  checkCode(system, check);
  checkSystem(bundle, system, check);
  check.isQuarantined = isQuarantined(bundle);
  return check;
}

// --- The records ---

// In seconds since 1970; nothing for a file that cannot be examined.
static std::optional<std::time_t> modificationTime(const fs::path& file) {
  struct stat status {};
  return ::stat(file.c_str(), &status) == 0 ? std::optional(status.st_mtime) : std::nullopt;
}

// The difference may not fit into a signed number.
static std::uint64_t distance(std::int64_t a, std::int64_t b) {
  return static_cast<std::uint64_t>(std::max(a, b)) - static_cast<std::uint64_t>(std::min(a, b));
}

static bool hasForeignTime(const fs::path& record) {
  constexpr std::uint64_t TOLERANCE = 300; // by which a file server's clock may differ
  std::istringstream text(Platform::readFile(record, 64).value_or(""));
  std::int64_t recorded = 0;
  const auto modified = modificationTime(record);
  return text >> recorded && modified && distance(*modified, recorded) > TOLERANCE;
}

RecordCheck checkRecords(const fs::path& dir) {
  constexpr std::uint64_t TOLERANCE = 2; // of some file systems' times
  RecordCheck check;
  check.haveForeignTimes = hasForeignTime(dir / LAUNCH_DAT_FILE_NAME);
  const auto built = modificationTime(dir / VDI_MAIN_APP_NAME / "Contents/Info.plist");
  for (const char* record : {SAFE_START_FILE_NAME, LAUNCHED_COUNT_FILE_NAME}) {
    const auto recorded = modificationTime(dir / record);
    const bool isOlder =
        built && recorded && *built > *recorded && distance(*built, *recorded) > TOLERANCE;
    if (isOlder && !check.haveForeignTimes)
      check.areOlderThanBundle = true;
  }
  return check;
}

} // namespace LauncherInspect
