#include "redaction/redaction_engine.h"

#include <gtest/gtest.h>

#include <limits>

#include "redaction/cover.h"
#include "support/secret_scene.h"

namespace zarn::redaction {
namespace {

using base::Rect;
using platform::TextContentType;
using platform::ViewKind;
using testing::NodeLook;
using testing::NodePtr;

class RedactionEngineTest : public ::testing::Test {
 protected:
  bool masks(NodeLook look) { return engine_.shouldMask(ui_.view(ui_.node(std::move(look)))); }
  bool masksField(TextContentType type, ViewKind kind = ViewKind::textField) {
    return masks({.kind = kind, .contentType = type, .acceptsTextInput = true});
  }
  NodePtr root(std::vector<NodePtr> children) {
    return ui_.node({.frame = {0, 0, 390, 844}}, std::move(children));
  }
  std::vector<Rect> rectsIn(const NodePtr& root) {
    std::vector<Rect> rects;
    EXPECT_TRUE(engine_.collectRects(ui_.view(root), ui_.view(root), rects));
    return rects;
  }
  NodePtr secret(Rect frame) { return ui_.node({.frame = frame, .isMarkedPrivate = true}); }

  testing::FakeToolkit ui_;
  RedactionEngine engine_;
};

TEST_F(RedactionEngineTest, MasksSecretsWhateverTheSettings) {
  engine_.setMaskInputs(false);
  EXPECT_TRUE(masks({.isMarkedPrivate = true}));
  EXPECT_TRUE(masks({.kind = ViewKind::textField, .isSecureTextEntry = true}));
  EXPECT_TRUE(masks({.kind = ViewKind::textView, .isSecureTextEntry = true}));
  EXPECT_TRUE(masks({.kind = ViewKind::web}));
  EXPECT_TRUE(masks({.kind = ViewKind::media}));
  EXPECT_TRUE(masks({.kind = ViewKind::image, .layer = {.hasVideo = true}}));
  EXPECT_TRUE(engine_.shouldMask(platform::View()));
  for (const auto kind : {ViewKind::plain, ViewKind::other, ViewKind::control, ViewKind::label}) {
    EXPECT_TRUE(masksField(TextContentType::none, kind)) << static_cast<int>(kind);
  }
  EXPECT_FALSE(masks({.kind = ViewKind::label, .text = "Cart"}));
  EXPECT_FALSE(masks({.kind = ViewKind::button, .isControl = true}));
}

TEST_F(RedactionEngineTest, MasksFieldsByWhatIsTypedIntoThem) {
  for (const auto type :
       {TextContentType::creditCardNumber, TextContentType::password, TextContentType::newPassword,
        TextContentType::oneTimeCode, TextContentType::telephoneNumber}) {
    engine_.setMaskInputs(true);
    EXPECT_TRUE(masksField(type));
    EXPECT_TRUE(masksField(type, ViewKind::textView));
    engine_.setMaskInputs(false);
    EXPECT_FALSE(masksField(type));
  }
  engine_.setMaskInputs(true);
  EXPECT_FALSE(masksField(TextContentType::none));
  EXPECT_FALSE(masksField(TextContentType::emailAddress));
}

TEST_F(RedactionEngineTest, MasksByCategory) {
  const std::vector<std::pair<std::string, std::vector<ViewKind>>> kinds = {
      {"image", {ViewKind::image}},
      {"text", {ViewKind::label, ViewKind::textView}},
      {"map", {ViewKind::map}}};
  for (const auto& [word, masked] : kinds) {
    const std::vector<std::string> words = {"video", word};
    engine_.setAutoMaskCategories(words);
    for (const auto kind : {ViewKind::image, ViewKind::label, ViewKind::textView, ViewKind::map,
                            ViewKind::button, ViewKind::plain}) {
      EXPECT_EQ(masks({.kind = kind}), std::ranges::find(masked, kind) != masked.end()) << word;
    }
  }
  engine_.setAutoMaskCategories({});
  EXPECT_FALSE(masks({.kind = ViewKind::image}));
}

TEST_F(RedactionEngineTest, MasksClassesThatTheAppNames) {
  engine_.addSensitiveClass("IbanLabel", false);
  engine_.addSensitiveClass("AccountView", true);
  EXPECT_TRUE(masks({.classText = "IbanLabel"}));
  EXPECT_FALSE(masks({.classText = "LongIbanLabel", .baseClasses = {"IbanLabel"}}));
  EXPECT_TRUE(masks({.classText = "AccountView"}));
  EXPECT_TRUE(masks({.classText = "SavingsView", .baseClasses = {"View", "AccountView"}}));
  EXPECT_FALSE(masks({.classText = "CartView", .baseClasses = {"View"}}));
}

TEST_F(RedactionEngineTest, AMaskHoldsForWhatIsInside) {
  const NodePtr inside = ui_.label("12", {0, 0, 10, 10});
  const NodePtr outside = ui_.label("34", {0, 0, 10, 10});
  const NodePtr top = root(
      {ui_.node({.isMarkedPrivate = true}, {ui_.node({}, {inside})}), ui_.node({}, {outside})});
  EXPECT_TRUE(engine_.isMaskedWithin(ui_.view(inside)));
  EXPECT_FALSE(engine_.isMaskedWithin(ui_.view(outside)));
  EXPECT_TRUE(engine_.isMaskedWithin(platform::View()));
}

TEST_F(RedactionEngineTest, RectanglesAreWhatIsToBeSeen) {
  const NodePtr half = secret({380, 100, 40, 20});
  const NodePtr hidden = secret({0, 0, 10, 10});
  hidden->look.isHidden = true;
  const NodePtr faint = secret({0, 0, 10, 10});
  faint->look.alpha = 0.001;
  const NodePtr pale = secret({0, 600, 10, 10});
  pale->look.alpha = 0.05;
  const NodePtr inside = ui_.secureField({5, 5, 10, 10});
  const NodePtr around = ui_.node({.frame = {0, 200, 50, 50}, .isMarkedPrivate = true}, {inside});
  const NodePtr list = ui_.node({.frame = {0, 300, 390, 100}, .clipsChildren = true},
                                {secret({0, -10, 50, 30}), secret({0, 100, 50, 30})});
  const NodePtr top = root({half, hidden, faint, around, list, secret({400, 0, 50, 50}),
                            secret({10, 500, 0, 20}), pale});
  EXPECT_EQ(rectsIn(top),
            (std::vector<Rect>{
                {380, 100, 10, 20}, {0, 200, 50, 50}, {0, 300, 50, 20}, {0, 600, 10, 10}}));
}

TEST_F(RedactionEngineTest, NoPictureDependsOnASecret) {
  testing::SecretScene scene(ui_);
  const auto screen = ui_.screen({.view = scene.page});
  const NodePtr window = ui_.window(screen);
  const auto picture = [&](std::uint32_t color, double maxWidth) {
    scene.colour(color);
    platform::Bitmap bitmap;
    EXPECT_TRUE(ui_.windows.draw(ui_.view(window), maxWidth, bitmap));
    cover(bitmap, rectsIn(window));
    return bitmap;
  };
  for (const double maxWidth : {390.0, 123.4}) {
    const platform::Bitmap red = picture(0xff0000, maxWidth);
    EXPECT_EQ(red.pixels, picture(0x00ff00, maxWidth).pixels) << maxWidth;
    const auto black = static_cast<double>(std::ranges::count(red.pixels, 0));
    EXPECT_LT(black, static_cast<double>(red.pixels.size()) * 0.2) << "most of it is to be seen";
  }
}

TEST_F(RedactionEngineTest, WhatABoundedLookDoesNotReachIsCovered) {
  std::vector<NodePtr> many(20'000);
  for (NodePtr& node : many) node = ui_.node({.frame = {0, 0, 1, 1}});
  many.back()->look.isMarkedPrivate = true;
  const Rect box{10, 20, 100, 50};
  const NodePtr list = ui_.node({.frame = box, .clipsChildren = true}, many);
  EXPECT_EQ(rectsIn(root({list})), std::vector<Rect>{box});
  EXPECT_LT(ui_.questions(), 60'000);

  NodePtr deep = secret({0, 0, 1, 1});
  for (int level = 0; level < 5'000; ++level) deep = ui_.node({.frame = {0, 0, 9, 9}}, {deep});
  EXPECT_EQ(rectsIn(root({deep})), (std::vector<Rect>{{0, 0, 390, 844}}));

  const NodePtr collapsed = secret({0, std::numeric_limits<double>::quiet_NaN(), 10, 10});
  EXPECT_EQ(rectsIn(root({collapsed})), (std::vector<Rect>{{0, 0, 390, 844}}));
}

// A dead node is drawn no more; all others stay hidden.
TEST_F(RedactionEngineTest, SurvivesTheDeathOfAnyViewAtAnyQuestion) {
  bool isOver = false;
  for (int question = 1; !isOver; ++question) {
    for (const int victim : {0, 1, 2}) {
      testing::FakeToolkit ui;
      testing::SecretScene scene(ui);
      const NodePtr window = ui.window(ui.screen({.view = scene.page}));
      const auto before = ui.questions();
      ui.killAfter(question, victim == 0 ? scene.list : victim == 1 ? scene.secrets[4] : window);
      std::vector<Rect> rects;
      const bool isWhole = engine_.collectRects(ui.view(window), ui.view(window), rects);
      isOver = ui.questions() - before < question;
      if (isOver) break;
      EXPECT_EQ(isWhole, victim != 2) << question;
      if (!isWhole) continue;
      const auto picture = [&](std::uint32_t color) {
        scene.colour(color);
        platform::Bitmap bitmap;
        EXPECT_TRUE(ui.windows.draw(ui.view(window), 39, bitmap));
        cover(bitmap, rects);
        return bitmap.pixels;
      };
      EXPECT_EQ(picture(0xff0000), picture(0x00ff00)) << question;
    }
  }
}

TEST(CoverTest, CoversWholePixels) {
  platform::Bitmap bitmap{.width = 10, .height = 10, .scale = 0.5, .pixels = {}};
  const auto covered = [&](Rect rect) {
    bitmap.pixels.assign(400, 77);
    cover(bitmap, std::span(&rect, 1));
    int count = 0;
    for (std::size_t at = 0; at < 400; at += 4) {
      const bool isBlack = bitmap.pixels[at] == 0 && bitmap.pixels[at + 1] == 0 &&
                           bitmap.pixels[at + 2] == 0 && bitmap.pixels[at + 3] == 255;
      count += isBlack ? 1 : 0;
    }
    return count;
  };
  EXPECT_EQ(covered({4, 4, 4, 4}), 16) << "two by two, and one around";
  EXPECT_EQ(covered({3.9, 3.9, 4.2, 4}), 30) << "six columns, five rows";
  EXPECT_EQ(bitmap.row(0)[0], 0);
  EXPECT_EQ(covered({0, 0, 0.1, 0.1}), 4);
  EXPECT_EQ(covered({-5, -5, 1e300, 1e300}), 100);
  EXPECT_EQ(covered({1e300, 0, 5, 5}), 0);
  EXPECT_EQ(covered({std::numeric_limits<double>::quiet_NaN(), 0, 1, 1}), 100);
}

TEST(MaskTextTest, KeepsLengthAndWords) {
  EXPECT_EQ(maskText(""), "");
  EXPECT_EQ(maskText("A b"), "• •");
  EXPECT_EQ(maskText("Tür\n\t42\u00a0€"), "•••\n\t••\u00a0•");
  EXPECT_EQ(maskText("e\u0301👨‍👩‍👧"), "••");
  EXPECT_EQ(maskText("\xff."), "••");
}

}  // namespace
}  // namespace zarn::redaction
