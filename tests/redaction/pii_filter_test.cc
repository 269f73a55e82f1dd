#include "redaction/pii_filter.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <thread>
#include <vector>

#include "base/text.h"
#include "redaction/luhn.h"
#include "redaction/pii_pattern.h"
#include "support/fake_name_tagger.h"
#include "support/hostile_text.h"

namespace zarn::redaction {
namespace {

using testing::FakeNameTagger;

std::string scrubbed(std::string_view text) {
  const FakeNameTagger noNames;
  return PiiFilter(noNames).scrub(text).text;
}

TEST(PiiFilter, redactsWhatItsExpressionsFind) {
  const struct {
    std::string text;
    std::string result;
  } cases[] = {
      {"Mail anna@example.org or BOB.x+y@mail.example.COM now",
       "Mail [redacted] or [redacted] now"},
      {"Call +49 (30) 123-456 78!", "Call [redacted]!"},
      {"4111 1111 1111 1111", "[redacted]"},
      {"ssn 123-45-6789.", "ssn [redacted]."},
      {"to DE89ABCDEFGH0440X", "to [redacted]"},
      {"Bearer eyJhbGci.eyJzdWIi.c2ln", "Bearer [redacted]"},
      {"thanks @some_one", "thanks [redacted]"},
      {"id 0a1b2c3d4e5f60718293a4b5c6d7e8f9", "id [redacted]"},
      {"٠١٢٣٤٥٦٧٨٩", "[redacted]"},
      {"Karl@example.org", "[redacted]"},  // begins with the Kelvin sign
      {"plain text, 12 items for 59.90", "plain text, 12 items for 59.90"},
      {"", ""},
  };
  for (const auto& c : cases) {
    const FakeNameTagger noNames;
    const Scrubbed result = PiiFilter(noNames).scrub(c.text);
    EXPECT_EQ(result.text, c.result);
    EXPECT_EQ(result.changed, c.result != c.text) << c.text;
  }
}

TEST(PiiFilter, eachExpressionSeesTheOutputOfTheOneBefore) {
  EXPECT_EQ(scrubbed("a@example.org"), "[redacted]");  // not a[redacted] by the handle's expression
  // A number that is no card is still taken for a phone number.
  EXPECT_EQ(scrubbed("4111 1111 1111 1112"), "[redacted]");
}

TEST(PiiFilter, cardNumbersMustPassTheirCheck) {
  const PiiPattern card(kPatternRows[2]);
  std::string text = "4111 1111 1111 1112 and 4111-1111-1111-1111, 5500000000000004";
  EXPECT_TRUE(redactMatches(card, text));
  EXPECT_EQ(text, "4111 1111 1111 1112 and [redacted], [redacted]");
  EXPECT_FALSE(redactMatches(card, text));

  EXPECT_TRUE(passesLuhn("٤١١١١١١١١١١١١١١١"));
  EXPECT_TRUE(passesLuhn("4-2-2-2-2-2-2-2-2-2-2-2-2"));
  EXPECT_FALSE(passesLuhn("000000000000"));          // 12 digits
  EXPECT_TRUE(passesLuhn("0000000000000000000"));    // 19
  EXPECT_FALSE(passesLuhn("00000000000000000000"));  // 20
}

TEST(PiiFilter, namesGoFirstInTextAndLastInRecognisedText) {
  const FakeNameTagger tagger({"Anna", "redacted"});
  const PiiFilter filter(tagger);
  EXPECT_EQ(filter.scrub("Anna, anna@example.org").text, "[name], [redacted]");
  EXPECT_EQ(filter.scrubRecognised("Anna, anna@example.org").text, "[name], [[name]]");
  EXPECT_EQ(filter.scrubPatterns("Anna, anna@example.org").text, "Anna, [redacted]");
  EXPECT_TRUE(filter.scrub("Hi Anna").changed);
  EXPECT_FALSE(filter.scrubPatterns("Hi Anna").changed);
}

TEST(PiiFilter, shortTextsAreNotSearchedForNames) {
  const FakeNameTagger tagger({"Bo", "👩‍👩‍👧"});
  const PiiFilter filter(tagger);
  EXPECT_EQ(filter.scrub("Bo!").text, "Bo!");
  EXPECT_EQ(filter.scrub("Bo👩‍👩‍👧").text,
            "Bo👩‍👩‍👧");  // 20 bytes, but 3 characters
  EXPECT_EQ(filter.scrub("Bo!!").text, "[name]!!");
  EXPECT_EQ(filter.scrub("Hi 👩‍👩‍👧").text,
            "Hi 👩‍👩‍👧");  // a name has two characters
  EXPECT_EQ(filter.scrub("\u0661@x").text, "\u0661@x");
}

TEST(PiiFilter, rangesThatAreNotPiecesOfTheTextAreSkipped) {
  FakeNameTagger tagger;
  tagger.giveRanges({{0, 3}, {2, 4}, {4, 2}, {5, 7}, {6, 8}, {8, 99}, {10, 13}});
  const Scrubbed result = PiiFilter(tagger).scrub("Ana  éé Bob!");
  EXPECT_EQ(result.text, "[name]  éé [name]!");
}

TEST(PiiFilter, onlyTheFirst256CharactersOfABoundedTextAreFiltered) {
  const FakeNameTagger noNames;
  const PiiFilter filter(noNames);
  const std::string tail = " tail@example.org";
  const std::string blanks(280, ' ');
  EXPECT_EQ(filter.scrubBounded(blanks + tail).text, blanks + tail);
  EXPECT_FALSE(filter.scrubBounded(blanks + tail).changed);
  EXPECT_EQ(filter.scrubBounded("head@example.org" + blanks + tail).text,
            "[redacted]" + blanks + tail);
  EXPECT_TRUE(filter.scrubBounded("head@example.org" + blanks + tail).changed);
  // Characters as people see them: 240 CR LF pairs are 240 of them.
  std::string lines;
  for (int i = 0; i < 239; ++i) lines += "\r\n";
  EXPECT_EQ(filter.scrubBounded(lines + tail).text, lines + " [redacted]");
  EXPECT_EQ(filter.scrubBounded(lines + tail + "x").text.find("tail"), std::string::npos);
  EXPECT_EQ(filter.scrubBounded("").text, "");
}

TEST(PiiFilter, badBytesComeBackRepairedAndFiltered) {
  const FakeNameTagger noNames;
  const PiiFilter filter(noNames);
  const Scrubbed clean = filter.scrub("a\xFFz");
  EXPECT_EQ(clean.text, "a\uFFFDz");
  EXPECT_FALSE(clean.changed);
  EXPECT_EQ(filter.scrub("\xC3 anna@example.org \xE2\x82").text, "\uFFFD [redacted] \uFFFD");
  EXPECT_EQ(filter.scrubBounded("\xFF" + std::string(300, 'x')).text.substr(0, 3), "\uFFFD");
}

TEST(PiiFilter, whatCantBeToldIsRedactedFromThereOn) {
  const PiiPattern limited(kPatternRows[0], {.compiled = false, .stepLimit = 200});
  std::string text = "a@b.org and a@" + std::string(5000, '.') + " secret";
  EXPECT_TRUE(redactMatches(limited, text));
  EXPECT_EQ(text, "[redacted][redacted]");
}

TEST(PiiFilter, manyThreadsShareOneFilter) {
  const FakeNameTagger tagger({"Anna"});
  const PiiFilter filter(tagger);
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&] {
      for (int i = 0; i < 500; ++i) {
        EXPECT_EQ(filter.scrub("Anna x@example.org +49 30 1234567").text,
                  "[name] [redacted] [redacted]");
      }
    });
  }
  for (auto& thread : threads) thread.join();
}

TEST(PiiFilter, nothingThatItsLastExpressionsFindSurvives) {
  const FakeNameTagger noNames;
  const PiiFilter filter(noNames);
  const PiiPattern address(kPatternRows[0]);
  const PiiPattern token(kPatternRows[7]);
  std::mt19937 random(7);
  for (int i = 0; i < 20000; ++i) {
    const Scrubbed result = filter.scrub(testing::hostileText(random, 60));
    std::string text = result.text;
    ASSERT_FALSE(redactMatches(address, text)) << result.text;
    ASSERT_FALSE(redactMatches(token, text)) << result.text;
  }
}

}  // namespace
}  // namespace zarn::redaction
