#include "screen_figures.h"

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "capture/screen_state_tracker.h"
#include "desktop/name_tagger.h"
#include "latencies.h"
#include "redaction/pii_filter.h"
#include "redaction/redaction_engine.h"
#include "screens/screen_naming.h"
#include "screens/screen_observer.h"
#include "screens/scroll_observer.h"
#include "support/fake_toolkit.h"
#include "support/manual_dispatch.h"

namespace zarn::bench {
namespace {

constexpr int kRounds = 1001;
constexpr int kSignals = 1000;

/// A list of cards as shops have them: 200 views.
class CataloguePage {
 public:
  CataloguePage() {
    std::vector<testing::NodePtr> cards;
    for (int i = 0; i < 28; ++i) cards.push_back(card(i));
    auto column = ui.node({.frame = {0, 60, 390, 2800}, .drawsNothing = true}, std::move(cards));
    auto page = ui.node({.classText = "CataloguePage", .frame = {0, 0, 390, 844}},
                        {ui.label("Kettles", {16, 20, 200, 30}, 24, true),
                         ui.button("Sort", {300, 20, 80, 30}), std::move(column)});
    page_ = ui.screen({.classText = "CataloguePage", .view = page, .title = "Kettles"});
    window = ui.window(page_);
  }
  platform::Screen screen() { return ui.screenOf(page_); }

  testing::ManualClock clock;
  testing::FakeToolkit ui;
  testing::NodePtr window;

 private:
  testing::NodePtr card(int i) {
    return ui.node(
        {.classText = "ProductCard", .frame = {0, i * 100.0, 390, 96}},
        {ui.node({.kind = platform::ViewKind::image, .frame = {8, 8, 80, 80}}),
         ui.label("Blue kettle " + std::to_string(i), {96, 8, 200, 22}),
         ui.label("With a long spout", {96, 32, 200, 20}), ui.label("59.90", {96, 60, 80, 20}),
         ui.button("Add", {310, 30, 70, 36}), ui.node({.frame = {0, 95, 390, 1}})});
  }
  testing::ScreenPtr page_;
};

/// A page, and those who look at it.
struct Look {
  CataloguePage page;
  desktop::DictionaryNameTagger names;
  redaction::PiiFilter filter{names};
  redaction::RedactionEngine redaction;
  screens::ViewPrivacy privacy{
      .masks = [this](const platform::View& view) { return redaction.shouldMask(view); },
      .filter = [this](std::string_view text) { return filter.scrub(text).text; }};
  screens::ScreenObserver observer{privacy};
  screens::ScreenNaming naming{privacy};
};

double observeMs(Look& look) {
  const platform::Screen screen = look.page.screen();
  Latencies latencies;
  for (int i = 0; i < kRounds; ++i) {
    latencies.time([&] {
      look.observer.observe(screen.view());
      look.naming.makeCandidates(screen, "", "");
    });
  }
  return latencies.percentileMicroseconds(0.5) / 1000;
}

/// Layout signals, one every two milliseconds, until the screen has been looked at.
class Storm {
 public:
  explicit Storm(Look& look) : look_(look) {}

  /// What the signals and the look cost.
  std::chrono::nanoseconds run(int signals) {
    using Clock = std::chrono::steady_clock;
    const platform::Screen screen = look_.page.screen();
    const int before = look_.page.ui.questions();
    const auto start = Clock::now();
    for (int i = 0; i < signals; ++i) tracker_.layoutChanged(screen);
    const auto signalled = Clock::now();
    mostPending_ = std::max(mostPending_, dispatch_.pendingCount());
    dispatch_.advance(1.0);
    const auto looked = Clock::now();
    questions_ = look_.page.ui.questions() - before;
    signal_ = (signalled - start) / signals;
    return looked - start;
  }
  std::chrono::nanoseconds signal() const { return signal_; }
  int questions() const { return questions_; }
  std::size_t mostPending() const { return mostPending_; }

 private:
  Look& look_;
  testing::ManualDispatch dispatch_{look_.page.clock};
  screens::ScrollObserver scrolling_{look_.page.clock};
  capture::ScreenStateTracker tracker_{
      dispatch_.main(),    look_.page.clock,
      scrolling_,          look_.observer,
      [] { return true; }, [](const platform::Screen&, const model::ScreenObservation&) {}};
  std::chrono::nanoseconds signal_{};
  int questions_ = 0;  // that the last storm asked of views
  std::size_t mostPending_ = 0;
};

void addStormFigures(Figures& figures, Look& look) {
  Storm storm(look);
  storm.run(1);
  const int oneLook = storm.questions();
  Latencies whole, single;
  for (int i = 0; i < 201; ++i) {
    whole.add(storm.run(kSignals));
    single.add(storm.signal());
    if (storm.questions() == oneLook && storm.mostPending() == 1) continue;
    std::fprintf(stderr, "%d layout signals cost more than one look\n", kSignals);
    std::exit(1);
  }
  figures.add("classify_idle_us", whole.percentileMicroseconds(0.5), "us");
  figures.add("classify_signal_ns", static_cast<double>(single.percentile(0.5)), "ns");
}

double collectRectsUs(Look& look) {
  const platform::View window = look.page.ui.view(look.page.window);
  std::vector<base::Rect> rects;
  Latencies latencies;
  for (int i = 0; i < kRounds; ++i) {
    rects.clear();
    latencies.time([&] { look.redaction.collectRects(window, window, rects); });
  }
  return latencies.percentileMicroseconds(0.5);
}

}  // namespace

void addScreenFigures(Figures& figures) {
  Look look;
  figures.add("observe_200_views_ms_fake", observeMs(look), "ms");
  addStormFigures(figures, look);
  figures.add("collect_rects_200_us_fake", collectRectsUs(look), "us");
}

}  // namespace zarn::bench
