#include "TextReport.h"

#include "DisplayText.h"

#include <fmt/color.h>
#include <fmt/format.h>

#include <algorithm>
#include <vector>

namespace LauncherInspect {

using Style = fmt::text_style;

static const Style PLAIN;
static const Style BOLD = fmt::emphasis::bold;
static const Style DIM = fmt::emphasis::faint;
static const Style GOOD = fmt::emphasis::bold | fmt::fg(fmt::terminal_color::green);
static const Style WARNING = fmt::fg(fmt::terminal_color::yellow);
static const Style BAD = fmt::fg(fmt::terminal_color::red);

constexpr std::size_t LABEL_WIDTH = 19;
constexpr std::size_t VERDICT_INDENT = 6;
constexpr std::size_t VERSION_WIDTH = 14;
constexpr std::size_t NARROWEST_TABLE = 70;
constexpr std::size_t FIXED_COLUMNS_WIDTH = 63; // of the table without FOLDER and VERDICT

// --- Values of the report ---

static std::string nameOf(const std::string& path) {
  return path.substr(path.find_last_of('/') + 1);
}

static std::string textOf(const Report& message) {
  return message.at("text");
}

// Empty where there is nothing to do.
static std::string remedyOf(const Report& message) {
  return message.contains("remedy") ? "Remedy: " + message.at("remedy").get<std::string>() : "";
}

// A time is shown without fractions of a second and offset.
static std::string shown(const Report& record) {
  if (record.is_null())
    return "?";
  if (record.is_boolean())
    return record ? "yes" : "no";
  if (record.is_number() || record == "never")
    return record.is_number() ? record.dump() : "never";
  const std::string time = record;
  return time.substr(0, 10) + " " + time.substr(11, 8);
}

// A copy without a version, or too old to record a safe start, is never judged by it.
static std::string shownSafeStart(const Report& candidate) {
  const Report& started = candidate.at("startedSafely");
  if (started.is_null() || started == true || candidate.at("recordsSafeStart") == true)
    return shown(started);
  return candidate.at("version").is_null() ? "-" : "too old";
}

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

  void line(const std::string& text, const Style& style = PLAIN) {
    page += (terminal.colour && !text.empty() ? fmt::format(style, "{}", text) : text) + "\n";
  }

  void heading(const std::string& text) {
    line("");
    line(text, BOLD);
  }

  void paragraph(std::size_t indent, const std::string& text, const Style& style = PLAIN) {
    if (!text.empty())
      hanging(std::string(indent, ' '), escape(text), style);
  }

  // A text behind the name of what it is.
  void item(const std::string& label, const std::string& text, const Style& style = PLAIN) {
    hanging(padded("  " + label, LABEL_WIDTH), escape(text), style);
  }

  void itemIfAny(const std::string& label, const Report& text) {
    if (!text.is_null() && text != "")
      item(label, text);
  }

  // The first line begins with the prefix, the others are indented as far. The text is escaped.
  void hanging(std::string prefix, const std::string& text, const Style& style) {
    const std::size_t indent = prefix.size();
    for (const auto& part : wrap(text, terminal.width - indent)) {
      line(prefix + part, style);
      prefix = std::string(indent, ' ');
    }
  }

  std::size_t width() const { return terminal.width; }

  const std::string& text() const { return page; }

private:
  const Terminal terminal;
  std::string page;
};

// One line of the table of candidates, escaped.
struct Row {
  std::string folder;
  std::string version;
  std::string launches;
  std::string lastLaunch;
  std::string safeStart;
  std::string verdict;
  std::string remedy;
  std::string mark = "    ";
  Style style = DIM;
};

} // namespace

// --- The table of candidates ---

static Style styleOf(const Report& candidate) {
  const std::string verdict = candidate.at("verdict").at("code");
  if (verdict == "would-start")
    return GOOD;
  if (verdict == "corrupt")
    return BAD;
  return candidate.at("nearlyCorrupt") ? WARNING : PLAIN;
}

static Row rowOf(const Report& candidate) {
  const bool hasRecords = candidate.at("inLauncherDirectory");
  const auto record = [&](const char* member) {
    return hasRecords ? shown(candidate.at(member)) : "-";
  };
  const std::string path = candidate.at("directory");
  const std::string version = candidate.at("version").is_null() ? "-" : candidate.at("version");
  return {
      escape(hasRecords ? nameOf(path) : path),
      shorten(escape(version), VERSION_WIDTH),
      record("launches"),
      record("lastLaunch"),
      hasRecords ? shownSafeStart(candidate) : "-",
      escape(textOf(candidate.at("verdict"))),
      escape(remedyOf(candidate.at("verdict"))),
      candidate.at("verdict").at("code") == "would-start" ? "  > " : "    ",
      styleOf(candidate)};
}

static std::size_t widest(const std::vector<Row>& rows, std::string Row::*text) {
  std::size_t width = 0;
  for (const auto& row : rows)
    width = std::max(width, displayWidth(row.*text));
  return width;
}

// A folder that is too long for its column has a line of its own.
static void addRow(Page& page, const Row& row, std::size_t folderWidth, bool verdictBeside) {
  std::string start = row.mark + padded(row.folder, folderWidth);
  if (displayWidth(row.folder) > folderWidth) {
    page.hanging(row.mark, row.folder, row.style);
    start = std::string(row.mark.size() + folderWidth, ' ');
  }
  const std::string line = fmt::format(
      "{}  {}  {:>8}  {:<19}  {:<10}  {}",
      start,
      padded(row.version, VERSION_WIDTH),
      row.launches,
      row.lastLaunch,
      row.safeStart,
      verdictBeside ? row.verdict : "");
  page.line(line.substr(0, line.find_last_not_of(' ') + 1), row.style);
  if (!verdictBeside && !row.verdict.empty())
    page.hanging(std::string(VERDICT_INDENT, ' '), row.verdict, row.style);
  if (!row.remedy.empty())
    page.hanging(std::string(VERDICT_INDENT, ' '), row.remedy, row.style);
}

static void addCandidates(Page& page, const Report& candidates) {
  if (candidates.empty())
    return;
  std::vector<Row> rows{{"FOLDER", "VERSION", "LAUNCHES", "LAST LAUNCH", "SAFE START", "", ""}};
  std::transform(candidates.begin(), candidates.end(), std::back_inserter(rows), rowOf);
  const std::size_t room = std::max(page.width(), NARROWEST_TABLE) - FIXED_COLUMNS_WIDTH;
  const std::size_t wanted = widest(rows, &Row::folder);
  const bool verdictBeside = wanted + 2 + widest(rows, &Row::verdict) <= room;
  rows[0].verdict = verdictBeside ? "VERDICT" : "";

  page.heading("Candidates, in scan order");
  addRow(page, rows[0], std::min(wanted, room), verdictBeside);
  bool isAnnounced = false;
  for (std::size_t i = 0; i < candidates.size(); ++i) {
    if (candidates[i].at("inLauncherDirectory") && !isAnnounced)
      page.line("  In the launcher folder:", DIM);
    isAnnounced = isAnnounced || candidates[i].at("inLauncherDirectory");
    addRow(page, rows[i + 1], std::min(wanted, room), verdictBeside);
  }
}

// --- The other sections ---

static void addMessages(Page& page, const Report& messages) {
  for (const auto& message : messages) {
    page.paragraph(2, textOf(message), WARNING);
    page.paragraph(4, remedyOf(message), WARNING);
  }
}

static void addChoice(Page& page, const Report& report) {
  const Report& chosen = report.at("chosen");
  page.paragraph(0, textOf(report.at("outcome")), chosen.is_null() ? BAD : GOOD);
  if (!chosen.is_null())
    page.paragraph(2, chosen.at("directory"));
  page.paragraph(2, remedyOf(report.at("outcome")), BAD);
  addMessages(page, report.at("notes"));
}

static void addQuestion(Page& page, const Report& report) {
  page.heading("Asked for");
  page.item("client version", textOf(report.at("client")));
  page.item("home ~", report.at("home"));
  page.item("working folder", report.at("workingDirectory"));
  page.item("launcher folder", textOf(report.at("launcherDirectoryState")));
}

static void addWarnings(Page& page, const Report& warnings) {
  if (warnings.empty())
    return;
  page.heading("Warnings");
  addMessages(page, warnings);
}

static void addFolder(
    Page& page,
    const char* fate,
    const std::string& launched,
    const Report& folder,
    const Style& style) {
  page.item(fate, fmt::format("{:<19}  {}", launched, nameOf(folder.at("directory"))), style);
}

static void addFolders(Page& page, const char* fate, const Report& folders, const Style& style) {
  for (const auto& folder : folders)
    addFolder(page, fate, shown(folder.at("lastLaunch")), folder, style);
}

static void addCleanUp(Page& page, const Report& cleanUp) {
  Report kept = cleanUp.at("kept");
  page.heading("Clean-up after this launch");
  page.paragraph(2, textOf(cleanUp), cleanUp.at("code") == "failed" ? BAD : PLAIN);
  page.paragraph(4, remedyOf(cleanUp), BAD);
  addFolders(page, "removes", cleanUp.at("removed"), BAD);
  addFolders(page, "tied", cleanUp.at("tied"), WARNING);
  for (const auto& note : cleanUp.at("notes"))
    page.paragraph(LABEL_WIDTH, "^ " + textOf(note), WARNING);
  if (kept.empty())
    return;
  const Report started = kept.back();
  kept.erase(kept.size() - 1);
  addFolders(page, "keeps", kept, PLAIN);
  addFolder(page, "keeps", "by this launch", started, GOOD);
}

static void addLastLaunch(Page& page, const Report& launch) {
  const Report& chosen = launch.at("chosen");
  page.heading("Last launch, as its log tells");
  page.item("log", launch.at("log"));
  page.itemIfAny("time", launch.at("time"));
  page.itemIfAny("client version", launch.at("clientVersion"));
  if (!chosen.is_null()) {
    page.item("chosen version", chosen.at("version"));
    page.item("chosen folder", chosen.at("directory"));
  }
  page.item(launch.at("time").is_null() ? "launch" : "ended", textOf(launch.at("end")));
  page.itemIfAny("", remedyOf(launch.at("end")));
  for (const auto& reason : launch.at("removalFailures"))
    page.item("not removed", reason, WARNING);
  addMessages(page, launch.at("notes"));
  if (!launch.at("systemLogCommand").is_null()) {
    page.item("system log", "shows whether it started:");
    page.line("  " + launch.at("systemLogCommand").get<std::string>()); // whole, for pasting
  }
}

static void addLoadMode(Page& page, const Report& loadMode) {
  page.heading("In the started application, as its log tells");
  page.item("log", loadMode.at("log"));
  page.item("load mode", textOf(loadMode.at("end")));
  page.itemIfAny("", remedyOf(loadMode.at("end")));
}

std::string toText(const Report& report, const Terminal& terminal) {
  Page page(terminal);
  addChoice(page, report);
  addQuestion(page, report);
  addWarnings(page, report.at("warnings"));
  addCandidates(page, report.at("candidates"));
  if (report.at("outcome").at("code") != "failed")
    addCleanUp(page, report.at("cleanUp"));
  addLastLaunch(page, report.at("lastLaunch"));
  addLoadMode(page, report.at("loadMode"));
  return page.text();
}

} // namespace LauncherInspect
