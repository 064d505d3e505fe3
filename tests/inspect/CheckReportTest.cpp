#include "CheckReport.h"
#include "SampleFacts.h"

#include <gmock/gmock.h>

using namespace LauncherInspect;

// A report of which a check has nothing to say.
static Report wellReport() {
  Report report = makeReport(test::sampleFacts());
  report["notes"] = report["warnings"] = report["lastLaunch"]["notes"] = Report::array();
  return report;
}

TEST(CheckReport, JudgesWarnings) {
  const std::pair<CheckStatus, std::vector<const char*>> rows[] = {
      {CHECK_OK, {"other-owner"}},
      {CHECK_WARNING, {"quarantined", "newest-corrupt"}},
      {CHECK_CRITICAL,
       {"no-program",
        "not-executable",
        "not-a-program",
        "no-main-library",
        "no-launcher-library",
        "no-code-for-machine",
        "unsigned-code",
        "needs-newer-system"}}};
  Report report = wellReport();
  EXPECT_EQ(checkStatusOf(report), CHECK_OK);
  for (const auto& [status, codes] : rows) {
    for (const char* code : codes) {
      report["warnings"] = {{{"code", code}}};
      EXPECT_EQ(checkStatusOf(report), status) << code;
    }
  }
}

TEST(CheckReport, WarnsOfFailedLoad) {
  Report report = wellReport();
  report["loadMode"]["end"]["code"] = "load-failed";
  EXPECT_EQ(toCheckLine(report), "LAUNCHER WARNING - Would start 45.12.0.900 (load-failed)\n");
}
