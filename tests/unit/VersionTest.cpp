#include "LauncherTest.h"

using testing::ElementsAreArray;

namespace {

using Components = std::vector<std::string>;

constexpr const char* BASE = "45.10.0.32950";

class Version : public test::LauncherTest {};

bool isGreater(const std::string& a, const std::string& b, std::uint32_t count = 4) {
  return ThinClientLauncherBase::isGreaterVersion(a, b, count);
}

} // namespace

TEST_F(Version, SplitsAtDots) {
  const struct {
    const char* version;
    Components expected;
  } rows[] = {
      {"45.10.0.32950", {"45", "10", "0", "32950"}},
      {"1..2", {"1", "", "2"}},
      {".5", {"", "5"}},
      {".", {""}},
      {"", {""}},
      {"45.10.", {"45", "10"}},
      {"45.10..", {"45", "10", ""}},
      {" 1 . 2 ", {" 1 ", " 2 "}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.version);
    EXPECT_THAT(ThinClientLauncherBase::splitVersion(row.version), ElementsAreArray(row.expected));
  }
}

TEST_F(Version, ComparesNumbers) {
  const struct {
    const char* a;
    const char* b;
    std::uint32_t count;
    bool expected;
  } rows[] = {
      {"45.11.0.1", BASE, 4, true},
      {BASE, "45.11.0.1", 4, false},
      {BASE, BASE, 4, false},
      {"45.10.1", BASE, 4, true},
      {"45.10.0.0", "45.9.0.0", 4, true},

      // Components that only b has are ignored; those that only a has make it greater.
      {"45.10", BASE, 4, false},
      {BASE, "45.10", 4, true},
      {"1.2.x", "1.2", 4, true},
      {"45.10.0.32950.7", BASE, 4, false},
      {"45.10.0.32950.7", BASE, 5, true},

      {"46.0", "45.99", 2, true},
      {"45.12.9.9", "45.12.0.1", 2, false},
      {"45.99", "45.0", 1, false},

      {"46", "45", 0, false},
      {"1.2", "", 0, false},
      {"1.1.1.1.2", "1.1.1.1.1", 4294967295U, true},

      // A component that is no number makes the answer false where it is reached.
      {"45.x.0.0", "45.10.0.0", 4, false},
      {"45.10.0.0", "45.x.0.0", 4, false},
      {"46.x", "45.1", 4, true},
      {"46.1", "45.x", 4, true},
      {"44.x", "45.1", 4, false},
      {"45..10", "45.0.9", 4, false},
      {"45.10.1", "45..0", 4, false},

      {"", "", 4, false},
      {"", "0", 4, false},
      {"9", "", 4, false},

      // A trailing dot changes nothing.
      {"45.10.", "45.10", 4, false},
      {"45.10", "45.10.", 4, false},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(std::string(row.a) + " > " + row.b + ", count " + std::to_string(row.count));
    EXPECT_EQ(isGreater(row.a, row.b, row.count), row.expected);
  }
}

TEST_F(Version, ReadsFormattedNumbers) {
  const struct {
    const char* component;
    std::int32_t number;
  } rows[] = {
      {"10beta", 10},
      {"1,000", 1},
      {"\t\n\v\f\r 7", 7},
      {"7 ", 7},
      {" +3", 3},
      {"-1", -1},
      {"-0", 0},
      {"010", 10},
      {"0x10", 0},
      {"2147483647", 2147483647},
      {"-2147483647", -2147483647},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.component);
    EXPECT_TRUE(isGreater(row.component, std::to_string(std::int64_t{row.number} - 1)));
    EXPECT_FALSE(isGreater(row.component, std::to_string(row.number)));
    EXPECT_FALSE(isGreater(std::to_string(row.number), row.component));
  }
  EXPECT_TRUE(isGreater("-2147483647", "-2147483648"));
}

TEST_F(Version, RejectsOtherTexts) {
  for (const char* component :
       {"x1",
        "word",
        " ",
        "+",
        "*1",
        "#1",
        "-",
        "+-1",
        "-+1",
        "++1",
        "--1",
        "+ 1",
        "- 1",
        "\u00A01",
        "2147483648",
        "-2147483649",
        "4294967296",
        "99999999999999999999999999"}) {
    SCOPED_TRACE(component);
    EXPECT_FALSE(isGreater(component, "-2147483648"));
    EXPECT_FALSE(isGreater("2147483647", component));
  }
}
