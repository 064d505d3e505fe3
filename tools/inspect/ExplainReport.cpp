#include "Page.h"
#include "TextReport.h"

namespace LauncherInspect {

static void addRecords(Page& page, const Report& candidate) {
  if (!candidate.at("inLauncherDirectory"))
    return;
  page.item("launches", recordOf(candidate.at("launches")));
  page.item("last launch", recordOf(candidate.at("lastLaunch")));
  page.item("safe start", safeStartOf(candidate));
}

static Style styleOfRule(const Report& rule) {
  const std::string code = rule.at("code");
  const std::string result = code.substr(code.find('-') + 1);
  return result == "failed" ? BAD : result == "passed" ? PLAIN : DIM;
}

std::string toExplanation(const Report& report, const Terminal& terminal) {
  const Report& candidate = report.at("explained");
  Page page(terminal);
  page.paragraph(0, candidate.at("directory"), BOLD);
  page.paragraph(2, textOf(candidate.at("verdict")), styleOf(candidate));
  page.paragraph(4, remedyOf(candidate.at("verdict")), styleOf(candidate));
  page.line("");
  page.itemIfAny("version", candidate.at("version"));
  addRecords(page, candidate);
  page.heading("Rules, in the launcher's order");
  for (const auto& rule : candidate.at("rules"))
    page.paragraph(2, textOf(rule), styleOfRule(rule));
  page.line("");
  page.paragraph(0, textOf(report.at("outcome")));
  return page.text();
}

} // namespace LauncherInspect
