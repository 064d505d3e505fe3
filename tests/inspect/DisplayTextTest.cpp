#include "DisplayText.h"

#include <gmock/gmock.h>

using namespace LauncherInspect;
using ::testing::ElementsAre;

TEST(DisplayText, EscapesWhatBreaksTheLayout) {
  EXPECT_EQ(escape("a\nb"), "a\\nb");
  EXPECT_EQ(escape("a\tb\x1b[31m\x7f"), "a\\x09b\\x1b[31m\\x7f");
  EXPECT_EQ(escape("a\\b"), "a\\\\b");
  EXPECT_EQ(escape(std::string("a\0b", 3)), "a\\x00b");
}

TEST(DisplayText, EscapesBytesThatAreNoUtf8) {
  EXPECT_EQ(escape("\xff\xc3"), "\\xff\\xc3");
  EXPECT_EQ(escape("\xc3\x28"), "\\xc3(");
}

TEST(DisplayText, EscapesCharactersThatReorderTheText) {
  EXPECT_EQ(escape("a\u202Eb"), "a\\xe2\\x80\\xaeb");
}

TEST(DisplayText, LeavesPrintableCharactersAlone) {
  EXPECT_EQ(escape("Ünï 日本"), "Ünï 日本");
}

TEST(DisplayText, CountsColumnsNotBytes) {
  EXPECT_EQ(displayWidth("Ünï"), 3u);
  EXPECT_EQ(displayWidth("日本"), 4u);
}

TEST(DisplayText, ShortensToAWidth) {
  EXPECT_EQ(shorten("45.12.0.900", 11), "45.12.0.900");
  EXPECT_EQ(shorten("45.12.0.9000", 11), "45.12.0....");
  EXPECT_EQ(shorten("日本日本日本", 8), "日本...");
}

TEST(DisplayText, WrapsAfterBlanksAndSlashes) {
  EXPECT_THAT(wrap("one two three", 8), ElementsAre("one two", "three"));
  EXPECT_THAT(wrap("~/one/two/three", 8), ElementsAre("~/one/", "two/", "three"));
  EXPECT_THAT(wrap("fits", 4), ElementsAre("fits"));
  EXPECT_THAT(wrap("", 4), ElementsAre(""));
}

TEST(DisplayText, CutsWhatHasNoPlaceToBreak) {
  EXPECT_THAT(wrap("abcdefghij", 4), ElementsAre("abcd", "efgh", "ij"));
  EXPECT_THAT(wrap("/bcdefghij", 4), ElementsAre("/bcd", "efgh", "ij"));
}
