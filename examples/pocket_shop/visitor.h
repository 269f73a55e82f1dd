// A visitor of the shop: signs in, looks around, buys, and closes the app.
#pragma once

#include <QElapsedTimer>
#include <QString>
#include <chrono>
#include <set>

#include "hands.h"
#include "visit_record.h"

class Visitor {
 public:
  /// `pace` is how long a screen is looked at which they have not seen so before.
  Visitor(QQuickWindow& window, VisitRecord& record, std::chrono::milliseconds pace)
      : hands_(window, record), record_(record), pace_(pace) {}

  /// The whole visit. Within the app's event loop. Throws Stuck.
  void visit();

 private:
  void signIn();
  void lookAround();
  void lookAtNothing();
  void meetTrouble();
  void fillCart();
  void buy();
  void lookAtAccount();

  /// A screen has come into sight, known by the thing `mark` on it.
  void see(const QString& mark, const QString& name, const QString& state,
           const QString& by = "tap");
  /// It has changed, which is known by `mark` again.
  void seeChange(const QString& mark, const QString& state);
  /// Until it has been looked at for long enough.
  void look();
  /// Nobody else must see it.
  void noteHidden(const QString& mark);
  void typeSecret(const QString& field, const QString& text);

  Hands hands_;
  VisitRecord& record_;
  const std::chrono::milliseconds pace_;
  QElapsedTimer looking_;  // since it has come or changed
  QString name_;
  std::set<QString> known_;  // names and states
};
