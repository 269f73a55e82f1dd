// What a page asks of the shop's server, and how far that is.
#pragma once

#include <QObject>
#include <QQmlParserStatus>
#include <QString>
#include <QTimer>
#include <QVariantList>
#include <QtQmlIntegration>

class ShopQuery : public QObject, public QQmlParserStatus {
  Q_OBJECT
  Q_INTERFACES(QQmlParserStatus)
  QML_ELEMENT
  Q_PROPERTY(QString path MEMBER path_)
  Q_PROPERTY(State state READ state NOTIFY changed)
  Q_PROPERTY(QVariantList rows READ rows NOTIFY changed)

 public:
  enum State { Loading, Ready, Failed };
  Q_ENUM(State)

  ShopQuery();
  State state() const { return state_; }
  QVariantList rows() const { return rows_; }

  /// Asks, or asks again. The first time by itself.
  Q_INVOKABLE void load();

 Q_SIGNALS:
  void changed();

 private:
  void classBegin() override {}
  void componentComplete() override { load(); }
  void answered();

  QString path_;
  QTimer answer_;
  State state_ = Loading;
  QVariantList rows_;
};
