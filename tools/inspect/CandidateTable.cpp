#include "CandidateTable.h"

#include <fmt/format.h>

#include <iterator>

namespace LauncherInspect {

constexpr std::string_view HEADER = "FOLDER";
constexpr std::size_t VERDICT_INDENT = 6;
constexpr std::size_t LONGEST_FOLDER_COLUMN = 60;
constexpr std::size_t FIXED_COLUMNS_WIDTH = 63; // of the table without FOLDER and VERDICT

namespace {

// What the report shows of a candidate, escaped.
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
using Rows = std::vector<Row>;

struct Columns {
  std::size_t folder;
  bool hasVerdict; // otherwise it has lines of its own
};

} // namespace

static Row rowOf(const Report& candidate) {
  const bool hasRecords = candidate.at("inLauncherDirectory");
  const auto record = [&](const char* member) {
    return hasRecords ? recordOf(candidate.at(member)) : "-";
  };
  return {
      escape(folderOf(candidate)),
      shortVersionOf(candidate),
      record("launches"),
      record("lastLaunch"),
      hasRecords ? safeStartOf(candidate) : "-",
      escape(textOf(candidate.at("verdict"))),
      escape(remedyOf(candidate.at("verdict"))),
      candidate.at("verdict").at("code") == "would-start" ? "  > " : "    ",
      styleOf(candidate)};
}

static void addBelow(Page& page, const std::string& text, const Style& style) {
  if (!text.empty())
    page.hanging(std::string(VERDICT_INDENT, ' '), text, style);
}

// --- The table ---

static Columns columnsFor(const Page& page, const Rows& rows) {
  const std::size_t wanted = std::max(widest(rows, &Row::folder), HEADER.size());
  if (page.isUnlimited())
    return {std::min(wanted, LONGEST_FOLDER_COLUMN), true};
  const std::size_t room = page.width() - FIXED_COLUMNS_WIDTH;
  return {std::min(wanted, room), wanted + 2 + widest(rows, &Row::verdict) <= room};
}

// On a terminal, a folder that is too long for its column has lines of its own.
static void addRow(Page& page, const Row& row, const Columns& columns) {
  std::string start = row.mark + padded(row.folder, columns.folder);
  if (displayWidth(row.folder) > columns.folder && !page.isUnlimited()) {
    page.hanging(row.mark, row.folder, row.style);
    start = std::string(row.mark.size() + columns.folder, ' ');
  }
  const std::string line = fmt::format(
      "{}  {}  {:>8}  {:<19}  {:<10}  {}",
      start,
      padded(row.version, VERSION_WIDTH),
      row.launches,
      row.lastLaunch,
      row.safeStart,
      columns.hasVerdict ? row.verdict : "");
  page.line(trimmed(line), row.style);
  if (!columns.hasVerdict)
    addBelow(page, row.verdict, row.style);
  addBelow(page, row.remedy, row.style);
}

static void addHeader(Page& page, const Columns& columns) {
  const char* const verdict = columns.hasVerdict ? "VERDICT" : "";
  addRow(
      page,
      {std::string(HEADER), "VERSION", "LAUNCHES", "LAST LAUNCH", "SAFE START", verdict, ""},
      columns);
}

// --- Blocks ---

static void addField(Page& page, const char* name, const std::string& value, const Style& style) {
  if (value != "-")
    page.hanging(std::string(VERDICT_INDENT, ' ') + padded(name, 13), value, style);
}

static void addBlock(Page& page, const Row& row) {
  page.hanging(row.mark, row.folder, row.style);
  addField(page, "version", row.version, row.style);
  addField(page, "launches", row.launches, row.style);
  addField(page, "last launch", row.lastLaunch, row.style);
  addField(page, "safe start", row.safeStart, row.style);
  addBelow(page, row.verdict, row.style);
  addBelow(page, row.remedy, row.style);
}

void addCandidates(Page& page, const Report& candidates) {
  if (candidates.empty())
    return;
  Rows rows;
  std::transform(candidates.begin(), candidates.end(), std::back_inserter(rows), rowOf);
  const Columns columns = page.isNarrow() ? Columns{} : columnsFor(page, rows);
  page.heading("Candidates, in scan order");
  if (!page.isNarrow())
    addHeader(page, columns);
  bool isAnnounced = false;
  for (std::size_t i = 0; i < rows.size(); ++i) {
    if (candidates[i].at("inLauncherDirectory") && !isAnnounced)
      page.line("  In the launcher folder:", DIM);
    isAnnounced = isAnnounced || candidates[i].at("inLauncherDirectory");
    page.isNarrow() ? addBlock(page, rows[i]) : addRow(page, rows[i], columns);
  }
}

} // namespace LauncherInspect
