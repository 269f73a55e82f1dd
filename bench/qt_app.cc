// A Qt app that measures what its user interface pays, by itself or with the library in it:
//
//   zarn_qt_bench bare
//   zarn_qt_bench attached DATA_DIRECTORY API_HOST
//
// Prints a line "NAME VALUE" for each figure. The app is drawn where no display is needed.
#include <QGuiApplication>
#include <QMouseEvent>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <future>
#include <memory>
#include <string_view>
#include <thread>
#include <vector>

#include "latencies.h"
#include "platform/host.h"
#include "platform/windows.h"
#include "qt/quick_views.h"
#include "qt/screen_scan.h"
#include "redaction/cover.h"
#include "redaction/pii_filter.h"
#include "redaction/redaction_engine.h"
#include "screens/screen_naming.h"
#include "screens/screen_observer.h"
#include "zarn/desktop.h"
#include "zarn/qt.h"
#include "zarn/zarn.h"

namespace zarn::bench {
namespace {

constexpr int kTaps = 500;
constexpr int kLooks = 501;
constexpr int kPictures = 21;
constexpr double kMostWidth = 390;

constexpr const char* kPage = R"(
import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

ApplicationWindow {
    property int clicks

    visible: true
    width: 390
    height: 844

    StackView {
        anchors.fill: parent
        initialItem: Page {
            title: "Kettles"
            header: ToolBar {
                RowLayout {
                    anchors.fill: parent
                    Label { text: "Kettles"; font.pixelSize: 20; Layout.fillWidth: true }
                    Button { objectName: "sort"; text: "Sort"; onClicked: ++clicks }
                }
            }
            Flickable {
                anchors.fill: parent
                contentHeight: cards.height
                Column {
                    id: cards
                    width: parent.width
                    Repeater {
                        model: 14
                        Frame {
                            width: cards.width
                            RowLayout {
                                anchors.fill: parent
                                Image { Layout.preferredWidth: 60; Layout.preferredHeight: 60 }
                                ColumnLayout {
                                    Layout.fillWidth: true
                                    Label { text: "Blue kettle " + index; font.bold: true }
                                    Label { text: "With a long spout" }
                                    Label { text: "59.90" }
                                }
                                Button { text: "Add" }
                            }
                        }
                    }
                }
            }
        }
    }
}
)";

void tell(const char* name, double value) {
  std::printf("%s %.6g\n", name, value);
}

[[noreturn]] void fail(const char* what) {
  std::fprintf(stderr, "%s\n", what);
  std::exit(1);
}

void runFor(std::chrono::milliseconds time) {
  const auto end = std::chrono::steady_clock::now() + time;
  while (std::chrono::steady_clock::now() < end) QCoreApplication::processEvents();
}

void send(QWindow& window, QEvent::Type type, QPointF at, Qt::MouseButtons pressed) {
  const bool isMove = type == QEvent::MouseMove;
  QMouseEvent event(type, at, at, isMove ? Qt::NoButton : Qt::LeftButton, pressed, Qt::NoModifier);
  QCoreApplication::sendEvent(&window, &event);
}

class Page {
 public:
  Page() {
    QQmlComponent component(&engine_);
    component.setData(kPage, {});
    window_.reset(qobject_cast<QQuickWindow*>(component.create()));
    if (!window_) fail(qPrintable(component.errorString()));
    runFor(std::chrono::milliseconds(500));  // until it has been drawn and looked at
  }
  QQuickWindow& window() { return *window_; }
  int clicks() const { return window_->property("clicks").toInt(); }
  QPointF middleOf(const char* name) {
    const auto* const item = window_->findChild<QQuickItem*>(name);
    if (item == nullptr) fail(name);
    return item->mapToScene({item->width() / 2, item->height() / 2});
  }

 private:
  QQmlEngine engine_;
  std::unique_ptr<QQuickWindow> window_;
};

/// From the press to the end of the release, as the window gets them.
void measureTaps(Page& page) {
  const QPointF at = page.middleOf("sort");
  const int before = page.clicks();
  Latencies latencies;
  for (int i = 0; i < kTaps; ++i) {
    latencies.time([&] {
      send(page.window(), QEvent::MouseButtonPress, at, Qt::LeftButton);
      send(page.window(), QEvent::MouseButtonRelease, at, Qt::NoButton);
    });
    QCoreApplication::processEvents();
  }
  if (page.clicks() - before != kTaps) fail("not every tap was a click");
  tell("taps", kTaps);
  tell("tap_us", latencies.percentileMicroseconds(0.5));
}

/// To a window in which nothing happens: all that is left is what every event goes through.
void measureMoves(const char* name, QWindow& window, Qt::MouseButtons pressed) {
  constexpr int kTogether = 200;
  Latencies latencies;
  for (int round = 0; round < 500; ++round) {
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < kTogether; ++i) {
      send(window, QEvent::MouseMove, QPointF(i % 8, round % 8), pressed);
    }
    latencies.add((std::chrono::steady_clock::now() - start) / kTogether);
  }
  // The load of others only adds to so short a time.
  tell(name, static_cast<double>(latencies.percentile(0.1)));
}

void measureMoves() {
  QWindow window;
  measureMoves("move_ns", window, Qt::NoButton);
  send(window, QEvent::MouseButtonPress, QPointF(1, 1), Qt::LeftButton);
  measureMoves("drag_ns", window, Qt::LeftButton);
  send(window, QEvent::MouseButtonRelease, QPointF(1, 1), Qt::NoButton);
}

double medianUs(int count, const std::function<void()>& call) {
  Latencies latencies;
  for (int i = 0; i < count; ++i) latencies.time(call);
  return latencies.percentileMicroseconds(0.5);
}

/// Of a window that has changed all over since the last one.
double pictureMs(QQuickWindow& window, const std::function<void()>& draw) {
  Latencies latencies;
  for (int i = 0; i < kPictures; ++i) {
    window.setColor(i % 2 == 0 ? Qt::lightGray : Qt::white);
    runFor(std::chrono::milliseconds(20));
    window.setColor(i % 2 == 0 ? Qt::white : Qt::lightGray);
    latencies.time(draw);
  }
  return latencies.percentileMicroseconds(0.5) / 1000;
}

/// What is done to a screen in sight, each by itself, with the parts that the library uses.
void measureLooks(QQuickWindow& window) {
  platform::Host& host = platform::processHost();
  const redaction::PiiFilter filter(host.names);
  const redaction::RedactionEngine redaction;
  const screens::ViewPrivacy privacy{
      .masks = [&](const platform::View& view) { return redaction.shouldMask(view); },
      .filter = [&](std::string_view text) { return filter.scrub(text).text; }};
  screens::ScreenObserver observer(privacy);
  screens::ScreenNaming naming(privacy);
  screens::ViewTree tree(privacy);

  const qt::ScreenRef root = qt::rootOf(window);
  const qt::ScreenSight sight = qt::lookFrom(root);
  if (!sight.leaf) fail("no screen in sight");
  const platform::Screen screen = sight.leaf.screen();
  tree.look(screen.view());
  tell("views", tree.size());
  tell("observe_ms", medianUs(kLooks, [&] {
                       observer.observe(screen.view());
                       naming.makeCandidates(screen, "", "");
                     }) / 1000);
  tell("scan_us", medianUs(kLooks, [&] {
         const qt::ScreenSight now = qt::lookFrom(root);
         now.leaf.tree->layoutFingerprint(now.leaf.node);
       }));

  const platform::View top = qt::quickView(window.contentItem());
  std::vector<base::Rect> rects;
  const auto collect = [&] {
    rects.clear();
    if (!redaction.collectRects(top, top, rects)) fail("no rectangles");
  };
  tell("collect_rects_us", medianUs(kLooks, collect));
  platform::Bitmap bitmap;
  tell("screenshot_ms", pictureMs(window, [&] {
         collect();
         if (!host.windows.draw(top, kMostWidth, bitmap)) fail("no picture");
         collect();
         redaction::cover(bitmap, rects);
       }));
}

/// Everything that has been told is with the server.
void flush() {
  const auto all = std::async(std::launch::async, [] {
    while (!Zarn::flush(0.1)) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  });
  while (all.wait_for(std::chrono::milliseconds(1)) != std::future_status::ready) {
    QCoreApplication::processEvents();
  }
}

void configure(const char* data, const char* apiHost) {
  desktop::describeHost({.bundleId = "com.example.bench", .version = "1.0", .dataDirectory = data});
  qt::attach(*qGuiApp);
  // Nothing is sent while the taps are measured.
  Zarn::configure("wk_bench_x_bench_key", {.flushInterval = 3600,
                                           .flushAt = 1'000'000,
                                           .maxBufferSize = 1'000'000,
                                           .apiHost = apiHost});
  flush();
}

}  // namespace
}  // namespace zarn::bench

int main(int argc, char** argv) {
  using namespace zarn::bench;
  qputenv("QT_QPA_PLATFORM", "offscreen");
  qputenv("QT_QUICK_BACKEND", "software");
  qputenv("QT_QUICK_CONTROLS_STYLE", "Basic");
  QGuiApplication app(argc, argv);
  const bool isAttached = argc == 4 && std::string_view(argv[1]) == "attached";
  if (!isAttached && !(argc == 2 && std::string_view(argv[1]) == "bare")) return 2;
  if (isAttached) configure(argv[2], argv[3]);
  Page page;
  measureTaps(page);
  measureMoves();
  tell("grab_ms", pictureMs(page.window(), [&] { page.window().grabWindow(); }));
  if (!isAttached) return 0;
  measureLooks(page.window());
  flush();
  return 0;
}
