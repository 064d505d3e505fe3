#include "DisplayText.h"
#include "Page.h"
#include "Selection.h"
#include "TextReport.h"

#include <algorithm>
#include <cstdlib>
#include <list>
#include <vector>

namespace LauncherInspect {

constexpr std::size_t NARROW_VERDICT_WIDTH = 8;
constexpr std::size_t MARK_AND_GAPS_WIDTH = 6;

namespace {

// The numbers of a version, as far as they are compared; anything else counts as zero.
using VersionKey = std::vector<long long>;

// Its texts are escaped.
struct Line {
  bool isChosen;
  VersionKey key;
  std::string version;
  std::string folder;
  std::string verdict;
  Style style;
};
using Lines = std::list<Line>;

} // namespace

static VersionKey keyOf(const Report& version) {
  VersionKey key;
  if (version.is_null())
    return key;
  for (const auto& component : ThinClientLauncherBase::splitVersion(version)) {
    key.push_back(std::strtoll(component.c_str(), nullptr, 10));
    if (key.size() == Selection::ALL_VERSION_COMPONENTS)
      break;
  }
  return key;
}

static Line lineOf(const Report& candidate, bool isFallback) {
  const std::string verdict = candidate.at("verdict").at("code");
  const bool isChosen = verdict == "would-start";
  return {
      isChosen,
      keyOf(candidate.at("version")),
      shortVersionOf(candidate),
      escape(folderOf(candidate)),
      isChosen && isFallback ? "fallback" : verdict,
      styleOf(candidate)};
}

// No copy fits the client.
static bool isFallback(const Report& report) {
  const Report& notes = report.at("notes");
  return std::any_of(notes.begin(), notes.end(), [](const Report& note) {
    return note.at("code") == "nothing-compatible";
  });
}

static bool comesFirst(const Line& left, const Line& right) {
  return left.isChosen != right.isChosen ? left.isChosen : left.key > right.key;
}

// On a terminal a folder is cut to the columns that are left, on a narrow one verdicts are too.
static void addLines(Page& page, const Lines& lines) {
  const std::size_t version = widest(lines, &Line::version);
  const std::size_t verdict =
      page.isNarrow() ? NARROW_VERDICT_WIDTH : widest(lines, &Line::verdict);
  const std::size_t folder = page.width() - MARK_AND_GAPS_WIDTH - version - verdict;
  for (const auto& line : lines)
    page.line(
        (line.isChosen ? "> " : "  ") + padded(line.version, version) + "  " +
            padded(shorten(line.verdict, verdict), verdict) + "  " + shorten(line.folder, folder),
        line.style);
}

std::string toBriefText(const Report& report, const Terminal& terminal) {
  Lines lines;
  for (const auto& candidate : report.at("candidates"))
    lines.push_back(lineOf(candidate, isFallback(report)));
  lines.sort(comesFirst); // those of equal rank stay in order

  Page page(terminal);
  if (report.at("chosen").is_null())
    page.paragraph(0, textOf(report.at("outcome")), BAD);
  addLines(page, lines);
  return page.text();
}

} // namespace LauncherInspect
