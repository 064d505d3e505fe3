#include "JsonReport.h"

#include "SampleInspection.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <ctime>

using namespace LauncherInspect;
using nlohmann::json;

namespace {

json render(const Inspection& inspection, const std::string& mask = "") {
  return json::parse(toJson(inspection, {inspection.home, mask}));
}

const std::string FOLDER = "~/Library/Application Support/VantuOrlixVDILauncher/";

} // namespace

TEST(JsonReport, NamesTheChosenCopy) {
  const json report = render(test::sampleInspection());
  EXPECT_EQ(report["schemaVersion"], 1);
  EXPECT_EQ(report["outcome"]["code"], "would-start");
  EXPECT_EQ(
      report["chosen"], (json{{"directory", FOLDER + "45.12.0.900"}, {"version", "45.12.0.900"}}));
}

TEST(JsonReport, HoldsNullWhereNothingIsChosen) {
  const json report = render(Inspection());
  EXPECT_EQ(report["outcome"]["code"], "nothing-viable");
  EXPECT_TRUE(report["chosen"].is_null());
  EXPECT_TRUE(report["lastLaunch"]["chosen"].is_null());
  EXPECT_EQ(report["cleanUp"]["code"], "nothing-started");
}

TEST(JsonReport, HoldsTheFactsOfEachCandidateInScanOrder) {
  const test::ScopedEnvironment zone{"TZ", "Asia/Kolkata"};
  tzset();
  const json candidates = render(test::sampleInspection())["candidates"];
  ASSERT_EQ(candidates.size(), 7u);
  EXPECT_EQ(candidates[0]["directory"], "/Applications");
  EXPECT_EQ(candidates[0]["inLauncherFolder"], false);
  EXPECT_TRUE(candidates[0]["launches"].is_null());
  EXPECT_EQ(candidates[2]["lastLaunch"], "never");
  EXPECT_EQ(candidates[4]["launches"], 12);
  EXPECT_EQ(candidates[4]["lastLaunch"], "2026-03-07T19:35:09.007000000+05:30");
  EXPECT_EQ(candidates[4]["startedSafely"], true);
  EXPECT_EQ(candidates[3]["verdict"]["code"], "corrupt");
  EXPECT_TRUE(candidates[6]["version"].is_null());
}

TEST(JsonReport, HoldsTheCleanUp) {
  const json cleanUp = render(test::sampleInspection())["cleanUp"];
  EXPECT_EQ(cleanUp["code"], "happens");
  EXPECT_EQ(cleanUp["removed"], json::array());
  EXPECT_EQ(cleanUp["undefined"].size(), 2u);
  EXPECT_EQ(cleanUp["undefinedKept"], 1);
  EXPECT_EQ(cleanUp["kept"][0]["directory"], FOLDER + "45.12.0.950");
  EXPECT_EQ(cleanUp["kept"][1]["directory"], FOLDER + "45.12.0.900");
}

TEST(JsonReport, HoldsTheLastLaunch) {
  const json launch = render(test::sampleInspection())["lastLaunch"];
  EXPECT_EQ(launch["time"], "2026-03-07 14:05:06.001");
  EXPECT_EQ(launch["chosen"]["directory"], FOLDER + "45.12.0.900");
  EXPECT_EQ(launch["launches"], 12);
  EXPECT_EQ(launch["end"]["code"], "recorded");
  EXPECT_EQ(launch["removalFailures"], json::array({"Permission denied"}));
}

TEST(JsonReport, IsValidForAnyNameAndKeepsItsBytes) {
  Inspection inspection = test::sampleInspection();
  std::string everyByte;
  for (int byte = 1; byte < 256; ++byte) {
    if (byte != '/')
      everyByte += static_cast<char>(byte);
  }
  inspection.candidates[4].directory = inspection.launcherFolder / everyByte;
  inspection.candidates[4].version = "45.\xff";
  const json report = render(inspection);
  EXPECT_THAT(report["chosen"]["directory"].get<std::string>(), ::testing::HasSubstr("\uFFFD"));
  const std::string hex = report["chosen"]["directoryBytes"];
  std::string bytes;
  for (std::size_t i = 0; i < hex.size(); i += 2)
    bytes += static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, 16));
  EXPECT_EQ(bytes, FOLDER + everyByte);
  EXPECT_FALSE(report["candidates"][3].contains("directoryBytes"));
}

TEST(JsonReport, MasksTheLoginName) {
  const Inspection inspection = test::sampleInspection();
  EXPECT_EQ(render(inspection)["home"], "/home/alice");
  EXPECT_EQ(render(inspection, "alice")["home"], "/home/*****");
}

TEST(JsonReport, ShowsTimesBefore1970) {
  const test::ScopedEnvironment zone{"TZ", "UTC"};
  tzset();
  Inspection inspection = test::sampleInspection();
  inspection.candidates[4].records->lastLaunch = test::fileTime(-2, 250000000);
  EXPECT_EQ(
      render(inspection)["candidates"][4]["lastLaunch"], "1969-12-31T23:59:58.250000000+00:00");
}
