#include "TextReport.h"

#include "CandidateTable.h"
#include "Page.h"

#include <fmt/format.h>

namespace LauncherInspect {

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
    addFolder(page, fate, recordOf(folder.at("lastLaunch")), folder, style);
}

static void addCleanUp(Page& page, const Report& cleanUp) {
  Report kept = cleanUp.at("kept");
  page.heading("Clean-up after this launch");
  page.paragraph(2, textOf(cleanUp), cleanUp.at("code") == "failed" ? BAD : PLAIN);
  page.paragraph(4, remedyOf(cleanUp), BAD);
  addFolders(page, "removes", cleanUp.at("removed"), BAD);
  addFolders(page, "tied", cleanUp.at("tied"), WARNING);
  for (const auto& note : cleanUp.at("notes")) {
    page.remark("^ " + textOf(note), WARNING);
    page.remark(remedyOf(note), WARNING);
  }
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
  page.remark(remedyOf(launch.at("end")));
  for (const auto& reason : launch.at("removalFailures"))
    page.item("not removed", reason, WARNING);
  if (const Report& more = launch.at("furtherRemovalFailures"); more != 0)
    page.item("not removed", "and " + more.dump() + " more", WARNING);
  addMessages(page, launch.at("notes"));
  if (!launch.at("systemLogCommand").is_null()) {
    page.item("system log", "shows whether it started:");
    page.line("  " + launch.at("systemLogCommand").get<std::string>()); // whole, for pasting
  }
}

static void addLoadMode(Page& page, const Report& loadMode) {
  page.heading("In the started application");
  page.item("log", loadMode.at("log"));
  page.item("load mode", textOf(loadMode.at("end")));
  page.remark(remedyOf(loadMode.at("end")));
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
