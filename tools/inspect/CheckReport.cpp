#include "CheckReport.h"

#include "DisplayText.h"

#include <algorithm>
#include <array>
#include <initializer_list>
#include <vector>

namespace LauncherInspect {

namespace {

struct Finding {
  CheckStatus status;
  std::string code;
};
using Findings = std::vector<Finding>;

} // namespace

static bool isOneOf(const std::string& code, std::initializer_list<const char*> codes) {
  return std::find(codes.begin(), codes.end(), code) != codes.end();
}

// Notes and warnings count as warnings, except where no copy, or none that comes up, would start,
// and where somebody else's home is looked into.
static CheckStatus judge(const std::string& code) {
  if (isOneOf(
          code,
          {"failed",
           "nothing-viable",
           "no-program",
           "not-executable",
           "not-a-program",
           "no-main-library",
           "no-launcher-library",
           "no-code-for-machine",
           "unsigned-code",
           "needs-newer-system"}))
    return CHECK_CRITICAL;
  return code == "other-owner" ? CHECK_OK : CHECK_WARNING;
}

static void add(const Report& message, Findings& findings) {
  const std::string code = message.at("code");
  const auto isKnown = [&code](const Finding& finding) { return finding.code == code; };
  if (std::none_of(findings.begin(), findings.end(), isKnown))
    findings.push_back({judge(code), code});
}

static Findings findingsIn(const Report& report) {
  Findings findings;
  for (const Report* message : {&report.at("outcome"), &report.at("cleanUp")}) {
    if (isOneOf(message->at("code"), {"failed", "nothing-viable"}))
      add(*message, findings);
  }
  for (const char* list : {"notes", "warnings"}) {
    for (const auto& message : report.at(list))
      add(message, findings);
  }
  for (const auto& message : report.at("lastLaunch").at("notes"))
    add(message, findings);
  if (const Report& end = report.at("loadMode").at("end"); end.at("code") == "load-failed")
    add(end, findings);
  return findings;
}

CheckStatus checkStatusOf(const Report& report) {
  CheckStatus worst = CHECK_OK;
  for (const auto& finding : findingsIn(report))
    worst = std::max(worst, finding.status);
  return worst;
}

static std::string line(CheckStatus status, const std::string& text) {
  constexpr std::array NAMES{"OK", "WARNING", "CRITICAL", "UNKNOWN"};
  std::string shown = escape(text);
  std::replace(shown.begin(), shown.end(), '|', '/'); // it would begin performance data
  return std::string("LAUNCHER ") + NAMES.at(static_cast<std::size_t>(status)) + " - " + shown +
         "\n";
}

std::string toCheckLine(const Report& report) {
  std::string codes;
  for (const auto& finding : findingsIn(report)) {
    if (finding.status != CHECK_OK)
      codes += (codes.empty() ? " (" : ", ") + finding.code;
  }
  const std::string outcome = report.at("outcome").at("text");
  return line(checkStatusOf(report), outcome + codes + (codes.empty() ? "" : ")"));
}

std::string toUnknownLine(const std::string& reason) {
  return line(CHECK_UNKNOWN, reason);
}

} // namespace LauncherInspect
