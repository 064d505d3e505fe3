#include "JsonReport.h"

#include "SampleFacts.h"

#include <gmock/gmock.h>

using namespace LauncherInspect;
using nlohmann::json;

TEST(JsonReport, IsTheReportInOrder) {
  const Report report = {{"b", "text"}, {"a", {{{"code", 1}}, nullptr}}};
  EXPECT_EQ(Report::parse(toJson(report)), report);
  EXPECT_EQ(toJson({{"b", 1}, {"a", 2}}), "{\n  \"b\": 1,\n  \"a\": 2\n}\n");
}

TEST(JsonReport, KeepsBytesOfAnyName) {
  std::string everyByte;
  for (int byte = 1; byte < 256; ++byte)
    everyByte += static_cast<char>(byte);
  const json report = json::parse(toJson({{"list", {{{"name", everyByte}, {"utf8", "ü\ufffd"}}}}}));
  const json object = report["list"][0];
  EXPECT_EQ(object.size(), 3u);
  EXPECT_THAT(object["name"].get<std::string>(), ::testing::HasSubstr("\uFFFD"));
  EXPECT_EQ(test::fromHex(object["nameBytes"]), everyByte);
}

TEST(JsonReport, IsAscii) {
  for (const char* text :
       {"\x7f", "\u009b", "\u202E", "\u061C", "ü", "\U000E0041", "\xff", "\x1b"}) {
    for (const char byte : toJson({{"a", text}}))
      EXPECT_TRUE((byte >= ' ' && byte < '\x7f') || byte == '\n') << int{byte};
  }
  EXPECT_EQ(toJson({{"a", "ü"}}), "{\n  \"a\": \"\\u00fc\"\n}\n");
}
