#include "basket.h"

#include <algorithm>
#include <numeric>

#include "zarn/zarn.h"

using zarn::Zarn;

int Basket::pieces() const {
  return std::accumulate(rows_.begin(), rows_.end(), 0,
                         [](int sum, const Row& row) { return sum + row.pieces; });
}

int Basket::cents() const {
  return std::accumulate(rows_.begin(), rows_.end(), 0,
                         [](int sum, const Row& row) { return sum + row.pieces * row.cents; });
}

void Basket::add(const QVariantMap& product) {
  const QString id = product["id"].toString();
  const auto row =
      std::find_if(rows_.begin(), rows_.end(), [&](const Row& each) { return each.id == id; });
  const int place = static_cast<int>(row - rows_.begin());
  if (row != rows_.end()) {
    ++row->pieces;
    Q_EMIT dataChanged(index(place), index(place));
  } else {
    beginInsertRows({}, place, place);
    rows_.push_back({id, product["name"].toString(), product["picture"].toString(),
                     product["cents"].toInt(), 1});
    endInsertRows();
  }
  Q_EMIT changed();
  Zarn::track("added_to_cart", {{"product", id.toStdString()}});
}

void Basket::remove(int row) {
  if (row < 0 || row >= rowCount()) return;
  beginRemoveRows({}, row, row);
  rows_.erase(rows_.begin() + row);
  endRemoveRows();
  Q_EMIT changed();
}

void Basket::placeOrder() {
  for (const Row& row : rows_) {
    Zarn::trackPurchase({.amount = row.pieces * row.cents / 100.0,
                         .currency = "EUR",
                         .productId = row.id.toStdString(),
                         .quantity = row.pieces,
                         .properties = {}});
  }
  beginResetModel();
  rows_.clear();
  endResetModel();
  Q_EMIT changed();
}

QString Basket::money(int cents) {
  return QStringLiteral("€%1.%2").arg(cents / 100).arg(cents % 100, 2, 10, QChar('0'));
}

int Basket::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : static_cast<int>(rows_.size());
}

QVariant Basket::data(const QModelIndex& index, int role) const {
  if (!index.isValid() || index.row() >= rowCount()) return {};
  const Row& row = rows_[static_cast<std::size_t>(index.row())];
  switch (role) {
    case Name:
      return row.name;
    case Picture:
      return row.picture;
    case Cents:
      return row.cents;
    case Pieces:
      return row.pieces;
    default:
      return {};
  }
}

QHash<int, QByteArray> Basket::roleNames() const {
  return {{Name, "name"}, {Picture, "picture"}, {Cents, "cents"}, {Pieces, "pieces"}};
}
