// What a tap is called, and what of the screen must not be read for it.
#include "capture/tap_tracker.h"

#include <gtest/gtest.h>

#include "capture/capture_world.h"

namespace zarn::capture {
namespace {

using testing::NodePtr;

class TapTrackerTest : public ::testing::Test {
 protected:
  /// The label of the tap on this node; "none" when it is no tap.
  std::string labelOf(const NodePtr& node) {
    taps_.clear();
    tracker_.activated(ui_.view(node));
    return taps_.empty() ? "none" : taps_.at(0).label;
  }
  NodePtr within(const NodePtr& node, int levels) {
    NodePtr outer = node;
    for (int i = 0; i < levels; ++i) {
      outer = ui_.node({.classText = "V" + std::to_string(i), .frame = {0, 0, 300, 300}}, {outer});
    }
    return outer;
  }

  testing::FakeToolkit ui_;
  const screens::ViewPrivacy privacy_ = testPrivacy();
  std::vector<Tap> taps_;
  TapTracker tracker_{privacy_, [this](const Tap& tap) { taps_.push_back(tap); }};
};

TEST_F(TapTrackerTest, NamesTheControlAndWhereItIs) {
  const auto pay = ui_.button(" Pay ", {0, 0, 100, 40});
  const auto outer = within(pay, 8);
  EXPECT_EQ(labelOf(pay), "Pay");
  EXPECT_EQ(taps_[0].className, "Button");
  EXPECT_EQ(taps_[0].hierarchy, "Button > V0 > V1 > V2 > V3");
  pay->look.accessibilityLabel = "Pay now";
  EXPECT_EQ(labelOf(pay), "Pay now");
  pay->look.accessibilityLabel = " ";
  pay->look.text.clear();
  EXPECT_EQ(labelOf(pay), "Button");
  pay->look.text = "anna@example.org";
  EXPECT_EQ(labelOf(pay), "Button") << "nothing is left of it";
  pay->look.text = "Write to anna@example.org " + std::string(300, 'x');
  EXPECT_EQ(labelOf(pay).substr(0, 20), "Write to [redacted] ");
  EXPECT_EQ(taps_[0].label.size(), TapTracker::kLongestLabel);
  const auto toggle = ui_.node({.classText = "Switch",
                                .kind = platform::ViewKind::control,
                                .text = "Anna Smith",
                                .isControl = true});
  EXPECT_EQ(labelOf(toggle), "Switch") << "only what stands on a button is its label";
}

TEST_F(TapTrackerTest, WhatTakesTextIsNoTap) {
  EXPECT_EQ(labelOf(ui_.field({0, 0, 100, 40}, platform::TextContentType::none, "Anna")), "none");
  EXPECT_EQ(labelOf(ui_.secureField({0, 0, 100, 40}, "secret")), "none");
  EXPECT_EQ(labelOf(ui_.node({.classText = "SearchBox",
                              .kind = platform::ViewKind::control,
                              .text = "Anna",
                              .isControl = true,
                              .acceptsTextInput = true})),
            "none");
}

TEST_F(TapTrackerTest, DoesNotTellTheKeysOfAPad) {
  for (const char* key : {"7", " 0 ", "Q", "ж", "٣"}) {
    EXPECT_EQ(labelOf(ui_.button(key, {0, 0, 60, 60})), "Button") << key;
  }
  for (const char* sign : {"+", "10", "OK", "購入"}) {
    EXPECT_EQ(labelOf(ui_.button(sign, {0, 0, 60, 60})), sign);
  }
}

TEST_F(TapTrackerTest, ReadsNothingThatIsMaskedAnywhereAroundOrInside) {
  const auto inner = ui_.label("4111 1111", {0, 0, 50, 20});
  auto card = ui_.button("4111 1111", {0, 0, 100, 40});
  card->look.accessibilityLabel = "Card 4111 1111";
  card->add(ui_.node({.classText = "Row", .frame = {0, 0, 100, 40}}, {inner}));
  const auto outer = within(card, 12);
  EXPECT_EQ(labelOf(card), "Card 4111 1111");
  for (const NodePtr& masked : {card, outer, inner}) {
    masked->look.isMarkedPrivate = true;
    EXPECT_EQ(labelOf(card), "Button");
    masked->look.isMarkedPrivate = false;
  }
  // Where there is too much to look through, nothing is read.
  const auto deep = within(card, 400);
  EXPECT_EQ(labelOf(card), "Button");
  auto crowded = ui_.button("Pay", {0, 0, 100, 40});
  for (int i = 0; i < 100; ++i) crowded->add(ui_.node({}));
  EXPECT_EQ(labelOf(crowded), "Button");
}

TEST_F(TapTrackerTest, SurvivesAControlThatDiesWhileItIsAsked) {
  bool isStillAsked = true;
  for (int k = 1; isStillAsked; ++k) {
    ASSERT_LT(k, 200);
    const auto secret = ui_.button("Secret", {0, 0, 100, 40});
    const auto outer = within(secret, 3);
    outer->look.isMarkedPrivate = true;
    const int before = ui_.questions();
    ui_.killAfter(k, k % 2 == 0 ? secret : outer->children[0]);
    EXPECT_NE(labelOf(secret), "Secret");
    isStillAsked = ui_.questions() - before >= k;
  }
}

}  // namespace
}  // namespace zarn::capture
