#include "shop_query.h"

#include "shop_server.h"

ShopQuery::ShopQuery() {
  answer_.setSingleShot(true);
  connect(&answer_, &QTimer::timeout, this, &ShopQuery::answered);
}

void ShopQuery::load() {
  state_ = Loading;
  Q_EMIT changed();
  answer_.start(ShopServer::instance().delay);
}

void ShopQuery::answered() {
  const auto rows = ShopServer::instance().answer(path_);
  state_ = rows ? Ready : Failed;
  rows_ = rows.value_or(QVariantList());
  Q_EMIT changed();
}
