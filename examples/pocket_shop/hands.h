// The hands and eyes of a visitor: they find things in a window by their object names, and press
// and type as the window system would. Nothing of the app is called.
#pragma once

#include <QPoint>
#include <QQuickItem>
#include <QRectF>
#include <QString>
#include <chrono>
#include <stdexcept>

class QQuickWindow;
class VisitRecord;

/// The visitor can't go on.
class Stuck : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

class Hands {
 public:
  /// What they do is noted in the record.
  Hands(QQuickWindow& window, VisitRecord& record) : window_(window), record_(record) {}

  /// Waits until there is something of this name that can be seen whole enough to be tapped, and
  /// that has come to rest. Throws Stuck when it takes too long.
  QQuickItem& await(const QString& name);

  /// Where that is in the window.
  QRectF placeOf(const QString& name) { return placeOf(await(name)); }

  void tap(const QString& name);
  /// Taps the field, and then each key; throws Stuck unless the field has the text afterwards.
  void type(const QString& field, const QString& text);
  /// Drags what is in the list or form of this name upwards, and waits until it has come to rest.
  void scroll(const QString& name, int distance);
  /// Does nothing for so long.
  void rest(std::chrono::milliseconds time);

 private:
  QQuickItem* find(const QString& name) const;
  bool isTurning() const;
  QRectF placeOf(const QQuickItem& item) const;
  void press(QPoint place);

  QQuickWindow& window_;
  VisitRecord& record_;
};
