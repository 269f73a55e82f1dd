#include <gtest/gtest.h>

#include <algorithm>

#include "base/base64.h"
#include "base/json.h"
#include "base/members.h"
#include "capture/screenshot_capture.h"
#include "redaction/redaction_engine.h"
#include "runtime/privacy_state.h"
#include "support/fake_services.h"
#include "support/manual_dispatch.h"
#include "support/scripted_http.h"
#include "support/secret_scene.h"

namespace zarn::capture {
namespace {

using model::ScreenState;
using testing::NodePtr;
using testing::ScreenPtr;

constexpr const char* kCheck = "/api/sdk/screenshot/check";
constexpr const char* kUpload = "/api/sdk/screenshot";
constexpr const char* kMissing = R"({"exists":false})";
const model::ScreenshotsConfig kSmall{.maxWidth = 39};

/// What screenshots need of a client, on virtual time, with one screen in one window.
class ScreenshotTest : public ::testing::Test {
 protected:
  ScreenshotTest() { update(kSmall); }

  void update(model::ScreenshotsConfig config, std::optional<std::string> appId = "app-1") {
    capture_.update(std::move(config), std::move(appId), "release-1");
  }
  void exclude(std::string entry) {
    update({.excludedScreens = std::vector<std::string>{std::move(entry)}});
  }
  void offer(std::string_view name = "Cart") {
    capture_.offer(ui_.screenOf(screen_), {.name = name,
                                           .fallbackName = "Screen_0a1b2c3d",
                                           .className = "CartPage",
                                           .state = state_});
  }
  void rest() { dispatch_.advance(1.5); }
  void offerAndRest(std::string_view name = "Cart") {
    offer(name);
    rest();
  }
  void answer(const char* path, int status, std::string body = "{}") {
    http_.answer(path, status, std::move(body));
    dispatch_.runUntilIdle();
  }
  /// From the offer to a picture that the server has taken.
  void upload() {
    offerAndRest();
    answer(kCheck, 200, kMissing);
    answer(kUpload, 200);
  }
  int checks() const { return http_.countOf(kCheck); }
  int uploads() const { return http_.countOf(kUpload); }
  Properties body(const char* path) const {
    const auto parsed = base::parseJson(http_.bodyOf(path));
    return parsed && parsed->asProperties() ? *parsed->asProperties() : Properties();
  }
  std::string keyOf(const char* path) const {
    return base::stringMember(body(path), "screen_name").value_or("");
  }
  /// The state's key of an offer, as the server is asked about it.
  std::string keyAskedFor(std::string_view name) {
    offerAndRest(name);
    std::string key = http_.waitingCount(kCheck) > 0 ? keyOf(kCheck) : "";
    if (!key.empty()) answer(kCheck, 500);
    return key;
  }
  void optOut() {
    runtime::writeOptOut(defaults_);
    privacy_.beginOptOut(runtime::PrivacyState::Origin::here);
    guard_.cancelAllGuarded();
    capture_.cancelAll();
  }
  void optIn() {
    runtime::writeOptIn(defaults_);
    privacy_.completeOptIn(runtime::PrivacyState::Origin::here);
  }

  testing::ManualClock clock_;
  testing::ManualDispatch dispatch_{clock_};
  testing::FakeDefaults defaults_;
  testing::FakeLog log_;
  testing::ScriptedHttp http_;
  testing::FakeToolkit ui_;
  testing::SecretScene scene_{ui_};
  ScreenPtr screen_ = ui_.screen({.classText = "CartPage", .view = scene_.page});
  NodePtr window_ = ui_.window(screen_);
  runtime::PrivacyState privacy_{defaults_};
  base::SerialQueue controlQueue_{dispatch_.pool(), "control", base::LockRank::controlQueue};
  runtime::NetworkGuard guard_{http_, controlQueue_, privacy_};
  redaction::RedactionEngine redaction_;

  bool isRunning_ = true;
  ScreenState state_ = ScreenState::populated;
  ScreenshotIdentity identity_{.deviceId = "device", .anonymousId = "anon", .userId = "ida"};
  ScreenshotCapture capture_{
      {ui_.windows, ui_.images, dispatch_.main(), dispatch_.pool(), guard_, redaction_},
      {.mayCollect = [this] { return isRunning_ && !privacy_.optedOut(); },
       .stateOf = [this](const platform::View&) { return state_; },
       .filter =
           [](std::string_view text) {
             return text.find('@') != text.npos ? std::string("[redacted]") : std::string(text);
           },
       .identity = [this] { return identity_; }},
      {.writeKey = "wk_live_x_shop_abc",
       .options = {.apiHost = "http://collector.example", .environment = "development"}},
      "com.example.shop",
      platform::Log(log_, true)};
};

TEST_F(ScreenshotTest, AsksThenUploadsWhatTheServerLacks) {
  update({});
  offer();
  EXPECT_EQ(http_.waitingCount(), 0u) << "the screen has not come to rest";
  rest();
  const auto check = http_.nextRequest();
  EXPECT_EQ(check.method, "POST");
  EXPECT_EQ(check.url, std::string("http://collector.example") + kCheck);
  using Header = std::pair<std::string, std::string>;
  EXPECT_EQ(check.headers, (std::vector<Header>{{"Content-Type", "application/json"},
                                                {"Authorization", "Bearer wk_live_x_shop_abc"}}));
  EXPECT_EQ(http_.nextBody(),
            R"({"project_id":"shop","app_id":"app-1","screen_name":"Cart_populated",)"
            R"("platform":"ios","sdk_version":"1.0.16","bundle_id":"com.example.shop"})");
  EXPECT_EQ(ui_.windows.draws, 0);

  answer(kCheck, 200, kMissing);
  EXPECT_EQ(http_.nextUrl(), std::string("http://collector.example") + kUpload);
  EXPECT_EQ(http_.nextRequest().headers, check.headers);
  EXPECT_EQ(http_.nextBody(),
            R"({"project_id":"shop","app_id":"app-1","screen_name":"Cart_populated",)"
            R"("platform":"ios","sdk_version":"1.0.16","bundle_id":"com.example.shop",)"
            R"("image_b64":")" +
                base::base64(ui_.images.last) +
                R"(","width":390,"height":844,"release_id":"release-1","device_id":"device",)"
                R"("anonymous_id":"anon","user_id":"ida"})");
  EXPECT_EQ(ui_.images.qualities, std::vector<double>{0.4});
  answer(kUpload, 201);
  EXPECT_EQ(log_.count("[Zarn] Screenshot uploaded for 'Cart_populated', status: 201"), 1);
}

TEST_F(ScreenshotTest, OneScreenIsAskedAboutOnce) {
  offer();
  offer();
  rest();
  offerAndRest();
  EXPECT_EQ(checks(), 1);
  answer(kCheck, 200, R"({"exists":true})");
  offerAndRest();
  EXPECT_EQ(checks(), 1) << "the server is known to have it";
  EXPECT_EQ(ui_.windows.draws, 0);

  offerAndRest("Home");
  answer(kCheck, 200, kMissing);
  answer(kUpload, 200);
  offerAndRest("Home");
  EXPECT_EQ(checks(), 2);
  update(kSmall, "app-2");
  offerAndRest("Home");
  EXPECT_EQ(checks(), 3) << "another app has pictures of its own";
  EXPECT_EQ(dispatch_.pendingCount(), 0u);
}

TEST_F(ScreenshotTest, AFailureFreesTheKey) {
  int expected = 0;
  for (const char* answered : {R"({"exists":"no"})", R"({})", "not JSON"}) {
    offerAndRest();
    answer(kCheck, 200, answered);
    EXPECT_EQ(checks(), ++expected);
  }
  offerAndRest();
  answer(kCheck, 503, kMissing);
  offerAndRest();
  http_.failNext("timed out");
  dispatch_.runUntilIdle();
  EXPECT_EQ(uploads(), 0);

  offerAndRest();
  answer(kCheck, 200, kMissing);
  answer(kUpload, 413);
  EXPECT_EQ(log_.count("[Zarn] Screenshot upload failed for 'Cart_populated', status: 413"), 1);
  offerAndRest();
  answer(kCheck, 200, kMissing);
  http_.failNext("connection refused");
  dispatch_.runUntilIdle();
  EXPECT_EQ(log_.count("[Zarn] Screenshot upload failed for 'Cart_populated': connection refused"),
            1);

  ui_.images.fails = true;
  offerAndRest();
  answer(kCheck, 200, kMissing);
  ui_.images.fails = false;
  ui_.windows.drawsNothing = true;
  offerAndRest();
  answer(kCheck, 200, kMissing);
  ui_.windows.drawsNothing = false;
  const int before = uploads();
  upload();
  EXPECT_EQ(uploads(), before + 1);
}

TEST_F(ScreenshotTest, SettingsAreHeeded) {
  update({.enabled = false});
  offerAndRest();
  update({}, std::nullopt);
  offerAndRest();
  isRunning_ = false;
  update({});
  offerAndRest();
  isRunning_ = true;
  EXPECT_EQ(checks(), 0);

  for (const auto& [quality, maxWidth, expectedQuality, expectedWidth] :
       {std::tuple(250, 200, 1.0, 200), std::tuple(-3, 0, 0.01, 32)}) {
    update({.quality = quality, .maxWidth = maxWidth});
    offerAndRest("Size " + std::to_string(quality));
    answer(kCheck, 200, kMissing);
    EXPECT_EQ(ui_.images.qualities.back(), expectedQuality);
    EXPECT_EQ(body(kUpload).find("width")->asInt(), expectedWidth);
    answer(kUpload, 200);
  }
  update({});
  window_->look = {.frame = {0, 0, 50, 90'000}, .drawsNothing = true};
  offerAndRest("Huge");
  answer(kCheck, 200, kMissing);
  EXPECT_EQ(ui_.windows.draws, 3);
  EXPECT_EQ(uploads(), 2);
}

TEST_F(ScreenshotTest, ExcludedScreensAreNotEvenAskedAbout) {
  for (const char* entry : {"Cart_populated", "cart", " CARTPAGE\n", "Ma\u00efs \u00dcbersicht",
                            "MA\u00cfS \u00dcBERSICHT", "ma\u00efs_\u00fcbersicht"}) {
    exclude(entry);
    offerAndRest(entry[0] == 'M' || entry[0] == 'm' ? "Ma\u00efs  \u00dcbersicht" : "Cart");
    EXPECT_EQ(checks(), 0) << entry;
  }
  for (const char* entry : {"", " ", "Car", "Cart_loading"}) {
    exclude(entry);
    EXPECT_EQ(keyAskedFor("Cart"), "Cart_populated") << entry;
  }
  // Excluded while it waits, and as it turns out to be in another state.
  exclude("other");
  offer();
  exclude("Cart");
  rest();
  exclude("Cart_populated");
  state_ = ScreenState::loading;
  offer();
  state_ = ScreenState::populated;
  rest();
  EXPECT_EQ(http_.waitingCount(), 0u);
}

TEST_F(ScreenshotTest, KeysSayWhichScreenIsMeant) {
  EXPECT_EQ(keyAskedFor("  Your cart: 3 items!\n"), "Your_cart_3_items_populated");
  EXPECT_EQ(keyAskedFor("../../etc/passwd"), "etc_passwd_populated");
  EXPECT_EQ(keyAskedFor("Доставка-2"), "Доставка-2_populated");
  EXPECT_EQ(keyAskedFor(""), "Screen_0a1b2c3d_populated");
  EXPECT_EQ(keyAskedFor("Screen_12"), "Screen_0a1b2c3d_populated");
  EXPECT_EQ(keyAskedFor("Screen_of_many_things"), "Screen_of_many_things_populated");
  EXPECT_EQ(keyAskedFor("anna@example.org"), "redacted_populated");
  EXPECT_EQ(keyAskedFor("!?"), "");
  EXPECT_EQ(keyAskedFor(std::string(500, 'x')), std::string(80, 'x') + "_populated");
  EXPECT_EQ(keyAskedFor("\xff\xfe"
                        "A\xff"),
            "A_populated");
}

TEST_F(ScreenshotTest, TheKeyFollowsTheState) {
  const auto asked = [&](ScreenState offered, ScreenState now) {
    state_ = offered;
    offer();
    state_ = now;
    rest();
    std::string key = http_.waitingCount(kCheck) > 0 ? keyOf(kCheck) : "";
    if (!key.empty()) answer(kCheck, 500);
    return key;
  };
  using enum ScreenState;
  EXPECT_EQ(asked(loading, populated), "Cart_populated");
  EXPECT_EQ(asked(loading, error), "Cart_error");
  EXPECT_EQ(asked(loading, loading), "Cart_loading");
  EXPECT_EQ(asked(normal, populated), "Cart_populated");
  EXPECT_EQ(asked(error, error), "Cart_error");
  EXPECT_EQ(asked(error, populated), "");
  EXPECT_EQ(asked(populated, loading), "");
  EXPECT_EQ(asked(populated, populated), "Cart_populated") << "its key is free again";

  // It changes while the server is asked.
  state_ = populated;
  offerAndRest();
  state_ = error;
  answer(kCheck, 200, kMissing);
  EXPECT_EQ(uploads(), 0);
}

TEST_F(ScreenshotTest, OnlyAScreenInSightIsTaken) {
  const auto taken = [&] {
    const int before = uploads();
    answer(kCheck, 200, kMissing);
    const bool isTaken = uploads() > before;
    if (isTaken) answer(kUpload, 500);
    return isTaken;
  };
  const auto takenWith = [&](auto change, auto undo) {
    offerAndRest();
    change();
    const bool isTaken = taken();
    undo();
    return isTaken;
  };
  auto& page = scene_.page->look;
  EXPECT_TRUE(takenWith([] {}, [] {}));
  EXPECT_FALSE(takenWith([&] { page.isHidden = true; }, [&] { page.isHidden = false; }));
  EXPECT_FALSE(takenWith([&] { page.frame.x = -390; }, [&] { page.frame.x = 0; }));
  EXPECT_FALSE(takenWith([&] { screen_->look.presented = ui_.screen({}); },
                         [&] { screen_->look.presented = nullptr; }));
  const auto root = ui_.screen({.children = {screen_}});
  EXPECT_TRUE(takenWith([] {}, [] {}));
  const auto present = [&](ScreenPtr over) { root->look.presented = std::move(over); };
  EXPECT_FALSE(takenWith([&] { present(ui_.screen({})); }, [&] { present(nullptr); }))
      << "a dialog over what it is part of";
  EXPECT_TRUE(takenWith([&] { present(screen_); }, [&] { present(nullptr); }));
  EXPECT_FALSE(
      takenWith([&] { window_->remove(scene_.page); }, [&] { window_->add(scene_.page); }));
  EXPECT_FALSE(takenWith([&] { ui_.kill(screen_); }, [] {}));
}

TEST_F(ScreenshotTest, NoUploadDependsOnASecret) {
  update({.maxWidth = 130});
  const auto uploaded = [&](std::uint32_t color) {
    scene_.colour(color);
    offerAndRest("Page " + std::to_string(color) + std::to_string(uploads()));
    answer(kCheck, 200, kMissing);
    EXPECT_TRUE(base::stringMember(body(kUpload), "image_b64") == base::base64(ui_.images.last));
    answer(kUpload, 200);
    return testing::FakeImageCodec::decode(ui_.images.last).pixels;
  };
  const auto still = uploaded(0xff0000);
  EXPECT_TRUE(still == uploaded(0x00ff00));
  // All of them move while the picture is drawn, and one more comes.
  const NodePtr late = scene_.secrets.emplace_back(ui_.secureField({200, 700, 100, 40}));
  ui_.windows.duringDraw = [&] {
    scene_.page->add(late);
    for (const NodePtr& secret : scene_.secrets) secret->look.frame.y += 50;
  };
  const auto moving = uploaded(0xff0000);
  scene_.page->remove(late);
  for (const NodePtr& secret : scene_.secrets) secret->look.frame.y -= 50;
  EXPECT_TRUE(moving == uploaded(0x00ff00));
  EXPECT_FALSE(moving == still);
  ui_.windows.duringDraw = nullptr;
  ui_.windows.afterDraw = [&] { scene_.page->children.clear(); };
  const auto children = scene_.page->children;
  const auto emptied = uploaded(0xff0000);
  scene_.page->children = children;
  EXPECT_TRUE(emptied == uploaded(0x00ff00));
}

TEST_F(ScreenshotTest, AWindowOfAnotherSizeThanItsPictureIsNotTaken) {
  ui_.windows.duringDraw = [&] { window_->look.frame.width = 844; };
  offerAndRest();
  answer(kCheck, 200, kMissing);
  EXPECT_EQ(uploads(), 0);
}

TEST_F(ScreenshotTest, NothingOutlivesAnOptOut) {
  // At each task's border between the offer and the last answer: the opt-out, the opt-in later.
  for (const bool returns : {false, true}) {
    bool isOver = false;
    for (int border = 0; !isOver; ++border) {
      offer("Screen " + std::to_string(border) + (returns ? " again" : ""));
      int tasks = 0;
      const auto runUntil = [&](int most) {
        for (; http_.waitingCount(kUpload) == 0; ++tasks) {
          if (tasks == most) return false;
          if (http_.waitingCount(kCheck) > 0) {
            http_.answer(kCheck, 200, kMissing);
          } else if (!dispatch_.runOne()) {
            rest();
          }
        }
        return true;
      };
      isOver = runUntil(border);
      const int before = uploads();
      optOut();
      if (returns) optIn();
      dispatch_.advance(5.0);
      EXPECT_EQ(http_.waitingCount(), 0u) << border;
      EXPECT_EQ(uploads(), before) << border;
      if (!returns) optIn();
    }
  }
  EXPECT_EQ(uploads(), 2) << "those that were under way as the user opted out";
}

// The transition of another thread comes between two looks of one step.
TEST_F(ScreenshotTest, AnOptOutInsideAStepEndsIt) {
  offerAndRest();
  ui_.windows.duringDraw = [&] { optOut(); };
  answer(kCheck, 200, kMissing);
  EXPECT_EQ(uploads(), 0);
  EXPECT_TRUE(ui_.images.qualities.empty()) << "the picture is not even encoded";
}

TEST_F(ScreenshotTest, AnotherUsersPictureIsNotSent) {
  offerAndRest();
  http_.answer(kCheck, 200, kMissing);
  dispatch_.runOne();  // the answer
  dispatch_.runOne();  // the picture
  EXPECT_EQ(ui_.windows.draws, 1);
  identity_ = {.deviceId = "device", .anonymousId = "other", .userId = {}};
  capture_.cancelAll();
  dispatch_.runUntilIdle();
  EXPECT_EQ(uploads(), 0);

  offerAndRest();
  answer(kCheck, 200, kMissing);
  EXPECT_EQ(base::stringMember(body(kUpload), "anonymous_id"), "other");
  EXPECT_EQ(body(kUpload).find("user_id"), nullptr);
  answer(kUpload, 500);

  const int before = uploads();
  ui_.windows.duringDraw = [&] { identity_.userId = "otto"; };
  offerAndRest();
  answer(kCheck, 200, kMissing);
  EXPECT_EQ(uploads(), before) << "it is not clear whose it is";
}

TEST_F(ScreenshotTest, APictureDoesNotOutliveThePolicyThatItWasCoveredBy) {
  for (const bool changes : {true, false}) {
    offerAndRest();
    http_.answer(kCheck, 200, kMissing);
    dispatch_.runOne();  // the answer
    dispatch_.runOne();  // the picture
    if (changes) update(kSmall);
    dispatch_.runUntilIdle();
    EXPECT_EQ(uploads(), changes ? 0 : 1);
  }
}

TEST_F(ScreenshotTest, SurvivesTheDeathOfAnyViewAtAnyQuestion) {
  for (const int victim : {0, 1, 2}) {
    bool isOver = false;
    for (int question = 1; !isOver; ++question) {
      const NodePtr field = ui_.secureField({0, 0, 100, 40});
      const NodePtr page = ui_.node({.frame = {0, 0, 390, 844}}, {ui_.node({}, {field})});
      screen_ = ui_.screen({.view = page});
      ui_.windows.roots.clear();
      window_ = ui_.window(screen_);
      const int before = ui_.questions();
      ui_.killAfter(question, victim == 0 ? field : victim == 1 ? page : window_);
      offerAndRest("Death " + std::to_string(question));
      if (http_.waitingCount(kCheck) > 0) answer(kCheck, 200, kMissing);
      if (http_.waitingCount(kUpload) > 0) answer(kUpload, 500);
      isOver = ui_.questions() - before < question;
    }
  }
}

TEST_F(ScreenshotTest, EncodesOffTheMainThread) {
  offerAndRest();
  http_.answer(kCheck, 200, kMissing);
  while (dispatch_.runOne(dispatch_.main()) || ui_.windows.draws == 0) {
    if (ui_.windows.draws == 0) dispatch_.runOne(dispatch_.pool());
  }
  EXPECT_TRUE(ui_.images.qualities.empty());
  dispatch_.runUntilIdle();
  EXPECT_EQ(ui_.images.qualities.size(), 1u);
}

TEST_F(ScreenshotTest, AnUnusableHostIsToldOfAndNothingIsSent) {
  ScreenshotCapture capture(
      {ui_.windows, ui_.images, dispatch_.main(), dispatch_.pool(), guard_, redaction_},
      {.mayCollect = [] { return true; },
       .stateOf = [](const platform::View&) { return ScreenState::normal; },
       .filter = [](std::string_view text) { return std::string(text); },
       .identity = [] { return ScreenshotIdentity(); }},
      {.writeKey = "k", .options = {.apiHost = "not a host"}}, "", platform::Log(log_, true));
  capture.update(std::nullopt, "app-1", std::nullopt);
  capture.offer(ui_.screenOf(screen_), {.name = "Cart"});
  rest();
  EXPECT_EQ(http_.waitingCount(), 0u);
  EXPECT_EQ(log_.count("[Zarn] Invalid config URL: not a host/api/sdk/screenshot/check"), 1);
}

}  // namespace
}  // namespace zarn::capture
