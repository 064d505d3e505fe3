#include "DisplayText.h"

#include <gmock/gmock.h>

using namespace LauncherInspect;
using ::testing::ElementsAre;

namespace {

std::string utf8(unsigned character) {
  std::string bytes;
  for (int shift = 12; shift >= 0; shift -= 6)
    bytes += static_cast<char>((shift == 12 ? 0xE0 : 0x80) | ((character >> shift) & 0x3F));
  return bytes;
}

} // namespace

TEST(Escape, LayoutBreakers) {
  EXPECT_EQ(escape("a\nb"), "a\\nb");
  EXPECT_EQ(escape("a\tb\x1b[31m\x7f"), "a\\x09b\\x1b[31m\\x7f");
  EXPECT_EQ(escape("a\\b"), "a\\\\b");
  EXPECT_EQ(escape(std::string("a\0b", 3)), "a\\x00b");
  EXPECT_EQ(escape("\u009b"), "\\xc2\\x9b");
}

TEST(Escape, BytesThatAreNoUtf8) {
  EXPECT_EQ(escape("\xff\xc3"), "\\xff\\xc3");
  EXPECT_EQ(escape("\xc3\x28"), "\\xc3(");
}

TEST(Escape, InvisibleCharacters) {
  EXPECT_EQ(escape("a\u202Eb"), "a\\xe2\\x80\\xaeb");
  for (const auto& [first, last] :
       {std::pair(0x180Eu, 0x180Eu),
        {0x200B, 0x200F},
        {0x2028, 0x202E},
        {0x2060, 0x206F},
        {0x3164, 0x3164},
        {0xFEFF, 0xFEFF},
        {0xFFF9, 0xFFFB}}) {
    for (unsigned character = first; character <= last; ++character)
      EXPECT_EQ(escape(utf8(character)).substr(0, 2), "\\x") << std::hex << character;
  }
  for (const char* character : {"\u00AD", "\u061C", "\U000E0041"})
    EXPECT_EQ(escape(character).substr(0, 2), "\\x") << character;
}

TEST(Escape, UnassignedCharacters) {
  EXPECT_EQ(escape("\u0378"), "\\xcd\\xb8");
}

TEST(Escape, LeavesPrintableOnes) {
  EXPECT_EQ(escape("Ünï 日本 u\u0308"), "Ünï 日本 u\u0308");
}

TEST(Width, CountsColumns) {
  EXPECT_EQ(displayWidth("Ünïu\u0308"), 4u);
  EXPECT_EQ(displayWidth("日本"), 4u);
}

TEST(Shorten, ToAWidth) {
  EXPECT_EQ(shorten("45.12.0.900", 11), "45.12.0.900");
  EXPECT_EQ(shorten("45.12.0.9000", 11), "45.12.0....");
  EXPECT_EQ(shorten("日本日本日本", 8), "日本...");
}

TEST(Wrap, AfterBlanksAndSlashes) {
  EXPECT_THAT(wrap("one two three", 8), ElementsAre("one two", "three"));
  EXPECT_THAT(wrap("one two three", 7), ElementsAre("one two", "three"));
  EXPECT_THAT(wrap("one   two", 4), ElementsAre("one", "two"));
  EXPECT_THAT(wrap("~/one/two/three", 8), ElementsAre("~/one/", "two/", "three"));
  EXPECT_THAT(wrap("fits", 4), ElementsAre("fits"));
  EXPECT_THAT(wrap("", 4), ElementsAre(""));
}

TEST(Wrap, CutsLongWords) {
  EXPECT_THAT(wrap("abcdefghij", 4), ElementsAre("abcd", "efgh", "ij"));
  EXPECT_THAT(wrap("/bcdefghij", 4), ElementsAre("/bcd", "efgh", "ij"));
  EXPECT_THAT(wrap("abcd/ef", 4), ElementsAre("abcd", "/ef"));
  EXPECT_THAT(wrap("日本日本", 5), ElementsAre("日本", "日本"));
}

// A quadratic one takes minutes.
TEST(Wrap, LongTexts) {
  EXPECT_EQ(wrap(std::string(4'000'000, 'a'), 40).size(), 100'000u);
}
