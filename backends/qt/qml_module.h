// The QML module `Zarn`: what an app says of its views where it declares them.
//
//   import Zarn 1.0
//   TextField { Zarn.redact: true }
//   TextField { Zarn.contentType: Zarn.CreditCardNumber }
#pragma once

#include <QtQml/qqml.h>
#include <QObject>

namespace zarn::qt {

/// What hangs on an item, popup or window that says something. GUI thread.
class QmlMarks : public QObject {
  Q_OBJECT
  Q_PROPERTY(bool redact READ isRedacted WRITE redact NOTIFY redactChanged)
  Q_PROPERTY(int contentType READ contentType WRITE setContentType NOTIFY contentTypeChanged)

 public:
  explicit QmlMarks(QObject* view) : QObject(view) {}
  bool isRedacted() const;
  void redact(bool isPrivate);
  int contentType() const;
  void setContentType(int type);

 Q_SIGNALS:
  void redactChanged();
  void contentTypeChanged();
};

class QmlModule : public QObject {
  Q_OBJECT
  QML_ATTACHED(QmlMarks)

 public:
  /// As zarn::qt::ContentType.
  enum ContentType {
    GuessedContent,
    OtherContent,
    EmailAddress,
    CreditCardNumber,
    Password,
    NewPassword,
    OneTimeCode,
    TelephoneNumber,
  };
  Q_ENUM(ContentType)

  static QmlMarks* qmlAttachedProperties(QObject* view) { return new QmlMarks(view); }
};

/// Makes the module known. Once.
void registerQmlModule();

}  // namespace zarn::qt
