#include "screens/titles.h"

#include <gtest/gtest.h>

#include <string>

#include "screens/class_tables.h"
#include "screens/screen_naming.h"
#include "screens/title_words.h"

namespace zarn::screens {
namespace {

TEST(Titles, AreShortAndMadeOfWords) {
  for (const char* title : {"Cart", " Settings\n", "Order details", "Your cart", "Корзина",
                            "Мои сообщения", "CART", "Sign in", "Get started", "Cart (3)"}) {
    EXPECT_TRUE(isLikelyTitle(title)) << title;
  }
  for (const char* text :
       {"", "   ", "Hi", "Loading cart", "Please wait", "Untitled", "Screen_00c0ffee", "N/A",
        "12345", "12 34 ab", "!!!", "- - -", "Cart of 12,345,678.90", "カート", "购物车页面", "(a)",
        "Blue mug of the year", "This is the cart of someone else"}) {
    EXPECT_FALSE(isLikelyTitle(text)) << text;
  }
  const std::string longest = "cart cart cart cart cart cart ca";
  EXPECT_EQ(longest.size(), 32u);
  EXPECT_TRUE(isLikelyTitle(longest));
  EXPECT_FALSE(isLikelyTitle(longest + "r"));
}

TEST(Titles, KnowTheShareOfTheirWords) {
  EXPECT_TRUE(isLikelyTitle("My new cart order now"));     // 2 of 5
  EXPECT_FALSE(isLikelyTitle("My brand new cart thing"));  // 1 of 5
  EXPECT_TRUE(isLikelyTitle("A cart"));                    // single letters are no words
}

TEST(Titles, LoneWordsOfAnyTongueCanBeSpoken) {
  for (const char* word : {"Warenkorb",
                           "Inbox",
                           "Доставка",
                           "Überblick",
                           "Påmelding",
                           "Zahlungsmöglichkeiten",
                           "Geschichtsschreibung",
                           "Réglages",
                           "Oversigt",
                           "Взгляд",
                           "Schritt",
                           "Strengths",
                           "Kvitto",
                           "Ödeme",
                           "SMS",
                           "GPS",
                           "YouTube",
                           "LinkedIn",
                           "iPhone",
                           "Ре\u0301йсы",
                           "Niño",
                           "Καλάθι"}) {
    EXPECT_TRUE(isLikelyTitle(word)) << word;
  }
  for (const char* noise : {"xkcdqq", "Fgh1kl", "aaaa", "XXX", "aBcDeF", "qwrtpsdfg", "BCDFG",
                            "a1b2c3", "eBaY", "пртснкл"}) {
    EXPECT_FALSE(isLikelyTitle(noise)) << noise;
  }
}

TEST(Titles, SurviveBytesThatAreNoText) {
  EXPECT_FALSE(isLikelyTitle("\xff\xfe\xfd\xfc"));
  EXPECT_FALSE(isLikelyTitle(std::string("\0\0\0\0", 4)));
  EXPECT_TRUE(isLikelyTitle("Cart \xff orders"));
}

TEST(PlaceholderNames, SayNothing) {
  for (const char* name :
       {"Screen_0a1b2c3d", "CustomHostingView", "ImageLoadingView", "BackGesture", "SheetHelper",
        "NotificationView", "PrewarmingViewController", "Tab 3", "Please wait", "[name] [redacted]",
        "Hi [name]", "The kettle of [name]"}) {
    EXPECT_TRUE(isPlaceholderName(name)) << name;
  }
  for (const char* name :
       {"Cart", "xkcdqq", "Screen_0a1b2c3d4", "Screen_", "CartPage", "NotificationViewController",
        "Order details", "Order of [redacted]", "Chat with [name] [name]", "[name] Kettle"}) {
    EXPECT_FALSE(isPlaceholderName(name)) << name;
  }
}

// The tables were typed in once; a lost entry would go unnoticed.
TEST(Tables, AreWhole) {
  EXPECT_EQ(kTitleWords.size(), 138u);
  EXPECT_EQ(kHostedTypeNoise.size(), 126u);
  EXPECT_EQ(kSystemControllerNames.size(), 17u);
}

}  // namespace
}  // namespace zarn::screens
