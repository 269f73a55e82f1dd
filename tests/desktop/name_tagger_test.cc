#include "desktop/name_tagger.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "desktop/name_lexicon.h"
#include "support/hostile_text.h"

namespace zarn::desktop {
namespace {

using platform::TextRange;

/// The text with each name in brackets.
std::string tagged(const std::string& text) {
  std::vector<TextRange> names;
  DictionaryNameTagger().findNames(text, names);
  std::string result = text;
  for (auto name = names.rbegin(); name != names.rend(); ++name) {
    result.insert(name->end, "]").insert(name->begin, "[");
  }
  return result;
}

TEST(DictionaryNameTagger, findsNamesWithTheirSurnames) {
  for (const std::string text : {
           "Order by [Anna Schmidt] arrived",
           "[Maria]",
           "Hello [Thomas]!",
           "[John F. Kennedy] and [J. R. R. Johnson] met [Mary Ann O’Neill]",
           "[Jean-Pierre Dupont-Moretti], [Vincent van der Berg]",
           "[José García López] / [Søren Kierkegaard]",
           "[Ludwig von Unbekannt] wrote",
           "[Fatima al-Zahrawi] called",
           "[Nguyễn Thị Hương]",
           "from [Smith, John] today",
           "[Kowalska Katarzyna]",
           "[Иван Петров] и [Ольга Незнакомова]",
           "[JOHN SMITH] and [Jean DUPONTEL]",
           "[Anna]'s cart",
           "[Anna Zwolakowa] has paid",
           "(cc: [Priya Raghunathan])",
       }) {
    std::string plain;
    for (const char c : text) {
      if (c != '[' && c != ']') plain += c;
    }
    EXPECT_EQ(tagged(plain), text);
  }
}

TEST(DictionaryNameTagger, namesThatAreWordsNeedASurnameOrATitle) {
  for (const std::string text : {
           "Mark all as read",
           "Will you join us in May?",
           "Rose Gold, Olive Green",
           "Paris and Austin, by Grace",
           "[Will Smith] and [Mark J. Thompson]",
           "Mr [Mark]",
           "Dr. [Unknownson] and Frau Prof. [Meier-Xyz]",
           "Mme [de Villeneuve]",
           "Miss the Sale",
       }) {
    std::string plain;
    for (const char c : text) {
      if (c != '[' && c != ']') plain += c;
    }
    EXPECT_EQ(tagged(plain), text);
  }
}

TEST(DictionaryNameTagger, leavesProductTextsAlone) {
  for (const std::string text : {
           "",
           "Add To Cart",
           "Checkout",
           "Your Order Has Been Shipped",
           "Sign In With Email",
           "Summer Sale: 20% Off All Shoes",
           "Konto, Warenkorb, Einstellungen, Abmelden",
           "Mon, Jan 5 at 10:30",
           "SETTINGS",
           "anna in small letters",
           "AnnaViewController",
           "anna.Smith@example.org, Maria@Example.Org, @Maria_Rossi",
           "日本語のテキスト",
       }) {
    EXPECT_EQ(tagged(text), text);
  }
}

TEST(DictionaryNameTagger, everydayWordsEndAName) {
  EXPECT_EQ(tagged("Anna Settings"), "[Anna] Settings");
  EXPECT_EQ(tagged("Thomas Commented On Your Photo"), "[Thomas] Commented On Your Photo");
  EXPECT_EQ(tagged("Maria\nCheckout"), "[Maria]\nCheckout");
  EXPECT_EQ(tagged("Anna VIP"), "[Anna] VIP");
}

TEST(DictionaryNameTagger, rangesAreInOrderAndOnCharacterBoundaries) {
  std::mt19937 random(11);
  const std::vector<std::string> pieces = {"Anna", "Иван", "é",      " ",    ".",  "-",
                                           "'",    "’",    "Smith",  "van",  "Mr", "J.",
                                           ",",    "@a",   "\u0301", "Will", "\n"};
  const DictionaryNameTagger tagger;
  for (int i = 0; i < 20000; ++i) {
    std::string text;
    for (int left = 12; left > 0; --left) text += pieces[random() % pieces.size()];
    text += testing::hostileText(random, 4);
    std::vector<TextRange> names;
    tagger.findNames(text, names);
    std::size_t from = 0;
    for (const TextRange& name : names) {
      ASSERT_LE(from, name.begin) << text;
      ASSERT_LT(name.begin, name.end) << text;
      ASSERT_LE(name.end, text.size()) << text;
      ASSERT_NE(static_cast<unsigned char>(text[name.begin]) & 0xC0, 0x80) << text;
      from = name.end;
    }
  }
}

TEST(NameLexicon, foldsCaseAndAccents) {
  const NameLexicon& lexicon = NameLexicon::shared();
  EXPECT_GT(lexicon.size(), 5000U);
  EXPECT_LT(lexicon.size(), 11000U);
  EXPECT_NE(lexicon.kindsOf("JOSÉ") & kGivenName, 0U);
  EXPECT_NE(lexicon.kindsOf("Łukasz") & kGivenName, 0U);
  EXPECT_NE(lexicon.kindsOf("Şükrü") & kGivenName, 0U);
  EXPECT_NE(lexicon.kindsOf("Müller") & kSurname, 0U);
  EXPECT_NE(lexicon.kindsOf("O'Connor") & kSurname, 0U);
  EXPECT_NE(lexicon.kindsOf("Семёнов") & kSurname, 0U);
  EXPECT_NE(lexicon.kindsOf("Hương") & kGivenName, 0U);
  EXPECT_EQ(lexicon.kindsOf("checkoutbutton"), 0U);
  EXPECT_EQ(lexicon.kindsOf(std::string(500, 'a')), 0U);
  EXPECT_EQ(lexicon.kindsOf(""), 0U);
}

}  // namespace
}  // namespace zarn::desktop
