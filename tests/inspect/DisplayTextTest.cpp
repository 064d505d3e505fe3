#include "DisplayText.h"

#include "Terminal.h"

#include <array>
#include <glib.h>
#include <gmock/gmock.h>

using namespace LauncherInspect;
using ::testing::ElementsAre;
using ::testing::SizeIs;

namespace {

std::string utf8(gunichar character) {
  std::array<char, 6> bytes{};
  const int size = g_unichar_to_utf8(character, bytes.data());
  return {bytes.data(), static_cast<std::size_t>(size)};
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

// Characters that are invisible, reorder the text around them or fill a place with nothing.
TEST(Escape, LayoutCharacters) {
  EXPECT_EQ(escape("a\u202Eb"), "a\\xe2\\x80\\xaeb");
  constexpr std::pair<unsigned, unsigned> RANGES[] = {
      {0x80, 0x9F},       {0xAD, 0xAD},       {0x34F, 0x34F},     {0x61C, 0x61C},
      {0x115F, 0x1160},   {0x17B4, 0x17B5},   {0x180B, 0x180F},   {0x200B, 0x200F},
      {0x2028, 0x202E},   {0x2060, 0x206F},   {0x3164, 0x3164},   {0xFE00, 0xFE0F},
      {0xFEFF, 0xFEFF},   {0xFFA0, 0xFFA0},   {0xFFF0, 0xFFFB},   {0x110BD, 0x110BD},
      {0x13430, 0x13438}, {0x1BCA0, 0x1BCA3}, {0x1D173, 0x1D17A}, {0xE0000, 0xE0FFF}};
  for (const auto& [first, last] : RANGES) {
    for (unsigned character = first; character <= last; ++character)
      EXPECT_EQ(escape(utf8(character)).substr(0, 2), "\\x") << std::hex << character;
  }
}

TEST(Escape, UnassignedCharacters) {
  EXPECT_EQ(escape("\u0378"), "\\xcd\\xb8");
}

TEST(Escape, LeavesPrintableOnes) {
  EXPECT_EQ(escape("Ünï 日本 u\u0308 😀"), "Ünï 日本 u\u0308 😀");
}

TEST(Utf8, KnowsBrokenTexts) {
  EXPECT_TRUE(isUtf8(""));
  EXPECT_TRUE(isUtf8("a\\\n\x7f\u009b\u202E\u0378 Ünï 日本\ufffd"));
  for (const char* broken :
       {"\xff",
        "a\xc3",
        "\xc3\x28",
        "\xbf\x80",
        "\xed\xa0\x80",
        "\xc0\xaf",
        "\xe0\x9f\xbf",
        "\xf0\x8f\xbf\xbf",
        "\xf4\x90\x80\x80",
        "\xf5\x80\x80\x80",
        "\xf8\x88\x80\x80\x80"})
    EXPECT_FALSE(isUtf8(broken)) << escape(broken);
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
  EXPECT_THAT(wrap("fits   ", 4), ElementsAre("fits"));
  EXPECT_THAT(wrap("", 4), ElementsAre(""));
}

TEST(Wrap, CutsLongWords) {
  EXPECT_THAT(wrap("abcdefghij", 4), ElementsAre("abcd", "efgh", "ij"));
  EXPECT_THAT(wrap("/bcdefghij", 4), ElementsAre("/bcd", "efgh", "ij"));
  EXPECT_THAT(wrap("abcd/ef", 4), ElementsAre("abcd", "/ef"));
  EXPECT_THAT(wrap("日本日本", 5), ElementsAre("日本", "日本"));
  EXPECT_THAT(wrap("日a本", 1), ElementsAre("日", "a", "本"));
}

TEST(Wrap, UnlimitedWidth) {
  EXPECT_THAT(wrap(std::string(1000, 'a') + " b", UNLIMITED), SizeIs(1));
}
