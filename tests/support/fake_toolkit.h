// FakeToolkit: a user interface for tests, built in a few lines.
//
//   FakeToolkit ui;
//   auto page = ui.node({.classText = "CartPage", .frame = {0, 0, 390, 844}},
//                       {ui.label("Your cart", {16, 20, 200, 30}, 24), ui.button("Pay", ...)});
//   auto screen = ui.screen({.classText = "CartPage", .view = page, .title = "Cart"});
//   ui.window(screen);
//   ui.screens.appear(screen);
//
// It counts what it is asked, kills nodes in the middle of a walk, and refuses other threads than
// the one that made it. In a picture of a window each node has its own colour.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/image_codec.h"
#include "platform/input_events.h"
#include "platform/screen_events.h"
#include "platform/windows.h"

namespace zarn::testing {

struct FakeNode;
using NodePtr = std::shared_ptr<FakeNode>;

/// What a node is; everything may be changed between two walks.
struct NodeLook {
  std::string classText = "View";
  std::vector<std::string> baseClasses = {};
  platform::ViewKind kind = platform::ViewKind::plain;
  base::Rect frame = {};  // in the parent's coordinates
  double scale = 1;       // around its middle
  double rotation = 0;    // degrees, around its middle
  double alpha = 1;
  bool isHidden = false;
  std::string text = {};
  platform::Font font = {};
  platform::ViewColors colors = {};
  std::string accessibilityLabel = {};
  std::string accessibilityIdentifier = {};
  std::string reuseIdentifier = {};
  std::string selectedTabTitle = {};
  platform::TextContentType contentType = platform::TextContentType::none;
  platform::LayerFacts layer = {};
  bool isControl = false;
  bool hasTapGesture = false;
  bool isDisabled = false;
  bool isAnimating = false;
  bool isMarkedPrivate = false;
  bool isSecureTextEntry = false;
  bool acceptsTextInput = false;
  bool drawsNothing = false;
  bool clipsChildren = false;
  bool drawsRows = false;
};

struct FakeNode {
  NodeLook look;
  std::vector<NodePtr> children;
  FakeNode* parent = nullptr;
  bool isWindow = false;
  bool isDead = false;
  bool wasSecure = false;   // at an earlier look
  std::uint32_t color = 0;  // 0xRRGGBB, its own

  void add(NodePtr child);
  void remove(const NodePtr& child);
};

struct FakeScreen;
using ScreenPtr = std::shared_ptr<FakeScreen>;

struct ScreenLook {
  platform::ScreenKind kind = platform::ScreenKind::page;
  bool isHosted = false;
  std::string classText = "Page";
  std::string rootTypeText = {};
  NodePtr view = nullptr;
  std::string title = {};
  std::string navigationTitle = {};
  std::string tabTitle = {};
  NodePtr navigationLabel = nullptr;     // shows the navigation title; a label where none is given
  NodePtr tab = nullptr;                 // shows the tab's title; likewise a button
  std::vector<ScreenPtr> children = {};  // of `tabs` in the order of the tabs; of `navigation` the
                                         // last one is seen
  std::vector<std::string> tabTitles = {};
  NodePtr tabBar = nullptr;  // shows those; likewise
  std::optional<int> selectedIndex = std::nullopt;
  ScreenPtr presented = nullptr;
};

struct FakeScreen {
  ScreenLook look;
  FakeScreen* parent = nullptr;
  std::uint64_t id = 0;
  bool isDead = false;
};

class FakeViewToolkit;
class FakeScreenToolkit;

class FakeScreenEvents final : public platform::ScreenEvents {
 public:
  explicit FakeScreenEvents(FakeScreenToolkit& toolkit) : toolkit_(toolkit) {}
  void listen(platform::ScreenListener listener) override { listeners.push_back(listener); }
  std::unique_ptr<platform::Observation> observeSelection(
      const platform::Screen& tabs,
      std::function<void(std::optional<int>, std::optional<int>)> changed) override;

  void appear(const ScreenPtr& screen);
  void layOut(const ScreenPtr& screen);
  /// Selects a tab, as the user does.
  void select(const ScreenPtr& tabs, std::optional<int> index);
  std::size_t selectionObservers() const;

  std::vector<platform::ScreenListener> listeners;

 private:
  struct Selection;
  FakeScreenToolkit& toolkit_;
  std::vector<std::weak_ptr<Selection>> selections_;
};

class FakeWindows final : public platform::Windows {
 public:
  FakeWindows(FakeViewToolkit& views, FakeScreenToolkit& screens)
      : views_(views), screens_(screens) {}
  void each(base::FunctionRef<bool(const platform::Window&)> visit) override;
  void listen(std::function<void()> becameKey) override {
    listeners.push_back(std::move(becameKey));
  }
  /// Each visible node fills its bounds with its colour, mixed by its opacity.
  bool draw(const platform::View& window, double maxWidth, platform::Bitmap& into) override;
  void becomeKey() {
    for (const auto& told : listeners) told();
  }

  std::vector<ScreenPtr> roots;
  std::vector<std::function<void()>> listeners;
  std::function<void()> duringDraw;  // what happens while the picture is taken
  std::function<void()> afterDraw;   // and what follows at once
  bool drawsNothing = false;
  int draws = 0;

 private:
  FakeViewToolkit& views_;
  FakeScreenToolkit& screens_;
};

class FakeInputEvents final : public platform::InputEvents {
 public:
  explicit FakeInputEvents(FakeViewToolkit& views) : views_(views) {}
  void listen(platform::InputListener listener) override { listeners.push_back(listener); }
  platform::View hitTest(const platform::View& window, base::Point location) override;

  /// A tap in a window: the control under it is operated as well.
  void tap(const NodePtr& window, base::Point location);
  /// A tap on the middle of a node.
  void tap(const NodePtr& node);
  void beginScroll(const NodePtr& scroll);
  void endScroll(const NodePtr& scroll);

  std::vector<platform::InputListener> listeners;

 private:
  void tapAt(FakeNode& window, base::Point location);
  FakeViewToolkit& views_;
};

/// The "file" is the bitmap itself: width and height as text, and the pixels.
class FakeImageCodec final : public platform::ImageCodec {
 public:
  std::optional<std::string> encodeJpeg(const platform::Bitmap& bitmap, double quality) override;
  static platform::Bitmap decode(const std::string& bytes);
  std::vector<double> qualities;
  std::string last;  // the "file" made last
  bool fails = false;
};

class FakeToolkit {
 public:
  FakeToolkit();
  ~FakeToolkit();

  NodePtr node(NodeLook look, std::vector<NodePtr> children = {});
  NodePtr label(std::string text, base::Rect frame, double pointSize = 17, bool isBold = false);
  NodePtr button(std::string text, base::Rect frame);
  NodePtr field(base::Rect frame, platform::TextContentType contentType, std::string text = {});
  NodePtr secureField(base::Rect frame, std::string text = {});
  /// Of equal cells; each holds a label with one of the texts.
  NodePtr list(base::Rect frame, const std::vector<std::string>& rows);
  ScreenPtr screen(ScreenLook look);
  /// A window of 390 x 844 around the screen's view.
  NodePtr window(const ScreenPtr& root);

  platform::View view(const NodePtr& node);
  platform::Screen screenOf(const ScreenPtr& screen);
  /// Dead for good, with everything below it; whoever holds it gets neutral answers.
  void kill(const NodePtr& node);
  void kill(const ScreenPtr& screen);
  /// Kills the node once so many further questions have been asked.
  void killAfter(int questions, const NodePtr& node);
  int questions() const;  // asked of views so far

 private:
  std::unique_ptr<FakeViewToolkit> views_;
  std::unique_ptr<FakeScreenToolkit> pages_;

 public:
  FakeScreenEvents screens;
  FakeWindows windows;
  FakeInputEvents input;
  FakeImageCodec images;
};

}  // namespace zarn::testing
