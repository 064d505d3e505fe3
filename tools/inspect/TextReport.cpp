#include "TextReport.h"

#include "DisplayText.h"
#include "LocalTime.h"
#include "Wording.h"

#include <fmt/color.h>
#include <fmt/format.h>

#include <algorithm>
#include <vector>

namespace LauncherInspect {

using Style = fmt::text_style;
using Folders = CleanUpPreview::Folders;

static const Style PLAIN;
static const Style BOLD = fmt::emphasis::bold;
static const Style DIM = fmt::emphasis::faint;
static const Style GOOD = fmt::emphasis::bold | fmt::fg(fmt::terminal_color::green);
static const Style WARNING = fmt::fg(fmt::terminal_color::yellow);
static const Style BAD = fmt::fg(fmt::terminal_color::red);

constexpr std::size_t LABEL_WIDTH = 19;
constexpr std::size_t VERDICT_INDENT = 6;

static std::string padded(const std::string& text, std::size_t width) {
  const std::size_t taken = displayWidth(text);
  return text + std::string(taken < width ? width - taken : 0, ' ');
}

// --- Lines ---

namespace {

// Puts lines together that fit the terminal.
class Page {
public:
  explicit Page(const Terminal& description) : terminal(description) {}

  void heading(const std::string& text) { text_ += "\n" + painted(BOLD, text) + "\n"; }

  void line(const std::string& text) { text_ += text + "\n"; }

  void paragraph(std::size_t indent, const std::string& text, const Style& style) {
    hanging(std::string(indent, ' '), escape(text), style);
  }

  // A text behind the name of what it is.
  void item(const std::string& label, const std::string& text, const Style& style = PLAIN) {
    hanging(padded("  " + label, LABEL_WIDTH), escape(text), style);
  }

  // The first line begins with the prefix, the others are indented as far. The text is escaped.
  void hanging(std::string prefix, const std::string& text, const Style& style) {
    const std::size_t indent = displayWidth(prefix);
    for (const auto& part : wrap(text, terminal.width - indent)) {
      line(painted(style, prefix + part));
      prefix = std::string(indent, ' ');
    }
  }

  std::string painted(const Style& style, const std::string& text) const {
    return terminal.colour && !text.empty() ? fmt::format(style, "{}", text) : text;
  }

  std::size_t width() const { return terminal.width; }

  const std::string& text() const { return text_; }

private:
  const Terminal terminal;
  std::string text_;
};

// One candidate as the table shows it, escaped.
struct Row {
  bool isChosen;
  bool inLauncherFolder;
  std::string folder;
  std::string facts; // the columns behind the folder
  std::string verdict;
  Style style;
};

} // namespace

// --- The table of candidates ---

constexpr std::size_t VERSION_WIDTH = 14;

static std::string columns(
    const std::string& version,
    const std::string& launches,
    const std::string& lastLaunch,
    const std::string& safeStart) {
  return fmt::format(
      "{}  {:>8}  {:<19}  {:<10}",
      padded(shorten(escape(version), VERSION_WIDTH), VERSION_WIDTH),
      launches,
      lastLaunch,
      safeStart);
}

static std::string shownTime(FileTime time) {
  return time == FileTime::min() ? "never" : toLocalText(time);
}

static std::string factsOf(const Candidate& candidate, const Disclosure& disclosure) {
  const std::string version = candidate.version.empty() ? "-" : disclosure.text(candidate.version);
  if (!candidate.records)
    return columns(version, "-", "-", "-");
  const auto& [launches, lastLaunch, startedSafely] = *candidate.records;
  return columns(
      version,
      launches ? std::to_string(*launches) : "?",
      lastLaunch ? shownTime(*lastLaunch) : "?",
      startedSafely ? (*startedSafely ? "yes" : "no") : "?");
}

static Style styleOf(const Candidate& candidate) {
  switch (candidate.verdict) {
  case Verdict::WouldStart:
    return GOOD;
  case Verdict::Corrupt:
    return BAD;
  default:
    return candidate.nearlyCorrupt ? WARNING : PLAIN;
  }
}

static std::vector<Row> rowsOf(const Inspection& inspection, const Disclosure& disclosure) {
  std::vector<Row> rows;
  for (const auto& candidate : inspection.candidates) {
    const Path& dir = candidate.directory;
    const bool inLauncherFolder = candidate.records.has_value();
    rows.push_back(
        {candidate.verdict == Verdict::WouldStart,
         inLauncherFolder,
         escape(inLauncherFolder ? disclosure.text(dir.filename().string()) : disclosure.path(dir)),
         factsOf(candidate, disclosure),
         escape(verdictOf(candidate, inspection, disclosure).text),
         styleOf(candidate)});
  }
  return rows;
}

static std::string markOf(const Row& row) {
  return row.isChosen ? "  > " : "    ";
}

// A folder that is too long for its column has a line of its own.
static void addRow(Page& page, const Row& row, std::size_t folderWidth, bool verdictBeside) {
  std::string start = markOf(row) + padded(row.folder, folderWidth);
  if (displayWidth(row.folder) > folderWidth) {
    page.hanging(markOf(row), row.folder, row.style);
    start = std::string(markOf(row).size() + folderWidth, ' ');
  }
  std::string line = start + "  " + row.facts;
  if (verdictBeside)
    line += "  " + row.verdict;
  page.line(page.painted(row.style, line.substr(0, line.find_last_not_of(' ') + 1)));
  if (!verdictBeside)
    page.hanging(std::string(VERDICT_INDENT, ' '), row.verdict, row.style);
}

static std::size_t widest(const std::vector<Row>& rows, std::string Row::*text) {
  std::size_t width = 0;
  for (const auto& row : rows)
    width = std::max(width, displayWidth(row.*text));
  return width;
}

static void addCandidates(Page& page, const Inspection& inspection, const Disclosure& disclosure) {
  const auto rows = rowsOf(inspection, disclosure);
  const std::string titles = columns("VERSION", "LAUNCHES", "LAST LAUNCH", "SAFE START");
  const std::size_t room = std::max<std::size_t>(page.width(), 70) - titles.size() - 6;
  const std::size_t verdictWidth = widest(rows, &Row::verdict) + 2;
  const std::size_t wanted = std::max<std::size_t>(widest(rows, &Row::folder), 6);
  const bool verdictBeside = wanted + verdictWidth <= room;
  const std::size_t folderWidth = std::min(wanted, room);

  page.heading("Candidates, in scan order");
  page.line(page.painted(
      DIM,
      "    " + padded("FOLDER", folderWidth) + "  " + titles + (verdictBeside ? "  VERDICT" : "")));
  bool announced = false;
  for (const auto& row : rows) {
    if (row.inLauncherFolder && !announced) {
      page.line(page.painted(DIM, "  In the launcher folder:"));
      announced = true;
    }
    addRow(page, row, folderWidth, verdictBeside);
  }
}

// --- The other sections ---

static void addChoice(Page& page, const Inspection& inspection, const Disclosure& disclosure) {
  page.paragraph(0, outcomeOf(inspection, disclosure).text, inspection.chosen ? GOOD : BAD);
  if (inspection.chosen)
    page.paragraph(2, disclosure.path(inspection.candidates[*inspection.chosen].directory), PLAIN);
  for (const auto& note : notesOn(inspection, disclosure))
    page.paragraph(2, note.text, WARNING);
}

static std::string shownLauncherFolder(const Inspection& inspection, const Disclosure& disclosure) {
  if (inspection.launcherFolder.empty())
    return "none, since there is no Application Support folder";
  const std::string folder = disclosure.path(inspection.launcherFolder);
  return inspection.launcherFolderMissing ? folder + " (missing)" : folder;
}

static void addQuestion(Page& page, const Inspection& inspection, const Disclosure& disclosure) {
  page.heading("Asked for");
  page.item(
      "client version",
      inspection.clientVersion.empty() ? "none, so every copy is compatible"
                                       : disclosure.text(inspection.clientVersion));
  page.item("home ~", disclosure.text(inspection.home.string()));
  page.item("working folder", disclosure.path(inspection.workingDirectory));
  page.item("launcher folder", shownLauncherFolder(inspection, disclosure));
}

static void addWarnings(Page& page, const Inspection& inspection, const Disclosure& disclosure) {
  const auto warnings = warningsOn(inspection, disclosure);
  if (warnings.empty())
    return;
  page.heading("Early warning");
  for (const auto& warning : warnings)
    page.paragraph(2, warning.text, WARNING);
}

static std::string
cleanUpEntry(const std::string& launched, const Path& dir, const Disclosure& disclosure) {
  return fmt::format("{:<19}  {}", launched, disclosure.text(dir.filename().string()));
}

static void addFolders(
    Page& page,
    const std::string& fate,
    const Folders& folders,
    const Disclosure& disclosure,
    const Style& style) {
  for (const auto& folder : folders) {
    const std::string launched = shownTime(folder.launchTime);
    page.item(fate, cleanUpEntry(launched, folder.dir, disclosure), style);
  }
}

static void addCleanUp(Page& page, const Inspection& inspection, const Disclosure& disclosure) {
  const CleanUpPreview& cleanUp = inspection.cleanUp;
  page.heading("Clean-up after this launch");
  page.paragraph(2, cleanUpOf(inspection, disclosure).text, cleanUp.failure ? BAD : PLAIN);
  addFolders(page, "removes", cleanUp.removed, disclosure, BAD);
  addFolders(page, "undefined", cleanUp.undefined, disclosure, WARNING);
  if (!cleanUp.undefined.empty())
    page.paragraph(
        LABEL_WIDTH,
        fmt::format(
            "^ equal launch times: {} of these {} {} kept, and which is not defined",
            cleanUp.undefinedKept,
            cleanUp.undefined.size(),
            cleanUp.undefinedKept == 1 ? "is" : "are"),
        WARNING);
  addFolders(page, "keeps", cleanUp.kept, disclosure, PLAIN);
  if (cleanUp.happens) {
    const Path& started = inspection.candidates[*inspection.chosen].directory;
    page.item("keeps", cleanUpEntry("by this launch", started, disclosure), GOOD);
  }
}

static void addLastLaunch(Page& page, const LastLaunch& launch, const Disclosure& disclosure) {
  page.heading("Last launch, as its log tells");
  page.item("log", disclosure.path(launch.log));
  if (launch.state != LogState::Read) {
    page.item("launch", endOf(launch, disclosure).text);
    return;
  }
  page.item("time", launch.time);
  if (launch.clientVersion)
    page.item("client version", disclosure.text(*launch.clientVersion));
  if (launch.chosen && !launch.chosen->directory.empty()) {
    page.item("chosen version", disclosure.text(launch.chosen->version));
    page.item("chosen folder", disclosure.loggedPath(launch.chosen->directory));
  }
  page.item("ended", endOf(launch, disclosure).text);
  for (const auto& reason : launch.removalFailures)
    page.item("not removed", disclosure.text(reason), WARNING);
}

std::string
toText(const Inspection& inspection, const Disclosure& disclosure, const Terminal& terminal) {
  Page page(terminal);
  addChoice(page, inspection, disclosure);
  addQuestion(page, inspection, disclosure);
  if (!inspection.failure) {
    addWarnings(page, inspection, disclosure);
    addCandidates(page, inspection, disclosure);
    addCleanUp(page, inspection, disclosure);
  }
  addLastLaunch(page, inspection.lastLaunch, disclosure);
  return page.text();
}

} // namespace LauncherInspect
