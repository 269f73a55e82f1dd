// Who uses the app.
#pragma once

#include <QObject>
#include <QString>
#include <QtQmlIntegration>

class Customer : public QObject {
  Q_OBJECT
  QML_ELEMENT
  QML_SINGLETON
  Q_PROPERTY(bool signedIn READ signedIn NOTIFY changed)
  Q_PROPERTY(QString name READ name NOTIFY changed)
  Q_PROPERTY(QString email READ email NOTIFY changed)
  Q_PROPERTY(QString address READ address NOTIFY changed)

 public:
  bool signedIn() const { return !email_.isEmpty(); }
  QString name() const { return signedIn() ? QStringLiteral("Mara Lindqvist") : QString(); }
  QString email() const { return email_; }
  QString address() const {
    return signedIn() ? QStringLiteral("Fyrstikkbakken 14, 0667 Oslo") : QString();
  }

  /// The password has been found right by then.
  Q_INVOKABLE void signIn(const QString& email);
  Q_INVOKABLE void signOut();

 Q_SIGNALS:
  void changed();

 private:
  QString email_;
};
