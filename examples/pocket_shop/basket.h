// What the customer is about to buy.
#pragma once

#include <QAbstractListModel>
#include <QVariantMap>
#include <QtQmlIntegration>
#include <vector>

class Basket : public QAbstractListModel {
  Q_OBJECT
  QML_ELEMENT
  QML_SINGLETON
  Q_PROPERTY(int pieces READ pieces NOTIFY changed)
  Q_PROPERTY(int cents READ cents NOTIFY changed)

 public:
  int pieces() const;
  int cents() const;

  /// `product` is a row of the server's answer.
  Q_INVOKABLE void add(const QVariantMap& product);
  Q_INVOKABLE void remove(int row);
  /// Buys everything.
  Q_INVOKABLE void placeOrder();
  Q_INVOKABLE static QString money(int cents);

  int rowCount(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role) const override;
  QHash<int, QByteArray> roleNames() const override;

 Q_SIGNALS:
  void changed();

 private:
  struct Row {
    QString id, name, picture;
    int cents = 0;
    int pieces = 0;
  };
  enum Role { Name = Qt::UserRole, Picture, Cents, Pieces };

  std::vector<Row> rows_;
};
