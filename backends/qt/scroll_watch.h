// ScrollWatch: tells when the user begins and ends to scroll. Views that scroll are connected to
// when the user first puts a finger or the wheel on them; every begin has its end, also when the
// view dies in between.
#pragma once

#include <QBasicTimer>
#include <QElapsedTimer>
#include <QObject>
#include <QPointer>
#include <cstdint>
#include <functional>
#include <vector>

#include "platform/view.h"

class QQuickItem;
class QWidget;

namespace zarn::qt {

/// GUI thread. A timer runs only while one of the Widgets' areas is scrolled.
class ScrollWatch final : public QObject {
  Q_OBJECT

 public:
  using Tell = std::function<void(const platform::View&)>;
  ScrollWatch(QObject* parent, Tell began, Tell ended)
      : QObject(parent), began_(std::move(began)), ended_(std::move(ended)) {}

  enum class Hand : std::uint8_t { none, mouse, finger };
  /// The user has put a finger or a button down on this item or widget, or takes it away. Null when
  /// it lies beside all of them.
  void pressed(QObject* touched, Hand hand);
  void released();
  void wheeled(QObject* touched);

 protected:
  void timerEvent(QTimerEvent* event) override;

 private Q_SLOTS:
  void onFlickableMoving();
  void onBarMoved();
  void onFlickableGone(QObject* flickable);

 private:
  struct Running {
    QPointer<QObject> object;
    const QObject* address;  // also when it has died
    QPointer<QObject> window;
  };
  void watch(QObject* touched);
  void watchFlickables(QQuickItem* item);
  void watchAreas(QWidget* widget);
  void begin(QObject& object);
  void end(const QObject* object);
  void tellEnd(const Running& ended);
  bool isRunning(const QObject& object) const;
  bool isHeld() const;

  const Tell began_;
  const Tell ended_;
  std::vector<Running> running_;
  QBasicTimer areasTimer_;   // until what moves the bars has stopped
  QElapsedTimer sinceHand_;  // since the user last pressed, released or turned the wheel
  Hand hand_ = Hand::none;   // that is down, as far as has been told
};

}  // namespace zarn::qt
