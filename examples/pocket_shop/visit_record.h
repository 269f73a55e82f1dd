// What a visitor has seen and done, written down by themselves: JSON lines for a script to hold
// against what a collector has of it. Times are milliseconds since 1970.
//
//   {"kind":"screen","name":"Kitchen","states":[{"state":"loading","at":...}],"entered":...,
//    "left":...,"taps":2,"scrolls":1}                       in the order of the visit
//   {"kind":"transition","from":"Login","to":"Catalogue","by":"tap","at":...,"elapsed":...}
//   {"kind":"secret","what":"password","text":"..."}        must be nowhere
//   {"kind":"hidden","what":"password","screen":"Login","place":[24,380,342,50]}
//                                                          black in every picture of the screen
//   {"kind":"end","screens":19,"transitions":18}
#pragma once

#include <QFile>
#include <QJsonArray>
#include <QJsonObject>
#include <QRectF>
#include <QString>

class VisitRecord {
 public:
  /// On the standard output without a path.
  explicit VisitRecord(const QString& path);
  bool isOpen() const { return file_.isOpen(); }

  /// The visitor sees another screen. `by` tells what led there: "tap", "tab" or "start".
  void enter(const QString& name, const QString& state, const QString& by);
  /// The same screen looks different.
  void become(const QString& state);
  void tap();
  void scroll();
  void secret(const QString& what, const QString& text);
  /// In the window, on the screen in sight.
  void hidden(const QString& what, const QRectF& place);
  /// The visitor closes the app.
  void end();

 private:
  void leave(qint64 at);
  void write(const QJsonObject& line);

  QFile file_;
  QString name_;  // of the screen in sight
  QJsonArray states_;
  qint64 entered_ = 0;
  qint64 tapped_ = 0;
  int taps_ = 0;
  int scrolls_ = 0;
  int screens_ = 0;
  int transitions_ = 0;
};
