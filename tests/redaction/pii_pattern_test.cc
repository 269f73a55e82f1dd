#include "redaction/pii_pattern.h"

#include <gtest/gtest.h>

#include <ctime>
#include <functional>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "base/text.h"
#include "redaction/pattern_prefilter.h"
#include "support/hostile_text.h"

namespace zarn::redaction {
namespace {

using Outcome = PiiPattern::Outcome;
using Ranges = std::vector<std::pair<std::size_t, std::size_t>>;

Ranges matches(const PiiPattern& pattern, std::string_view text) {
  PatternScratch scratch;
  PiiPattern::Match match;
  Ranges found;
  for (std::size_t from = 0;; from = match.end) {
    const Outcome outcome = pattern.find(text, from, scratch, match);
    EXPECT_NE(outcome, Outcome::unclear);
    if (outcome != Outcome::match) return found;
    found.emplace_back(match.begin, match.end);
  }
}

TEST(PiiPattern, guardsAndPrefilterChangeNoMatch) {
  std::mt19937 random(20240229);
  for (std::size_t row = 0; row < kPatternCount; ++row) {
    const PiiPattern bare(kPatternRows[row], {.guarded = false});
    const PiiPattern guarded(kPatternRows[row]);
    const PiiPattern interpreted(kPatternRows[row], {.compiled = false});
    std::size_t textsWithMatches = 0;
    for (int i = 0; i < 20000; ++i) {
      const std::string text = testing::hostileText(random, i % 10 == 0 ? 120 : 25);
      ASSERT_TRUE(base::isValidUtf8(text));
      const Ranges expected = matches(bare, text);
      ASSERT_EQ(matches(guarded, text), expected) << "row " << row << ": " << text;
      if (i % 4 == 0) {
        ASSERT_EQ(matches(interpreted, text), expected) << "row " << row << ": " << text;
      }
      if (expected.empty()) continue;
      ++textsWithMatches;
      ASSERT_NE(rowsThatMayMatch(text) & 1U << row, 0U) << "row " << row << ": " << text;
    }
    EXPECT_GT(textsWithMatches, 50U) << "row " << row << " was hardly tried";
  }
}

TEST(PiiPattern, prefilterLetsThroughEveryDigitAndSpaceOfUnicode) {
  const PiiPattern phone(kPatternRows[1]);
  const PiiPattern iban(kPatternRows[4]);
  PatternScratch scratch;
  PiiPattern::Match match;
  for (char32_t value = 0x80; value < 0x110000; ++value) {
    if (value == 0xD800) value = 0xE000;
    std::string one;
    base::appendCodePoint(one, value);
    std::string number = "1";
    for (int i = 0; i < 4; ++i) number += one + "(";
    number += one;
    std::string account = "D" + one + "12";
    for (int i = 0; i < 11; ++i) account += one;
    for (const auto& [row, pattern, text] :
         {std::tuple(1, &phone, &number), std::tuple(4, &iban, &account)}) {
      if (pattern->find(*text, 0, scratch, match) == Outcome::noMatch) continue;
      ASSERT_NE(rowsThatMayMatch(*text) & 1U << row, 0U) << *text;
    }
  }
}

TEST(PiiPattern, prefilterKeepsExpressionsAwayFromCleanText) {
  EXPECT_EQ(rowsThatMayMatch(""), 0U);
  EXPECT_EQ(rowsThatMayMatch("The quick brown fox (3 years, 12 kg) jumps over 17 lazy dogs."), 0U);
  EXPECT_EQ(rowsThatMayMatch("checkout-step-2"), 0U);
  EXPECT_EQ(rowsThatMayMatch("Größe wählen, 漢字"), 0U);
}

TEST(PiiPattern, aSearchThatMayNotFinishIsUnclear) {
  const std::string text = "a@" + std::string(5000, '.');
  for (const bool compiled : {false, true}) {
    const PiiPattern limited(kPatternRows[0], {.compiled = compiled, .stepLimit = 2});
    PatternScratch scratch;
    PiiPattern::Match match;
    EXPECT_EQ(limited.find(text, 0, scratch, match), Outcome::unclear) << compiled;
  }
  const PiiPattern broken(PatternRow{"(", nullptr, false});
  PatternScratch scratch;
  PiiPattern::Match match;
  EXPECT_EQ(broken.find("text", 0, scratch, match), Outcome::unclear);
}

std::string repeated(std::string_view piece, std::size_t size) {
  std::string text;
  while (text.size() < size) text += piece;
  return text;
}

/// Of this thread's own work, so that a busy machine changes nothing.
double processorSecondsFor(const std::function<void()>& work) {
  const auto now = [] {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
  };
  const double start = now();
  work();
  return now() - start;
}

TEST(PiiPattern, hostileTextCostsLinearTime) {
  // Sixteen times the text may cost far less than sixteen times sixteen.
  const std::vector<std::string> pieces = {
      "a",   "a@",           "a.",     "@a.",   "1",        "1 ",    "+1", "1-(",
      "eyJ", "eyJ-",         "-a",     "eyJa.", "eyJ.",     "@ab",   "-",  "12-",
      "K",   "1 1 1 1 1 1x", "AB12CD", "a@b.",  "é1 1 1 1", "a-b+c "};
  for (std::size_t row = 0; row < kPatternCount; ++row) {
    const PiiPattern pattern(kPatternRows[row]);
    for (const std::string& piece : pieces) {
      const std::string small = repeated(piece, 1 << 14);
      const std::string large = repeated(piece, 1 << 18);
      matches(pattern, small);
      const double one = processorSecondsFor([&] { matches(pattern, small); });
      const double sixteen = processorSecondsFor([&] { matches(pattern, large); });
      EXPECT_LT(sixteen, 100 * one + 0.02) << "row " << row << ": " << piece;
    }
  }
}

}  // namespace
}  // namespace zarn::redaction
