#include "base/text.h"

#include <gtest/gtest.h>

#include <chrono>
#include <random>
#include <string>

namespace zarn::base {
namespace {

TEST(Text, badBytesBecomeReplacementCharacters) {
  const struct {
    std::string text;
    std::string repaired;
  } cases[] = {
      {"", ""},
      {"plain ASCII that is longer than a word", "plain ASCII that is longer than a word"},
      {"é漢😀", "é漢😀"},
      {"a\x80z", "a\uFFFDz"},
      {"\xC0\xAF", "\uFFFD\uFFFD"},                      // overlong
      {"\xE0\x80\x80", "\uFFFD\uFFFD\uFFFD"},            // overlong
      {"\xED\xA0\x80", "\uFFFD\uFFFD\uFFFD"},            // a surrogate
      {"\xF4\x90\x80\x80", "\uFFFD\uFFFD\uFFFD\uFFFD"},  // past the last code point
      {"\xF0\x9F\x98", "\uFFFD"},                        // cut short
      {"\xF0\x9F\x98x\xC3", "\uFFFDx\uFFFD"},
      {"12345678\xFF"
       "12345678",
       "12345678\uFFFD12345678"},
      {std::string("a\0b", 3), std::string("a\0b", 3)},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(replaceInvalidUtf8(c.text), c.repaired);
    EXPECT_EQ(isValidUtf8(c.text), c.text == c.repaired) << c.repaired;
    EXPECT_TRUE(isValidUtf8(c.repaired));
  }
}

TEST(Text, everyCodePointIsReadBack) {
  for (char32_t value = 0; value < 0x110000; ++value) {
    if (value == 0xD800) value = 0xE000;
    std::string text;
    appendCodePoint(text, value);
    ASSERT_TRUE(isValidUtf8(text));
    ASSERT_EQ(codePointAt(text, 0).value, value);
    ASSERT_EQ(codePointAt(text, 0).length, text.size());
  }
}

TEST(Text, charactersAreWhatPeopleSee) {
  const struct {
    std::string text;
    std::size_t characters;
  } cases[] = {
      {"", 0},
      {"abc", 3},
      {"a\r\nb", 3},
      {"\n\r", 2},
      {"e\u0301", 1},
      {"é\u0301漢\u0301", 2},
      {"👩‍👩‍👧‍👦", 1},
      {"🇩🇪🇫🇷🇩", 3},
      {"👍🏽!", 2},
      {"😀😀👍🏽👍🏽❤\uFE0F❤", 6},
      {"🏳\uFE0F\u200D🌈🏳\uFE0F\u200D🌈", 2},
      {"a\u200D😀", 2},
      {"한국", 2},
      {"\u1112\u1161\u11AB", 1},
      {"©\uFE0F©", 2},
      {"\u0600"
       "1",
       1},  // a sign that joins what follows it
      {"नि", 1},
      {"a\xFF\xFFz", 4},
      {"e\u0301\xCC", 2},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(countCharacters(c.text, 100), c.characters) << c.text;
    EXPECT_EQ(prefixOfCharacters(c.text, c.characters), c.text) << c.text;
  }
  EXPECT_EQ(countCharacters("abcdef", 4), 4U);
  EXPECT_EQ(prefixOfCharacters("e\u0301e\u0301e\u0301", 2), "e\u0301e\u0301");
  EXPECT_EQ(prefixOfCharacters("a\r\nb", 2), "a\r\n");
  EXPECT_EQ(prefixOfCharacters("abc", 0), "");
}

TEST(Text, hugeAndOddCharactersAreMeasuredInLinearTime) {
  const auto start = std::chrono::steady_clock::now();
  for (const std::string piece :
       {"\u0301", "🇩", "👩\u200D", "👩", "👩\uFE0F", "한", "\u1112", "é", "\xE2\x82"}) {
    std::string text = "a";
    while (text.size() < 1'000'000) text += piece;
    const std::size_t characters = countCharacters(text, text.size());
    EXPECT_GE(characters, 1U);
    EXPECT_EQ(prefixOfCharacters(text, characters).size(), text.size());
  }
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
}

TEST(Text, trimsUnicodeSpacesAndLineEnds) {
  EXPECT_EQ(trimmed(" \t\r\n\u00A0\u2003 a b \u3000\u2028\u0085"), "a b");
  EXPECT_EQ(trimmed("\u2009\n"), "");
  EXPECT_EQ(trimmed("漢"), "漢");
  EXPECT_EQ(trimmed("\x80 a \xFF"), "\x80 a \xFF");
}

TEST(Text, lowersTheLettersOfManyLanguages) {
  EXPECT_EQ(lowerCase("ÀÖØÞ×ß ĀŁŻŸŽİ ΑΆΏΣ АЯЁҐЇ ԱՖ ẞẾ Ə Ơ Ư"),
            "àöøþ×ß āłżÿži αάώσ аяёґї աֆ ßế ə ơ ư");
  EXPECT_EQ(lowerCase("already lower, 123 漢 \xFF"), "already lower, 123 漢 \xFF");
  EXPECT_EQ(lowerCaseAscii("ABCz É"), "abcz É");
}

TEST(Text, IsCutBetweenCodePointsWhereBytesAreCounted) {
  EXPECT_EQ(prefixOfBytes("a\u00e9\u4e2d", 6), "a\u00e9\u4e2d");
  EXPECT_EQ(prefixOfBytes("a\u00e9\u4e2d", 5), "a\u00e9");
  EXPECT_EQ(prefixOfBytes("a\u00e9\u4e2d", 2), "a");
  EXPECT_EQ(prefixOfBytes("\u4e2d", 2), "");
  EXPECT_EQ(prefixOfBytes("\x80\x80\x80\x80\x80", 4).size(), 1u);  // no more than one is given up
}

}  // namespace
}  // namespace zarn::base
