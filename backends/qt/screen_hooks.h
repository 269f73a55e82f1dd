// ScreenHooks: what QtScreenEvents puts into the application.
#pragma once

#include <QBasicTimer>
#include <QElapsedTimer>
#include <QObject>
#include <QPointer>
#include <memory>
#include <optional>
#include <vector>

#include "platform/screen_events.h"
#include "qt/screen_scan.h"

class QQuickWindow;
class QWindow;

namespace zarn::qt {

/// GUI thread; belongs to the application and ends with it.
class ScreenHooks final : public QObject {
  Q_OBJECT

 public:
  /// Somebody who is told of one screen's selection, until it is over.
  struct Selection {
    platform::WeakScreen tabs;
    std::uint64_t id = 0;
    std::function<void(std::optional<int>, std::optional<int>)> changed;
    bool isOver = false;
  };

  explicit ScreenHooks(QObject& application);

  void add(platform::ScreenListener listener);
  void add(std::shared_ptr<Selection> selection);
  /// Looks taken so far.
  int scanCount() const { return scanCount_; }

  bool eventFilter(QObject* receiver, QEvent* event) override;

 protected:
  void timerEvent(QTimerEvent* event) override;

 private Q_SLOTS:
  void onFrame();
  /// Something has happened that is likely to bring another screen.
  void onChange();

 private:
  void watch(QQuickWindow& window);
  void scanWithin(int milliseconds);
  void scan();
  void connectNotifiers(ScreenRef root, const ScreenPath& path);
  QWindow* windowInFront();
  void tellSight(const ScreenSight& sight, bool isLaidOut);
  bool tellSelection(const TabChange& change);
  /// The listeners from the `first` on.
  template <typename Tell>
  void tell(ScreenRef leaf, std::size_t first, Tell&& tellOne);
  void tellAppeared(ScreenRef leaf, std::size_t first);
  void tellLaidOut(ScreenRef leaf);
  void forgetSelections();

  std::vector<platform::ScreenListener> listeners_;
  std::size_t known_ = 0;  // so many of them have been told of what is in sight
  std::vector<std::shared_ptr<Selection>> selections_;
  QPointer<QWindow> front_;
  ScreenPath path_;           // to the screen that was last told of
  std::uint64_t layout_ = 0;  // of that screen
  ScreenPath connected_;      // whose notifiers are connected
  QBasicTimer timer_;
  QElapsedTimer clock_;
  qint64 scannedAt_ = -1'000'000;  // by the clock, in ms
  qint64 dueAt_ = 0;
  int scanCount_ = 0;
};

}  // namespace zarn::qt
